// Blocks with guards around malloc(), and how they are counted. MemoryStatistics.cpp reads the counters.
#include "primitives/memory/Memory.h"

#include "platform/unix/Linux/QENSingleThreaded.h"
#include "platform/unix/QENAssert.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/memory/MemoryPoison.h"
#include "primitives/memory/Pooled.h"
#include "primitives/memory/ThreadCounters.h"

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cstdlib>
#include <cstring>

inline namespace taq_1 {

constinit Memory taq_mem;

constinit std::atomic<void (*)(int)> Memory::_block_call{nullptr};
constinit std::atomic<int32_t> Memory::_block_threshold{0};
constinit std::atomic<int32_t> Memory::_block_time{0};
constinit std::atomic<int32_t> Memory::_block_count{0};
constinit std::atomic<int32_t> Memory::_blocks{0};

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
constexpr size_t LEAD = 8; // unused, in front of the block; malloc's 16-byte alignment then is the payload's
constexpr size_t MAX_PAYLOAD = UINT32_MAX - size_t{Memory::GUARD_BYTES};
static_assert(Memory::GUARD_BYTES == HEADER_SIZE + TRAILER_SIZE);
static_assert((LEAD + HEADER_SIZE) % alignof(std::max_align_t) == 0);

constexpr int FILL_FRESH = 0xFD;
constexpr int FILL_FREED = 0xFE;

constexpr int DEFAULT_BLOCK_THRESHOLD = 75000;
constexpr int DEFAULT_BLOCK_TIME = 400;

constinit std::atomic<bool> fill_enabled{true};

// Adds and returns the sum.
template <bool SINGLE_THREADED>
inline uint32_t add(std::atomic<uint32_t>& counter, uint32_t n) {
    if constexpr (SINGLE_THREADED) {
        const uint32_t sum = counter.load(std::memory_order_relaxed) + n;
        counter.store(sum, std::memory_order_relaxed);
        return sum;
    } else {
        return counter.fetch_add(n, std::memory_order_release) + n;
    }
}

inline void raise_to(std::atomic<int32_t>& high, uint32_t sum) {
    const auto value = static_cast<int32_t>(sum);
    int32_t seen = high.load(std::memory_order_relaxed);
    if (__builtin_expect(value <= seen, 1)) return;
    while (value > seen && !high.compare_exchange_weak(seen, value, std::memory_order_relaxed)) {
    }
}

// Fills STEP to 2 * STEP bytes: two stores that may overlap. False when there are less.
template <int BYTE, size_t STEP>
inline bool fill_ends(char* p, size_t n) {
    if (n < STEP) return false;
    std::memset(p, BYTE, STEP);
    std::memset(p + n - STEP, BYTE, STEP);
    return true;
}

// Short payloads are filled in place. memset() fills them with masked stores, which hold up the check of the
// trailer behind them.
template <int BYTE>
inline void* fill(char* p, size_t n) {
    if (!fill_enabled.load(std::memory_order_relaxed)) return p;
    if (n > 128) return std::memset(p, BYTE, n);
    if (fill_ends<BYTE, 64>(p, n)) return p;
    if (fill_ends<BYTE, 32>(p, n) || fill_ends<BYTE, 16>(p, n) || fill_ends<BYTE, 8>(p, n)) return p;
    for (size_t i = 0; i < n; ++i) p[i] = static_cast<char>(BYTE);
    return p;
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

template <bool SINGLE_THREADED, bool FREED>
inline void Memory::_account_shared(uint32_t size, int type) {
    const auto count = [](counter& sum, uint32_t n) { return add<SINGLE_THREADED>(sum, FREED ? 0 - n : n); };
    const uint32_t bytes = count(_total.bytes, size), blocks = count(_total.blocks, 1);
    if (type != MEM_MISC) {
        count(_types[type].bytes, size);
        count(_types[type].blocks, 1);
    }
    if (!FREED) _raise_high(bytes, blocks);
}

inline void Memory::_raise_high(uint32_t bytes, uint32_t blocks) {
    raise_to(_total_bytes_high, bytes);
    raise_to(_overage_high, blocks * GUARD_BYTES);
}

// Locked additions to counters that all threads share cost ten times the rest of an allocation.
template <bool OF_PROCESS, bool FREED>
inline void Memory::_account(uint32_t size, int type) {
    if constexpr (OF_PROCESS)
        if (ThreadCounters* part = ThreadCounters::mine()) return _account_in<FREED>(*part, size, type);
    if (QENIsSingleThreaded()) return _account_shared<true, FREED>(size, type);
    _account_without_part<OF_PROCESS, FREED>(size, type);
}

template <bool FREED>
inline void Memory::_account_in(ThreadCounters& part, uint32_t size, int type) {
    if (__builtin_expect(part.add<FREED>(size, type), 0)) _publish(part);
}

template <bool OF_PROCESS, bool FREED>
[[gnu::noinline]] void Memory::_account_without_part(uint32_t size, int type) {
    if constexpr (OF_PROCESS)
        if (ThreadCounters* part = ThreadCounters::take()) return _account_in<FREED>(*part, size, type);
    _account_shared<false, FREED>(size, type);
}

[[gnu::noinline]] void Memory::_publish(ThreadCounters& part) {
    const ThreadCounters::Net net = part.take_unpublished();
    const uint32_t bytes = add<false>(_total.bytes, net.bytes());
    _raise_high(bytes, add<false>(_total.blocks, net.blocks()));
}

template <bool OF_PROCESS>
inline void* Memory::_get(bool is_served, size_t size, int type) {
    _throttle();
    if (!is_served || size > MAX_PAYLOAD) return nullptr;
    char* start = static_cast<char*>(std::malloc(LEAD + HEADER_SIZE + size + TRAILER_SIZE));
    if (start == nullptr) return nullptr;

    const auto bytes = static_cast<uint32_t>(size);
    const Header header = {HEADER_LIVE, bytes};
    char* payload = start + LEAD + HEADER_SIZE;
    std::memcpy(payload - HEADER_SIZE, &header, HEADER_SIZE);
    std::memcpy(payload + size, &TRAILER_LIVE, TRAILER_SIZE);
    _account<OF_PROCESS, false>(bytes, type);
    memory_poison(start, LEAD + HEADER_SIZE);
    memory_poison(payload + size, TRAILER_SIZE);
    return fill<FILL_FRESH>(payload, size);
}

template <bool OF_PROCESS>
inline void Memory::_release(void* p, int type) {
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
    _account<OF_PROCESS, true>(header.size, type);
    fill<FILL_FREED>(payload, size);
    keep_stores(payload);
    std::free(start);
}

void* Memory::get(unsigned int align, size_t size, int type) {
    void* retp = try_get(align, size, type);
    QEN_CHECK(retp != NULL);
    return retp;
}

void* Memory::try_get(unsigned int align, size_t size, int type) {
    QEN_CHECK_AS(type >= 0 && type < MEMORY_MAX_TYPES, "(type < MEMORY_MAX_TYPES)");
    const bool is_served = align == 0 || align == 4 || align == 8;
    return this == &taq_mem ? _get<true>(is_served, size, type) : _get<false>(is_served, size, type);
}

void Memory::release(void* p, int type) noexcept {
    QEN_CHECK_AS(type >= 0 && type < MEMORY_MAX_TYPES, "(type < MEMORY_MAX_TYPES)");
    this == &taq_mem ? _release<true>(p, type) : _release<false>(p, type);
}

void* PooledBlock::get(size_t size, int type) {
    void* retp = taq_mem._get<true>(true, size, type);
    QEN_CHECK(retp != NULL);
    return retp;
}

void* PooledBlock::try_get(size_t size, int type) {
    return taq_mem._get<true>(true, size, type);
}

void PooledBlock::release(void* p, int type) noexcept {
    taq_mem._release<true>(p, type);
}

void* Memory::new_block(size_t size) {
    void* retp = taq_mem._get<true>(true, size, MEM_MISC);
    QEN_CHECK(retp != NULL);
    return retp;
}

void* Memory::try_new_block(size_t size) {
    return taq_mem._get<true>(true, size, MEM_MISC);
}

void Memory::delete_block(void* p) noexcept {
    taq_mem._release<true>(p, MEM_MISC);
}

// The callback may allocate and come here again; then it is not called a second time. When several threads
// pass the threshold together, the one that resets the count calls back.
void Memory::_call_back(void (*callback)(int)) {
    static constinit thread_local bool is_calling = false;
    const int32_t threshold = _block_threshold.load(std::memory_order_relaxed);
    if (_block_count.fetch_add(1, std::memory_order_relaxed) < threshold || is_calling) return;
    if (_block_count.exchange(0, std::memory_order_relaxed) <= threshold) return;
    is_calling = true;
    callback(_block_time.load(std::memory_order_relaxed));
    is_calling = false;
    _blocks.fetch_add(1, std::memory_order_relaxed);
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

} // namespace taq_1
