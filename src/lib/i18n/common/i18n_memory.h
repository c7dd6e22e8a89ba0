// Memory of this room. Exhausted memory throws std::bad_alloc here; the public functions turn that into
// I18N_ENOMEM.
#pragma once

#include <cstddef>
#include <new>
#include <string>
#include <vector>

inline namespace taq_1 {

[[noreturn]] void i18n_throw_bad_alloc(); // programs without exceptions may include this header

// Allocates by the nothrow operator: a program may replace the plain one by a form that ends the process.
template <class T>
struct i18n_allocator {
    using value_type = T;

    i18n_allocator() = default;
    template <class U>
    i18n_allocator(const i18n_allocator<U>&) {}

    T* allocate(size_t n) {
        void* p = ::operator new(n * sizeof(T), std::nothrow); // the containers bound n
        if (p == nullptr) i18n_throw_bad_alloc();
        return static_cast<T*>(p);
    }
    void deallocate(T* p, size_t) noexcept { ::operator delete(p); }

    template <class U>
    bool operator==(const i18n_allocator<U>&) const {
        return true;
    }
};

using i18n_string = std::basic_string<char, std::char_traits<char>, i18n_allocator<char>>;
template <class T>
using i18n_vector = std::vector<T, i18n_allocator<T>>;

// Takes the result of a nothrow new; throws std::bad_alloc for null.
template <class T>
T* i18n_checked(T* p) {
    if (p == nullptr) i18n_throw_bad_alloc();
    return p;
}

} // namespace taq_1
