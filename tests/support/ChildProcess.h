// Runs a piece of a test in a forked child.
#pragma once

#include <functional>
#include <sys/wait.h>
#include <unistd.h>

// The exit status of a child; a signal's number as a negative value.
inline int wait_for(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

// The child exits with what the piece returns.
class ChildProcess {
public:
    explicit ChildProcess(const std::function<int()>& run) : _pid(fork()) {
        if (_pid == 0) _exit(run());
    }
    int wait() const { return wait_for(_pid); }

private:
    pid_t _pid;
};

inline int in_child(const std::function<int()>& run) {
    return ChildProcess(run).wait();
}
