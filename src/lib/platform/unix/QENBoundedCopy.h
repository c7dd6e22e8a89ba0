// The bounded copy that buffers of the interface are filled with; the strings room publishes it.
#pragma once

#include <cstddef>
#include <cstring>

inline namespace taq_1 {

// Copies at most size - 1 characters and terminates; nothing for size 0 or a null dst. A null src counts as
// empty. Returns the length of src.
inline size_t QENBoundedCopy(char* dst, const char* src, size_t size) {
    const size_t length = src != nullptr ? std::strlen(src) : 0;
    if (dst == nullptr || size == 0) return length;
    const size_t n = length < size ? length : size - 1;
    if (n != 0) std::memcpy(dst, src, n);
    dst[n] = '\0';
    return length;
}

} // namespace taq_1
