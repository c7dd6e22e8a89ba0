// Memory of the records that wait in the logger's queue (LogQueue.h): a producer takes it, the logger thread
// gives it back.
#pragma once

#include <cstddef>

inline namespace taq_1 {

// Each thread fills a stretch of 64 KiB with its records, one behind the other, then takes the next one:
// without a lock, and without a heap that grows and shrinks with the queue. A stretch whose records are all
// gone serves again, for any thread; up to 4 MiB are kept for that. A thread that ends gives its stretch up.
// A record that would fill a large part of a stretch comes from the heap.
//
// Any thread may call any function.
class RecordPool {
public:
    // Room for a record, 8-byte aligned. Ends the process when memory runs out, like operator new.
    static void* get(size_t size);
    // Gives it back; null is accepted.
    static void release(void* record) noexcept;

    // How many stretches there are, with those that are kept. The allocator's statistics do not count them.
    static int stretches();

    // Around a fork. The child keeps what is kept; the stretches of threads that it does not have are lost.
    static void before_fork();
    static void after_fork();
};

} // namespace taq_1
