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

class NVList;

// Memory types in the order of their codes, which start at 0: MEM_ and the name that the statistics show.
// clang-format off
#define QEN_MEMORY_TYPES(X)                                                                                  \
    X(ARC) X(BUSINESS_OBJECT) X(CELEM) X(CLIST) X(CLUSTER) X(DEPENDENCY) X(DLIST) X(DLINK) X(EXPR) X(FFDC)   \
    X(HASH) X(INTHASH) X(IPM_COMM_HANDLER) X(IPM_COMM_SERVER) X(IPM_COMM_THREAD) X(IPM_FDSET) X(IPMHANDLE)   \
    X(IPMSERVER) X(LDF_READER) X(LDF_WRITER) X(LOG) X(MISC) X(MSGELEM) X(MSGELEMLIST) X(MSGSTRUCT)           \
    X(NET_CTRL_MSG) X(NET_QUEUE_MSG) X(NET_TRAFFIC_MSG) X(NODE) X(NVELEM) X(NVLIST) X(PLAT_COL)              \
    X(PLAT_COL_ENTRY) X(REGDB) X(REGREF) X(SELEM) X(SERVICE_GROUP) X(SLIST) X(SUBTASK) X(SWITCHOUT) X(TAB)   \
    X(TASK) X(TOKEN) X(UBOOBSERVER) X(VALUEELEM) X(VALUEARRAY) X(VATTR_DESC_T) X(VATTR_ELEM) X(VATTR_ITER)   \
    X(VATTR_LIST) X(VATTR_TABLE) X(VATTR_VALIDATE) X(VATTR_VALUE) X(VATTR_VALUE_SCOPED_T) X(VATTR_VALUE_T)   \
    X(TAQMSGSTRUCT) X(TAQOPERATION) X(QENVARIABLE) X(QENVARIABLEFACTORY) X(QENVARTOKENIZE)                   \
    X(QENVARSTRTOKENIZE) X(VELEM) X(VIEW) X(COMPOSITE_SERVICE) X(VIRTUAL_MACHINE) X(VLIST) X(VTYPE)
// clang-format on

enum mem_type : int {
#define QEN_MEMORY_TYPE(name) MEM_##name,
    QEN_MEMORY_TYPES(QEN_MEMORY_TYPE)
#undef QEN_MEMORY_TYPE
        MEMORY_MAX_TYPES
};
static_assert(MEMORY_MAX_TYPES == 67 && MEM_MISC == 21 && MEM_VTYPE == 66);

extern const char* const Mem_names[MEMORY_MAX_TYPES];

// Every thread may call every function. Counters are 32-bit and wrap. Each one is exact; a thread that reads
// several may see another thread's call counted in some of them only.
class Memory {
public:
    // All counters zero; outside constant initialisation also reads ZORQ_MEMORY_CLOBBER (see set_fill).
    constexpr Memory() {
        if (!std::is_constant_evaluated()) set_fill(true);
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
    void release(void* p, int type);

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

    int total_bytes() const { return _total_bytes.load(std::memory_order_relaxed); } // live payload bytes
    int total_bytes_high() const { return _total_bytes_high.load(std::memory_order_relaxed); }
    int overage() const { return _overage.load(std::memory_order_relaxed); } // 16 guard bytes per live block
    int overage_high() const { return _overage_high.load(std::memory_order_relaxed); }
    int count(int type) const { return _cnt[type].load(std::memory_order_relaxed); } // live blocks
    int type_bytes(int type) const { return _type_bytes[type].load(std::memory_order_relaxed); }
    static int blocks() { return _blocks.load(std::memory_order_relaxed); } // calls of the block() function

private:
    using counter = std::atomic<int32_t>;

    void* _get(unsigned int align, size_t size, int type);
    template <bool SINGLE_THREADED>
    void _account(int32_t bytes, int32_t blocks, int type);
    void _account(int32_t bytes, int32_t blocks, int type);
    static void _throttle() {
        if (auto* callback = _block_call.load(std::memory_order_acquire)) _call_back(callback);
    }
    static void _call_back(void (*callback)(int));

    counter _cnt[MEMORY_MAX_TYPES] = {};
    counter _type_bytes[MEMORY_MAX_TYPES] = {};
    counter _total_bytes = 0;
    counter _overage = 0;
    counter _total_bytes_high = 0;
    counter _overage_high = 0;

    static std::atomic<void (*)(int)> _block_call; // null: no throttling
    static counter _block_threshold;
    static counter _block_time;
    static counter _block_count; // calls since the last callback
    static counter _blocks;
};

// The process's allocator. Constant-initialised and trivially destroyed, so it serves the constructors and
// destructors of every other static object.
extern Memory taq_mem;
static_assert(std::is_trivially_destructible_v<Memory>);

NVList* Mem_dist(bool all); // taq_mem.dist(all)
