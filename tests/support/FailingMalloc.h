// Lets the accounting allocator run out of memory. The program is linked with --wrap=malloc, which reaches
// every call of malloc() that was compiled for it; the calls within the C and C++ libraries go on.
#pragma once

// While it lives, the first `calls` calls of malloc() succeed and all others give null.
class FailingMalloc {
public:
    explicit FailingMalloc(int calls);
    ~FailingMalloc();
    FailingMalloc(const FailingMalloc&) = delete;
    FailingMalloc& operator=(const FailingMalloc&) = delete;
};

// Runs `action` with memory for 0, 1, 2 ... allocations until it succeeds: it returns whether it did. Each
// failure is told to `check`. How many allocations the action needs.
template <class Action, class Check>
int until_memory_suffices(Action action, Check check) {
    for (int calls = 0;; ++calls) {
        const bool done = [&] {
            const FailingMalloc limit(calls);
            return action();
        }();
        if (done) return calls;
        check();
    }
}
