// Big-endian integers in unaligned bytes, as every file and message format of the system has them.
// Header-only and free of dependencies, so that any room can use it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

inline namespace taq_1 {

inline uint16_t get_be16(const void* p) {
    uint16_t v;
    std::memcpy(&v, p, sizeof v);
    return __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? __builtin_bswap16(v) : v;
}

inline uint32_t get_be32(const void* p) {
    uint32_t v;
    std::memcpy(&v, p, sizeof v);
    return __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? __builtin_bswap32(v) : v;
}

inline void put_be16(void* p, uint16_t v) {
    if (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__) v = __builtin_bswap16(v);
    std::memcpy(p, &v, sizeof v);
}

inline void put_be32(void* p, uint32_t v) {
    if (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__) v = __builtin_bswap32(v);
    std::memcpy(p, &v, sizeof v);
}

} // namespace taq_1
