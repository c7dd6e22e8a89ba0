// Each allocation of an open and a lookup fails once. The room must use the nothrow operators only: the plain
// ones of a service end its process.
#include "I18nFixture.h"
#include "support/FailingMalloc.h"

[[gnu::noinline]] void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size);
}
[[gnu::noinline]] void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size);
}
[[gnu::noinline]] void* operator new(size_t size) {
    if (void* p = std::malloc(size)) return p;
    std::abort();
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
    const auto use = [&] {
        char* p = nullptr;
        int32_t size = 0;
        i18nClose(&handle);
        int rc = i18nOpen(&handle, root.c_str(), "KORE", nullptr);
        if (rc == I18N_SOK) rc = i18nGetSafeMsg(&handle, 25, 1, &p, &size);
        if (rc == I18N_SOK && (rc = i18nChangeLang(&handle, "en")) == I18N_EFAIL) rc = I18N_ENOMEM;
        EXPECT_TRUE(rc == I18N_SOK || rc == I18N_ENOMEM) << rc;
        return rc == I18N_SOK;
    };
    const auto is_usable = [&] { EXPECT_TRUE(handle == nullptr || text(25, 1).size() >= 2002); };
    EXPECT_GT(until_memory_suffices(use, is_usable), 20);
}
