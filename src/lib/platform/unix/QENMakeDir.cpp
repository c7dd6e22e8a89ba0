// Making a directory through the shell, in a child process.
#include "platform/unix/Linux/QENMemoryLocks.h"
#include "platform/unix/QENPlatform.h"

#include <cerrno>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

inline namespace taq_1 {

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

// Runs in the child. Only bare system calls: another thread of the parent may have held any lock at the fork.
[[noreturn]] void run_shell(char* const argv[]) {
    if (!QENReleaseMemoryLocks()) _exit(STATUS_NO_UNLOCK);
    const sched_param normal{};
    (void)sched_setscheduler(0, SCHED_OTHER, &normal); // a failure does no harm: the child ends soon
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
        // ECHILD: the process ignores SIGCHLD. The wait then ends with this error as soon as the child has
        // ended.
        return errno == ECHILD ? 0 : -1;
    }
    return 0;
}

} // namespace taq_1
