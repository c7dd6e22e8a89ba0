// Making a directory through the shell, in a child process.
#include "platform/unix/Linux/QENMemoryLocks.h"
#include "platform/unix/QENPlatform.h"

#include <cerrno>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

constexpr char COMMAND[] = " mkdir -p ";
constexpr int STATUS_NO_UNLOCK = 255;
constexpr int STATUS_NO_SHELL = 127;

// The path between double quotes, so that the shell sees exactly its bytes; "./" keeps a leading '-' from
// being an option.
std::string quoted(const char* path) {
    std::string text = " \"";
    if (*path == '-') text += "./";
    for (; *path != '\0'; ++path) {
        if (*path == '"' || *path == '`' || *path == '$' || *path == '\\') text += '\\';
        text += *path;
    }
    return text + '"';
}

// In the child. Bare system calls only: a thread that the parent has and the child has not may hold any lock.
[[noreturn]] void run_shell(char* const argv[]) {
    if (!QENReleaseMemoryLocks()) _exit(STATUS_NO_UNLOCK);
    const sched_param normal{};
    (void)sched_setscheduler(0, SCHED_OTHER, &normal); // a class that stays as it is slows nobody for long
    (void)setpriority(PRIO_PROCESS, 0, 0);
    execve("/bin/sh", argv, environ);
    _exit(STATUS_NO_SHELL);
}

} // namespace

int QENMakeDir(const char* namep) {
    if (namep == nullptr) return -1;
    std::string command = std::string(COMMAND) + ' ' + quoted(namep);
    char shell[] = "sh", option[] = "-c";
    char* const argv[] = {shell, option, command.data(), nullptr};
    const pid_t child = fork();
    if (child < 0) return -1;
    if (child == 0) run_shell(argv);
    while (waitpid(child, nullptr, 0) != child) {
        if (errno == EINTR) continue;
        // In a process that ignores SIGCHLD the wait ends so once the child is gone, which is all we want.
        return errno == ECHILD ? 0 : -1;
    }
    return 0;
}
