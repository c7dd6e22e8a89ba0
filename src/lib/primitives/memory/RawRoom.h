// Room for bytes in progress: the line, the texts of times, the stretch of a file. It is taken when it is
// first needed and is neither filled nor counted, unlike memory of the accounting allocator: most of it is
// never used, and a page that nobody touches costs nothing.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <type_traits>

#include "../../platform/unix/QENAssert.h"

inline namespace taq_1 {

struct RawRoomFree {
    void operator()(void* p) const { std::free(p); }
};

// Owns its elements, whose values are not defined until they are written.
template <class T>
using RawRoom = std::unique_ptr<T[], RawRoomFree>;

// `count` elements; null when memory runs out.
template <class T>
[[nodiscard]] RawRoom<T> try_raw_room(size_t count) {
    static_assert(std::is_trivially_destructible_v<T> && alignof(T) <= alignof(std::max_align_t));
    if (count > SIZE_MAX / sizeof(T)) return nullptr;
    return RawRoom<T>(static_cast<T*>(std::malloc(count * sizeof(T))));
}

// The same for callers that cannot do without: exhausted memory ends the process, as it does for plain new.
template <class T>
[[nodiscard]] RawRoom<T> raw_room(size_t count) {
    RawRoom<T> retp = try_raw_room<T>(count);
    QEN_CHECK(retp != NULL);
    return retp;
}

} // namespace taq_1
