// Blocks with guards around malloc(), and the counters of the allocator.
#include "primitives/memory/Memory.h"

#include "platform/unix/Linux/QENSingleThreaded.h"
#include "platform/unix/QENAssert.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/memory/MemoryPoison.h"

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

constinit Memory taq_mem;

constinit std::atomic<void (*)(int)> Memory::_block_call{nullptr};
constinit Memory::counter Memory::_block_threshold{0};
constinit Memory::counter Memory::_block_time{0};
constinit Memory::counter Memory::_block_count{0};
constinit Memory::counter Memory::_blocks{0};

#define QEN_MEMORY_NAME(name) #name,
const char* const Mem_names[MEMORY_MAX_TYPES] = {QEN_MEMORY_TYPES(QEN_MEMORY_NAME)};
#undef QEN_MEMORY_NAME

namespace {

// A mark with its NUL as one word of the machine.
template <class Word>
constexpr Word mark(const char (&text)[sizeof(Word)]) {
    return std::bit_cast<Word>(std::to_array(text));
}

struct Header {
    uint32_t mark;
    uint32_t size; // of the payload
};

constexpr uint32_t HEADER_LIVE = mark<uint32_t>("BOK");
constexpr uint32_t HEADER_FREED = mark<uint32_t>("BAD");
constexpr uint64_t TRAILER_LIVE = mark<uint64_t>("EOKEOKE");
constexpr uint64_t TRAILER_FREED = mark<uint64_t>("BADBADB");

constexpr size_t HEADER_SIZE = sizeof(Header);
constexpr size_t TRAILER_SIZE = sizeof(uint64_t);
constexpr int32_t GUARD_BYTES = HEADER_SIZE + TRAILER_SIZE;
constexpr size_t LEAD = 8; // unused, in front of the block; malloc's 16-byte alignment then is the payload's
constexpr size_t MAX_PAYLOAD = UINT32_MAX - static_cast<size_t>(GUARD_BYTES);
static_assert(GUARD_BYTES == 16 && (LEAD + HEADER_SIZE) % alignof(std::max_align_t) == 0);

constexpr int FILL_FRESH = 0xFD;
constexpr int FILL_FREED = 0xFE;

constexpr int DEFAULT_BLOCK_THRESHOLD = 75000;
constexpr int DEFAULT_BLOCK_TIME = 400;

constinit std::atomic<bool> fill_enabled{true};

// Wraps as the 32-bit counters do.
int32_t wrapping_sum(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

// Adds and returns the sum.
template <bool SINGLE_THREADED>
inline int32_t add(std::atomic<int32_t>& counter, int32_t n) {
    if constexpr (SINGLE_THREADED) {
        const int32_t sum = wrapping_sum(counter.load(std::memory_order_relaxed), n);
        counter.store(sum, std::memory_order_relaxed);
        return sum;
    } else {
        return wrapping_sum(counter.fetch_add(n, std::memory_order_relaxed), n);
    }
}

inline void raise_to(std::atomic<int32_t>& high, int32_t value) {
    int32_t seen = high.load(std::memory_order_relaxed);
    if (__builtin_expect(value <= seen, 1)) return;
    while (value > seen && !high.compare_exchange_weak(seen, value, std::memory_order_relaxed)) {
    }
}

inline void fill(void* p, int byte, size_t n) {
    if (fill_enabled.load(std::memory_order_relaxed)) std::memset(p, byte, n);
}

// Keeps the compiler from removing the stores to p, which look useless because the memory is freed next.
inline void keep_stores(void* p) {
    asm volatile("" : : "r"(p) : "memory");
}

// Writes past stdio, which may allocate: the heap is damaged.
[[noreturn, gnu::cold]] void stop(const char* what) {
    QENPutOutput(what);
    std::abort();
}

// An integer from an environment variable: the digits at its start, cut to the type.
int setting(const char* name, int fallback) {
    char text[32];
    if (QENGetenv(name, text, sizeof text) != 0) return fallback;
    return static_cast<int>(std::clamp(std::strtol(text, nullptr, 10), long{INT_MIN}, long{INT_MAX}));
}

} // namespace

template <bool SINGLE_THREADED>
inline void Memory::_account(int32_t bytes, int32_t blocks, int type) {
    const int32_t total = add<SINGLE_THREADED>(_total_bytes, bytes);
    const int32_t guards = add<SINGLE_THREADED>(_overage, blocks * GUARD_BYTES);
    add<SINGLE_THREADED>(_type_bytes[type], bytes);
    add<SINGLE_THREADED>(_cnt[type], blocks);
    if (blocks < 0) return;
    raise_to(_total_bytes_high, total);
    raise_to(_overage_high, guards);
}

// Atomic additions cost more than the rest of an allocation. So a process with one thread uses plain ones.
inline void Memory::_account(int32_t bytes, int32_t blocks, int type) {
    if (QENIsSingleThreaded())
        _account<true>(bytes, blocks, type);
    else
        _account<false>(bytes, blocks, type);
}

inline void* Memory::_get(unsigned int align, size_t size, int type) {
    QEN_CHECK_AS(type >= 0 && type < MEMORY_MAX_TYPES, "(type < MEMORY_MAX_TYPES)");
    const bool served = (align == 0 || align == 4 || align == 8) && size <= MAX_PAYLOAD;
    _throttle();
    if (!served) return nullptr;
    char* start = static_cast<char*>(std::malloc(LEAD + HEADER_SIZE + size + TRAILER_SIZE));
    if (start == nullptr) return nullptr;

    const auto bytes = static_cast<uint32_t>(size);
    _account(static_cast<int32_t>(bytes), 1, type);

    const Header header = {HEADER_LIVE, bytes};
    char* payload = start + LEAD + HEADER_SIZE;
    std::memcpy(payload - HEADER_SIZE, &header, HEADER_SIZE);
    std::memcpy(payload + size, &TRAILER_LIVE, TRAILER_SIZE);
    fill(payload, FILL_FRESH, size);
    memory_poison(start, LEAD + HEADER_SIZE);
    memory_poison(payload + size, TRAILER_SIZE);
    return payload;
}

void* Memory::get(unsigned int align, size_t size, int type) {
    void* retp = _get(align, size, type);
    QEN_CHECK(retp != NULL);
    return retp;
}

void* Memory::try_get(unsigned int align, size_t size, int type) {
    return _get(align, size, type);
}

void Memory::release(void* p, int type) {
    QEN_CHECK_AS(type >= 0 && type < MEMORY_MAX_TYPES, "(type < MEMORY_MAX_TYPES)");
    _throttle();
    if (p == nullptr) return;

    char* payload = static_cast<char*>(p);
    char* start = payload - HEADER_SIZE - LEAD;
    memory_unpoison(start, LEAD + HEADER_SIZE);
    Header header;
    std::memcpy(&header, payload - HEADER_SIZE, HEADER_SIZE);
    if (header.mark != HEADER_LIVE) stop(header.mark == HEADER_FREED ? "BAD header" : "Unknown header");

    const size_t size = header.size;
    memory_unpoison(payload + size, TRAILER_SIZE);
    uint64_t trailer;
    std::memcpy(&trailer, payload + size, TRAILER_SIZE);
    if (trailer != TRAILER_LIVE) stop(trailer == TRAILER_FREED ? "BAD trailer" : "Unknown trailer");

    header.mark = HEADER_FREED;
    std::memcpy(payload - HEADER_SIZE, &header, HEADER_SIZE);
    std::memcpy(payload + size, &TRAILER_FREED, TRAILER_SIZE);
    fill(payload, FILL_FREED, size);
    keep_stores(payload);
    std::free(start);
    _account(static_cast<int32_t>(0 - header.size), -1, type);
}

// The callback may allocate and come here again; then it is not called a second time. When several threads
// pass the threshold together, the one that resets the count calls back.
void Memory::_call_back(void (*callback)(int)) {
    static constinit thread_local bool is_calling = false;
    const int32_t threshold = _block_threshold.load(std::memory_order_relaxed);
    if (add<false>(_block_count, 1) <= threshold || is_calling) return;
    if (_block_count.exchange(0, std::memory_order_relaxed) <= threshold) return;
    is_calling = true;
    callback(_block_time.load(std::memory_order_relaxed));
    is_calling = false;
    add<false>(_blocks, 1);
}

void Memory::block(void (*callback)(int)) {
    _block_threshold.store(setting("QEN_BLOCK_THRESHOLD", DEFAULT_BLOCK_THRESHOLD),
                           std::memory_order_relaxed);
    _block_time.store(setting("QEN_BLOCK_TIME", DEFAULT_BLOCK_TIME), std::memory_order_relaxed);
    _block_call.store(callback, std::memory_order_release);
}

void Memory::set_fill(bool on) {
    fill_enabled.store(on || std::getenv("ZORQ_MEMORY_CLOBBER") != nullptr, std::memory_order_relaxed);
}

void Memory::print() const {
    std::printf("_total_bytes      = %d\n", total_bytes());
    std::printf("_overage          = %d\n", overage());
    std::printf("_total_bytes_high = %d\n", total_bytes_high());
    std::printf("_overage_high     = %d\n", overage_high());
    std::printf("_blocks           = %d\n\n", blocks());
    for (int type = 0; type < MEMORY_MAX_TYPES; ++type)
        if (count(type) != 0)
            std::printf("%-20s\t%3d\t%3d\n", Mem_names[type], count(type), type_bytes(type));
}
