// Runs a program as a process and captures what it leaves behind.
#pragma once

#include <csignal>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

struct CommandResult {
    int status; // exit status; a signal's number as a negative value
    std::string out;
    std::string err;
};

// A file in memory for one of a child's streams: no pipe that could fill up.
class CapturedStream {
public:
    CapturedStream() : _fd(memfd_create("captured", MFD_CLOEXEC)) {
        if (_fd < 0) throw std::runtime_error("memfd_create");
    }
    ~CapturedStream() { close(_fd); }
    CapturedStream(const CapturedStream&) = delete;
    CapturedStream& operator=(const CapturedStream&) = delete;

    int fd() const { return _fd; }
    void fill(const std::string& text) const {
        if (pwrite(_fd, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
            throw std::runtime_error("cannot fill a stream");
    }
    std::string text() const {
        std::string all;
        char part[65536];
        for (ssize_t n; (n = pread(_fd, part, sizeof part, static_cast<off_t>(all.size()))) > 0;)
            all.append(part, static_cast<size_t>(n));
        return all;
    }

private:
    int _fd;
};

inline int wait_for(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

// argv[0] is the program's path; environment: "NAME=value", nothing is inherited. stdout_fd: where standard
// output goes instead of being captured. An empty argv passes the program no arguments at all, not even its
// name. The program reads `input`.
inline CommandResult run_command(const std::string& program, std::vector<std::string> argv,
                                 std::vector<std::string> environment, int stdout_fd = -1,
                                 const std::string& input = "") {
    const auto pointers = [](std::vector<std::string>& strings) {
        std::vector<char*> list;
        for (std::string& s : strings) list.push_back(s.data());
        list.push_back(nullptr);
        return list;
    };
    CapturedStream in, out, err;
    in.fill(input);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in.fd(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, stdout_fd >= 0 ? stdout_fd : out.fd(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err.fd(), STDERR_FILENO);
    pid_t pid = 0;
    const int rc = posix_spawn(&pid, program.c_str(), &actions, nullptr, pointers(argv).data(),
                               pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) throw std::runtime_error("cannot run " + program);
    const int status = wait_for(pid);
    return {status, out.text(), err.text()};
}
