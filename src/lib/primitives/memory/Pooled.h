// Class-level allocation: a class derived from Pooled<MEM_XXX> allocates its objects and arrays from taq_mem
// under that memory type.
//   class VElem : public Pooled<MEM_VELEM> { ... };
// When memory runs out, the plain forms end the process and the nothrow forms return null, like the global
// operators. A class that wants more than 16-byte alignment cannot be allocated: it does not compile. A class
// with two such bases must name the one it means: `using Pooled<MEM_B>::operator new;` and alike for the
// other operators.
#pragma once

#include <cstddef>
#include <new>

#include "MemoryTypes.h"

inline namespace taq_1 {

// Blocks of taq_mem, as its get, try_get and release give them. In the library even where the class is not,
// so that allocation and release meet the same allocator.
struct PooledBlock {
    [[nodiscard]] static void* get(size_t size, int type);
    [[nodiscard]] static void* try_get(size_t size, int type);
    static void release(void* p, int type) noexcept;
};

template <int TYPE>
class Pooled {
    static_assert(TYPE >= 0 && TYPE < MEMORY_MAX_TYPES);

public:
    static void* operator new(size_t size) { return PooledBlock::get(size, TYPE); }
    static void* operator new[](size_t size) { return operator new(size); }
    static void operator delete(void* p) noexcept { PooledBlock::release(p, TYPE); }
    static void operator delete[](void* p) noexcept { operator delete(p); }

    // A class-level operator hides these global forms.
    static void* operator new(size_t size, const std::nothrow_t&) noexcept {
        return PooledBlock::try_get(size, TYPE);
    }
    static void* operator new[](size_t size, const std::nothrow_t& nothrow) noexcept {
        return operator new(size, nothrow);
    }
    static void* operator new(size_t, void* place) noexcept { return place; }
    static void* operator new[](size_t, void* place) noexcept { return place; }
    static void operator delete(void* p, const std::nothrow_t&) noexcept { operator delete(p); }
    static void operator delete[](void* p, const std::nothrow_t&) noexcept { operator delete(p); }
    static void operator delete(void*, void*) noexcept {}
    static void operator delete[](void*, void*) noexcept {}

    // The forms that an over-aligned class would use.
    static void* operator new(size_t, std::align_val_t) noexcept {
        static_assert(TYPE < 0, "an over-aligned class cannot be Pooled");
        return nullptr;
    }
    static void* operator new[](size_t size, std::align_val_t align) noexcept {
        return operator new(size, align);
    }
    static void operator delete(void*, std::align_val_t) = delete;
    static void operator delete[](void*, std::align_val_t) = delete;
};

} // namespace taq_1
