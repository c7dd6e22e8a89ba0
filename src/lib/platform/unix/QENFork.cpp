// Counts forks. The handler runs in the child before fork() returns there, while it has only one thread.
#include "platform/unix/QENFork.h"

#include <atomic>
#include <pthread.h>

inline namespace taq_1 {

namespace {

std::atomic<unsigned> fork_count{0};

void count_fork() {
    fork_count.fetch_add(1, std::memory_order_relaxed);
}

// Registered when the program or the shared object is loaded: a fork before the first log counts as well.
[[maybe_unused]] const int registered = pthread_atfork(nullptr, nullptr, count_fork);

} // namespace

unsigned QENForkCount() {
    return fork_count.load(std::memory_order_relaxed);
}

void QENAtFork(void (*prepare)(), void (*in_parent)(), void (*in_child)()) {
    (void)pthread_atfork(prepare, in_parent, in_child);
}

} // namespace taq_1
