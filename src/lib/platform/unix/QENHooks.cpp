// Keeps the table of hooks, one atomic pointer each.
#include "platform/unix/QENHooks.h"

#include <atomic>

inline namespace taq_1 {

namespace {

std::atomic<decltype(QENHooks::thread_failure)> thread_failure{nullptr};
std::atomic<decltype(QENHooks::report_event)> report_event{nullptr};
std::atomic<decltype(QENHooks::dump_first_failure)> dump_first_failure{nullptr};
static_assert(decltype(dump_first_failure)::is_always_lock_free); // read in a signal handler

} // namespace

void QENSetHooks(const QENHooks& hooks) {
    thread_failure.store(hooks.thread_failure, std::memory_order_release);
    report_event.store(hooks.report_event, std::memory_order_release);
    dump_first_failure.store(hooks.dump_first_failure, std::memory_order_release);
}

QENHooks QENGetHooks() {
    return {thread_failure.load(std::memory_order_acquire), report_event.load(std::memory_order_acquire),
            dump_first_failure.load(std::memory_order_acquire)};
}

} // namespace taq_1
