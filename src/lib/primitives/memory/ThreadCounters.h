// One thread's part of the counters of taq_mem. The thread adds to it with plain instructions; readers add up
// the parts of all threads and the shared part, which Memory holds.
//
// A thread takes its part with the first allocation that it makes after the process has got a second thread.
// When it ends it gives the part back, with its sums, and the next thread goes on with it. Parts are never
// freed: there are as many as there were threads at the same time.
//
// A thread has no part while the process is single-threaded, when there is no memory for one, and after it
// has given it back, for destructors that run still later. Then its calls count in the shared part.
#pragma once

#include <atomic>
#include <cstdint>

#include "primitives/memory/Memory.h"

inline namespace taq_1 {

class alignas(128) ThreadCounters { // no line is shared, nor fetched with a neighbour's
public:
    // What a thread keeps to itself, gained or lost, before it publishes it to the shared totals. The
    // high-water marks follow these totals.
    static constexpr int64_t UNPUBLISHED_BYTES = 4096, UNPUBLISHED_BLOCKS = 64;

    // A sum of bytes and BLOCK per block. The bytes of one call and UNPUBLISHED_BYTES fit into 40 bits.
    struct Net {
        static constexpr int64_t BLOCK = int64_t{1} << 40;
        int64_t sum;
        uint32_t bytes() const { return static_cast<uint32_t>(sum); } // both wrap
        uint32_t blocks() const { return static_cast<uint32_t>((sum + BLOCK / 2) >> 40); }
    };

    // The calling thread's part, or null; take() takes one when it has none.
    static ThreadCounters* mine() { return _mine; }
    static ThreadCounters* take();

    // Counts a new or a freed block, by the part's thread. Whether it is time to publish.
    template <bool FREED>
    bool add(uint32_t size, int type);

    Net unpublished() const { return {_unpublished.load(std::memory_order_acquire) - BIAS}; }
    Net take_unpublished(); // by the part's thread, which adds it to the shared totals

    const MemoryCounters& of_type(int type) const { return _types[type]; }

    // All parts: for (auto* part = newest(); part != nullptr; part = part->older())
    static const ThreadCounters* newest() { return _newest.load(std::memory_order_acquire); }
    const ThreadCounters* older() const { return _older; }

private:
    struct AtThreadEnd;

    // _unpublished is kept BIAS higher. Bits outside WITHIN tell that the bytes or the blocks have left their
    // bounds.
    static constexpr int64_t BIAS = UNPUBLISHED_BLOCKS * Net::BLOCK + UNPUBLISHED_BYTES;
    static constexpr int64_t WITHIN = (2 * UNPUBLISHED_BLOCKS - 1) * Net::BLOCK + (2 * UNPUBLISHED_BYTES - 1);

    static ThreadCounters* _idle_part();
    static ThreadCounters* _new_part();
    void _give_back();

    // Found without a call in a shared object, too. dlopen() then places the object's thread-local storage in
    // the C library's static reserve.
    [[gnu::tls_model("initial-exec")]] static constinit thread_local ThreadCounters* _mine;
    static std::atomic<ThreadCounters*> _newest;
    static std::atomic<int> _idle_count;

    std::atomic<int64_t> _unpublished{BIAS};
    MemoryCounters _types[MEMORY_MAX_TYPES];
    std::atomic<bool> _is_taken{true};
    ThreadCounters* _older = nullptr;
};

template <bool FREED>
inline bool ThreadCounters::add(uint32_t size, int type) {
    const auto count = [](auto& counter, auto n) {
        const auto old = counter.load(std::memory_order_relaxed), sum = FREED ? old - n : old + n;
        counter.store(sum, std::memory_order_relaxed);
        return sum;
    };
    if (type != MEM_MISC) {
        count(_types[type].bytes, size);
        count(_types[type].blocks, 1u);
    }
    return (count(_unpublished, Net::BLOCK + size) & ~WITHIN) != 0;
}

} // namespace taq_1
