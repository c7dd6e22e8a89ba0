// The global allocation operators. They must be replaced all together and for the whole process: the C++
// library's own code allocates what inlined code frees, and the other way round, so memory of one pair
// meets the other wherever they differ.
//
// An executable that links the library gets this object with its first allocation, and exports it, so that
// the shared C++ library uses it as well; hidden visibility would split the two. A shared library can neither
// impose its allocator on the program that loads it nor keep a hidden one without the same split: it is built
// with QEN_NO_GLOBAL_OPERATORS, and its classes reach taq_mem through their own operators (Pooled.h).
//
// The sanitizers bring operators of their own, which also check that new meets delete and new[] delete[]; a
// program that is built with one keeps those.
//
// Without memory the plain forms end the process with a report, so that no caller of them has to think of it;
// the nothrow forms give null, for callers that can answer.
//
// The over-aligned forms stay with the C++ library, which allocates and frees them by itself.
#ifndef QEN_NO_GLOBAL_OPERATORS

#include "primitives/memory/Memory.h"

#include <new>

void* operator new(size_t size) {
    return taq_mem.get(0, size, MEM_MISC);
}

void* operator new[](size_t size) {
    return operator new(size);
}

void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return taq_mem.try_get(0, size, MEM_MISC);
}

void* operator new[](size_t size, const std::nothrow_t& nothrow) noexcept {
    return operator new(size, nothrow);
}

void operator delete(void* p) noexcept {
    taq_mem.release(p, MEM_MISC);
}

void operator delete[](void* p) noexcept {
    operator delete(p);
}

void operator delete(void* p, size_t) noexcept {
    operator delete(p);
}

void operator delete[](void* p, size_t) noexcept {
    operator delete(p);
}

void operator delete(void* p, const std::nothrow_t&) noexcept {
    operator delete(p);
}

void operator delete[](void* p, const std::nothrow_t&) noexcept {
    operator delete(p);
}

#endif
