// Runs a piece of a test in a forked child, which exits with what the piece returns.
#pragma once

#include <functional>
#include <sys/wait.h>
#include <unistd.h>

inline pid_t start_child(const std::function<int()>& run) {
    const pid_t pid = fork();
    if (pid == 0) _exit(run());
    return pid;
}

// The exit status of a child; a signal's number as a negative value.
inline int wait_for(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

inline int in_child(const std::function<int()>& run) {
    return wait_for(start_child(run));
}
