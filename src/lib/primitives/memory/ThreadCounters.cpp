// Threads take their parts of the allocator's counters here and give them back.
#include "primitives/memory/ThreadCounters.h"

#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

inline namespace taq_1 {

constinit thread_local ThreadCounters* ThreadCounters::_mine = nullptr;
constinit std::atomic<ThreadCounters*> ThreadCounters::_newest{nullptr};
constinit std::atomic<int> ThreadCounters::_idle_count{0};

namespace {

// The thread must do without a part: it is just taking one, or has given it back.
constinit thread_local bool goes_without = false;

} // namespace

struct ThreadCounters::AtThreadEnd {
    AtThreadEnd() {} // has code, so that the destructor is registered where an object is declared
    ~AtThreadEnd() {
        goes_without = true;
        std::exchange(_mine, nullptr)->_give_back();
    }
};

// Everything in here may allocate and come back: malloc() may be the program's own, the destructor is
// registered with memory of the C library, and a signal handler may run.
[[gnu::cold]] ThreadCounters* ThreadCounters::take() {
    if (goes_without) return nullptr;
    goes_without = true;
    ThreadCounters* part = _idle_part();
    if (part == nullptr) part = _new_part();
    if (part != nullptr) {
        static thread_local AtThreadEnd at_thread_end;
        _mine = part;
    }
    goes_without = false;
    return part;
}

ThreadCounters* ThreadCounters::_idle_part() {
    if (_idle_count.load(std::memory_order_relaxed) <= 0) return nullptr;
    for (ThreadCounters* part = _newest.load(std::memory_order_acquire); part != nullptr;
         part = part->_older) {
        if (part->_is_taken.load(std::memory_order_relaxed)) continue;
        if (part->_is_taken.exchange(true, std::memory_order_acquire)) continue;
        _idle_count.fetch_sub(1, std::memory_order_relaxed);
        return part;
    }
    return nullptr;
}

ThreadCounters* ThreadCounters::_new_part() {
    size_t room = sizeof(ThreadCounters) + alignof(ThreadCounters);
    void* memory = std::malloc(room);
    if (memory == nullptr) return nullptr;
    auto* part =
        new (std::align(alignof(ThreadCounters), sizeof(ThreadCounters), memory, room)) ThreadCounters;
    part->_older = _newest.load(std::memory_order_relaxed);
    while (!_newest.compare_exchange_weak(part->_older, part, std::memory_order_release)) {
    }
    return part;
}

void ThreadCounters::_give_back() {
    taq_mem._publish(*this);
    _is_taken.store(false, std::memory_order_release);
    _idle_count.fetch_add(1, std::memory_order_relaxed);
}

// The word is empty before its content is in the totals: a reader may miss it for a moment, but never counts
// it twice.
ThreadCounters::Net ThreadCounters::take_unpublished() {
    const Net net = unpublished();
    _unpublished.store(BIAS, std::memory_order_release);
    return net;
}

} // namespace taq_1
