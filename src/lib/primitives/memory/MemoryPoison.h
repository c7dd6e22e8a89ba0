// Marks memory that nobody may touch, in builds with the address sanitizer; nothing otherwise.
#pragma once

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define QEN_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QEN_ADDRESS_SANITIZER 1
#endif
#endif

#ifdef QEN_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#endif

inline namespace taq_1 {

inline void memory_poison([[maybe_unused]] const void* p, [[maybe_unused]] size_t n) {
#ifdef QEN_ADDRESS_SANITIZER
    __asan_poison_memory_region(p, n);
#endif
}

inline void memory_unpoison([[maybe_unused]] const void* p, [[maybe_unused]] size_t n) {
#ifdef QEN_ADDRESS_SANITIZER
    __asan_unpoison_memory_region(p, n);
#endif
}

} // namespace taq_1
