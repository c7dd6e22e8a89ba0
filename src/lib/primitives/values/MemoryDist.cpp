// The allocator's statistics as a list. They stand here because lists do; the rest of Memory is two floors
// down.
#include "primitives/memory/Memory.h"
#include "primitives/values/NVList.h"

#include <cinttypes>
#include <cstdio>

inline namespace taq_1 {

NVList* Memory::dist(bool all) const {
    // Taken before the list, which is built from the same memory, changes them.
    const struct {
        const char* name;
        int32_t value;
    } totals[] = {{"_total_bytes", total_bytes()},
                  {"_overage", overage()},
                  {"_total_bytes_high", total_bytes_high()},
                  {"_overage_high", overage_high()},
                  {"_blocks", blocks()}};
    struct {
        int count, bytes;
    } types[MEMORY_MAX_TYPES];
    for (int type = 0; type < MEMORY_MAX_TYPES; ++type) types[type] = {count(type), type_bytes(type)};

    auto* list = new NVList;
    for (const auto& total : totals) list->append(total.name, total.value);
    for (int type = 0; type < MEMORY_MAX_TYPES; ++type) {
        const auto [blocks, bytes] = types[type];
        if (!all && blocks == 0) continue;
        const int64_t average = blocks != 0 ? int64_t{bytes} / blocks : 0; // bytes may be INT_MIN, blocks -1
        char text[64];
        const int length = std::snprintf(text, sizeof text, "%8d\t%8" PRId64 "\t%8d", blocks, average, bytes);
        list->append(Mem_names[type], ValueElem::dup_str(text, static_cast<size_t>(length)), /*ref=*/0);
    }
    return list;
}

NVList* Mem_dist(bool all) {
    return taq_mem.dist(all);
}

} // namespace taq_1
