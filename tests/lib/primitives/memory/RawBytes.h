// Looks at memory that the sanitizers forbid: guards and freed payloads.
#pragma once

#include <cstddef>
#include <string>

// Byte by byte and volatile, so that no checked memcpy() takes the place of the loop.
__attribute__((no_sanitize_address, no_sanitize_thread, noinline)) inline void
raw_copy(volatile char* to, const volatile char* from, size_t n) {
    for (size_t i = 0; i < n; ++i) to[i] = from[i];
}

// Looks before it allocates: the string might get the very memory that is looked at.
inline std::string raw_bytes(const void* p, size_t n) {
    static char bytes[1 << 20];
    raw_copy(bytes, static_cast<const char*>(p), n < sizeof bytes ? n : sizeof bytes);
    return {bytes, n};
}

#if !defined(__has_feature)
#define __has_feature(feature) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
inline constexpr bool ADDRESS_SANITIZER = true;
#else
inline constexpr bool ADDRESS_SANITIZER = false;
#endif
#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
inline constexpr bool THREAD_SANITIZER = true;
#else
inline constexpr bool THREAD_SANITIZER = false;
#endif
