#include "primitives/ldf/LdfRegistry.h"

#include "primitives/values/NVList.h"

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
    _names->append(name, object, /*ref=*/1, /*out=*/nullptr, /*check=*/false);
    return LDF_OK;
}

void LdfRegistry::remove(const char* name, const void* object) {
    if (name && find(name) == object) _names->remove(name);
}

void* LdfRegistry::find(const char* name) const {
    NVElem* entry = _names && name ? _names->inquire(name, /*case_sensitive=*/false) : nullptr;
    return entry ? entry->getptr() : nullptr;
}
