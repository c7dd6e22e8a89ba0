// Runs a piece of a test in a forked child.
#pragma once

#include <functional>
#include <sys/wait.h>
#include <unistd.h>

// The child exits with what the piece returns.
class ChildProcess {
public:
    explicit ChildProcess(const std::function<int()>& run) : _pid(fork()) {
        if (_pid == 0) _exit(run());
    }
    // Waits for its end: the exit status, -1 when a signal ended it.
    int wait() const {
        int status = -1;
        waitpid(_pid, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t _pid;
};

inline int in_child(const std::function<int()>& run) {
    return ChildProcess(run).wait();
}
