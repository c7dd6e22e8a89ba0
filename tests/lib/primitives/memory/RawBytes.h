// Looks at memory that the address sanitizer forbids: guards and freed payloads.
#pragma once

#include <cstddef>
#include <string>

#if defined(__clang__)
#define RAW_ACCESS __attribute__((no_sanitize("address"), noinline))
#else
#define RAW_ACCESS __attribute__((no_sanitize_address, noinline))
#endif

// Byte by byte and volatile, so that no checked memcpy() takes the place of the loop.
RAW_ACCESS inline void raw_copy(volatile char* to, const volatile char* from, size_t n) {
    for (size_t i = 0; i < n; ++i) to[i] = from[i];
}

// Looks before it allocates: the string might get the very memory that is looked at.
inline std::string raw_bytes(const void* p, size_t n) {
    static char bytes[1 << 20];
    raw_copy(bytes, static_cast<const char*>(p), n < sizeof bytes ? n : sizeof bytes);
    return {bytes, n};
}

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool ADDRESS_SANITIZER = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool ADDRESS_SANITIZER = true;
#else
inline constexpr bool ADDRESS_SANITIZER = false;
#endif
#else
inline constexpr bool ADDRESS_SANITIZER = false;
#endif
