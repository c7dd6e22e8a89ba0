// The accounting allocator behind every object of the library. It is a layer over malloc, not a pool: it
// counts blocks and bytes per memory type, guards each block with a header and a trailer that are checked
// when the block is freed, and fills fresh and freed memory with fixed bytes.
//
// Block, with the payload of n bytes that the caller receives (16-byte aligned):
//   offset size content
//        0    4 "BOK" NUL while live, "BAD" NUL once freed
//        4    4 n, host byte order
//        8    n payload: 0xFD when fresh, 0xFE once freed
//    8 + n    8 "EOKEOKE" NUL while live, "BADBADB" NUL once freed
// The block starts 8 bytes into the memory obtained from malloc, which aligns the payload.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "MemoryTypes.h"

inline namespace taq_1 {

class NVList;
class ThreadCounters;

extern const char* const Mem_names[MEMORY_MAX_TYPES];

// What is alive.
struct MemoryCounters {
    std::atomic<uint32_t> blocks{0}, bytes{0};
};

// Every thread may call every function. Counters are 32-bit and wrap.
//
// While the process has one thread, all of them are exact. Later each thread counts for itself and a reader
// adds up the threads (ThreadCounters.h): the sums are exact while the other threads rest. The high-water
// marks are then off by at most 4096 payload bytes and 64 blocks per thread.
class Memory {
public:
    static constexpr uint32_t GUARD_BYTES = 16; // per block: header and trailer

    // All counters zero; outside constant initialisation also reads ZORQ_MEMORY_CLOBBER (see set_fill).
    constexpr Memory() {
        if (!__builtin_is_constant_evaluated()) set_fill(true);
    }
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    // A new payload of `size` bytes, 16-byte aligned, to be freed with release(). align: 0, 4 or 8. With
    // another alignment, a size above 4 GiB less the guards, or when memory is exhausted, get ends the
    // process and try_get returns null. A type outside the table is fatal.
    [[nodiscard]] void* get(unsigned int align, size_t size, int type);
    [[nodiscard]] void* try_get(unsigned int align, size_t size, int type);

    // Frees a payload; null is accepted. The counters of the type given here change, whatever get() was
    // given. A damaged header or trailer is named on standard output ("BAD header", "Unknown header", "BAD
    // trailer", "Unknown trailer") and ends the process with a core image.
    void release(void* p, int type) noexcept;

    // get, try_get and release of MISC blocks of taq_mem, for the global operators: they need not look at
    // alignment, type and allocator, which saves an eighth of a new and delete.
    [[nodiscard]] static void* new_block(size_t size);
    [[nodiscard]] static void* try_new_block(size_t size);
    static void delete_block(void* p) noexcept;

    // Registers a function that is called after every QEN_BLOCK_THRESHOLD (75000) calls of get and release,
    // with the value of QEN_BLOCK_TIME (400). Typically it pauses. Null removes it. The function may
    // allocate; it is not called from within itself.
    static void block(void (*callback)(int));

    // Whether payloads are filled. On by default; stays on while ZORQ_MEMORY_CLOBBER is in the environment.
    static void set_fill(bool on);

    void print() const; // totals and types in use, to standard output

    // The same as a list that the caller deletes; all: every type. Five numbers ("_total_bytes",
    // "_overage", "_total_bytes_high", "_overage_high", "_blocks"), then by type name a text
    // "%8d\t%8d\t%8d" of blocks, average size and bytes.
    NVList* dist(bool all) const;

    int total_bytes() const; // live payload bytes
    int total_bytes_high() const;
    int overage() const; // 16 guard bytes per live block
    int overage_high() const;
    int count(int type) const; // live blocks
    int type_bytes(int type) const;
    static int blocks() { return _blocks.load(std::memory_order_relaxed); } // calls of the block() function

private:
    friend class ThreadCounters;
    friend struct PooledBlock;
    using counter = std::atomic<uint32_t>;

    // OF_PROCESS: this is taq_mem.
    template <bool OF_PROCESS>
    void* _get(bool is_served, size_t size, int type);
    template <bool OF_PROCESS>
    void _release(void* p, int type);

    template <bool OF_PROCESS, bool FREED>
    void _account(uint32_t size, int type);
    template <bool FREED>
    void _account_in(ThreadCounters& part, uint32_t size, int type);
    template <bool OF_PROCESS, bool FREED>
    void _account_without_part(uint32_t size, int type);
    template <bool SINGLE_THREADED, bool FREED>
    void _account_shared(uint32_t size, int type);
    void _publish(ThreadCounters& part);

    void _raise_high(uint32_t bytes, uint32_t blocks);

    template <class Value>
    uint32_t _sum(const counter& shared, Value of_part) const;
    uint32_t _total_now(counter MemoryCounters::*which) const;
    uint32_t _of_type(int type, counter MemoryCounters::*which) const;

    static void _throttle() {
        if (auto* callback = _block_call.load(std::memory_order_acquire)) _call_back(callback);
    }
    static void _call_back(void (*callback)(int));

    // What threads have published to the totals, and the calls of threads that have no part. Most blocks are
    // of type MISC: what the other types leave of the totals, which saves counting it.
    alignas(64) MemoryCounters _total;
    std::atomic<int32_t> _total_bytes_high{0};
    std::atomic<int32_t> _overage_high{0};
    alignas(64) MemoryCounters _types[MEMORY_MAX_TYPES]; // without MISC, and without the parts

    static std::atomic<void (*)(int)> _block_call; // null: no throttling
    static std::atomic<int32_t> _block_threshold;
    static std::atomic<int32_t> _block_time;
    static std::atomic<int32_t> _block_count; // calls since the last callback
    static std::atomic<int32_t> _blocks;
};

// The process's allocator. Constant-initialised and trivially destroyed, so it serves the constructors and
// destructors of every other static object.
extern Memory taq_mem;
static_assert(std::is_trivially_destructible_v<Memory>);

NVList* Mem_dist(bool all); // taq_mem.dist(all)

} // namespace taq_1
