// Each allocation of an open and a lookup fails once. The room must use the nothrow operators only: the plain
// ones of a service end its process.
#include <new>

#include "I18nFixture.h"

static long allocations_left = -1; // until one fails; negative: none does

static void* allocate(size_t size) noexcept {
    if (allocations_left == 0) return nullptr;
    if (allocations_left > 0) --allocations_left;
    return std::malloc(size);
}

[[gnu::noinline]] void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
[[gnu::noinline]] void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
[[gnu::noinline]] void* operator new(size_t size) {
    if (allocations_left >= 0) std::abort();
    return std::malloc(size);
}
[[gnu::noinline]] void operator delete(void* p) noexcept {
    std::free(p);
}
[[gnu::noinline]] void* operator new[](size_t size) {
    return operator new(size);
}
[[gnu::noinline]] void operator delete[](void* p) noexcept {
    std::free(p);
}
[[gnu::noinline]] void operator delete[](void* p, size_t) noexcept {
    std::free(p);
}
[[gnu::noinline]] void operator delete(void* p, size_t) noexcept {
    std::free(p);
}

TEST_F(I18nTest, EveryAllocationMayFail) {
    setenv("QENI18N_LANG", "ja", 1);
    std::setlocale(LC_ALL, "ja_JP.eucJP");
    CatalogBuilder file;
    file.text(1, std::string(2000, 'x') + "\xE3\x81\x82");
    for (const char* lang : {"ja", "en"}) tree(lang).catalog("a-long-name", 25, file).write();
    int failed = 0;
    for (bool done = false; !done; ++failed) {
        char* p = nullptr;
        int32_t size = 0;
        allocations_left = failed;
        int rc = i18nOpen(&handle, root.c_str(), "KORE", nullptr);
        if (rc == I18N_SOK) rc = i18nGetSafeMsg(&handle, 25, 1, &p, &size);
        if (rc == I18N_SOK && (rc = i18nChangeLang(&handle, "en")) == I18N_EFAIL) rc = I18N_ENOMEM;
        done = rc == I18N_SOK && allocations_left > 0;
        allocations_left = -1;
        EXPECT_TRUE(rc == I18N_SOK || rc == I18N_ENOMEM) << rc;
        EXPECT_TRUE(handle == nullptr || text(25, 1).size() >= 2002) << "usable after a failure";
        i18nClose(&handle);
    }
    EXPECT_GT(failed, 20);
}
