// The names of the logs that this process has open, for reader and writer.
#include "primitives/ldf/LdfRegistry.h"

#include <new>

#include "primitives/values/NVList.h"

inline namespace taq_1 {

void LdfRegistry::create() {
    if (!_names) _names = new NVList;
}

void LdfRegistry::destroy() {
    delete _names;
    _names = nullptr;
}

int LdfRegistry::add(const char* name, void* object) {
    if (!_names) return LDF_ENOINIT;
    if (!name) return LDF_ENONAME;
    if (find(name)) return LDF_EREGISTERED;
    auto* entry = new (std::nothrow) NVElem(name, /*name_ref=*/true);
    if (!entry) return LDF_ENOMEM;
    entry->value()->set(object, /*ref=*/1);
    _names->attach_nvelem(entry, /*ref=*/1, /*name_ref=*/1);
    return LDF_OK;
}

void LdfRegistry::remove(const char* name, const void* object) {
    if (name && find(name) == object) _names->remove(name);
}

void* LdfRegistry::find(const char* name) const {
    NVElem* entry = _names && name ? _names->inquire(name, /*case_sensitive=*/false) : nullptr;
    return entry ? entry->getptr() : nullptr;
}

} // namespace taq_1
