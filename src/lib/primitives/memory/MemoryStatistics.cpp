// The allocator's counters as its readers see them: the shared part and the parts of all threads together.
#include "primitives/memory/Memory.h"
#include "primitives/memory/ThreadCounters.h"

#include <algorithm>
#include <cstdio>

inline namespace taq_1 {

#define QEN_MEMORY_NAME(name) #name,
const char* const Mem_names[MEMORY_MAX_TYPES] = {QEN_MEMORY_TYPES(QEN_MEMORY_NAME)};
#undef QEN_MEMORY_NAME

// The shared value comes first: what a thread publishes meanwhile is missed rather than counted twice.
template <class Value>
uint32_t Memory::_sum(const counter& shared, Value of_part) const {
    uint32_t sum = shared.load(std::memory_order_acquire);
    if (this == &taq_mem)
        for (auto* part = ThreadCounters::newest(); part != nullptr; part = part->older())
            sum += of_part(*part);
    return sum;
}

uint32_t Memory::_total_now(counter MemoryCounters::*which) const {
    return _sum(_total.*which, [&](auto& part) {
        const ThreadCounters::Net net = part.unpublished();
        return which == &MemoryCounters::bytes ? net.bytes() : net.blocks();
    });
}

uint32_t Memory::_of_type(int type, counter MemoryCounters::*which) const {
    if (type != MEM_MISC)
        return _sum(_types[type].*which, [&](auto& part) { return (part.of_type(type).*which).load(); });
    uint32_t rest = _total_now(which);
    for (int other = 0; other < MEMORY_MAX_TYPES; ++other)
        if (other != MEM_MISC) rest -= _of_type(other, which);
    return rest;
}

int Memory::total_bytes() const {
    return static_cast<int>(_total_now(&MemoryCounters::bytes));
}

int Memory::overage() const {
    return static_cast<int>(_total_now(&MemoryCounters::blocks) * GUARD_BYTES);
}

// What is alive now may not have been published yet.
int Memory::total_bytes_high() const {
    return std::max(total_bytes(), _total_bytes_high.load());
}

int Memory::overage_high() const {
    return std::max(overage(), _overage_high.load());
}

int Memory::count(int type) const {
    return static_cast<int>(_of_type(type, &MemoryCounters::blocks));
}

int Memory::type_bytes(int type) const {
    return static_cast<int>(_of_type(type, &MemoryCounters::bytes));
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

} // namespace taq_1
