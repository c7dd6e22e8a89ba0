// The global allocation operators. All of them are replaced, for the whole process: the C++ library frees
// memory that inlined code of the program allocated, and the reverse, so both must use the same allocator.
//
// An executable that links the library gets this object with its first allocation, and exports it, so that
// the shared C++ library uses it as well. With hidden visibility the library would use another allocator. A
// shared object must leave the operators to the program that loads it: taq::base is the library without this
// object, and its classes use taq_mem through their own operators (Pooled.h).
//
// The sanitizers bring operators of their own, which also check that new meets delete and new[] delete[]; a
// program that is built with one keeps those.
//
// When memory runs out, the plain forms report it and end the process, so their callers need no check. The
// nothrow forms return null, for callers that can handle it.
//
// The over-aligned forms stay with the C++ library, which allocates and frees them by itself.
#include "primitives/memory/Memory.h"

#include <new>

void* operator new(size_t size) {
    return Memory::new_block(size);
}

void* operator new[](size_t size) {
    return operator new(size);
}

void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return Memory::try_new_block(size);
}

void* operator new[](size_t size, const std::nothrow_t& nothrow) noexcept {
    return operator new(size, nothrow);
}

void operator delete(void* p) noexcept {
    Memory::delete_block(p);
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
