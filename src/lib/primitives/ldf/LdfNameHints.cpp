// Collects lengths and first letters of the wanted object names, before LdfReader looks at records.
#include "primitives/ldf/LdfNameHints.h"

#include <cctype>

#include "primitives/values/HashTable.h"

inline namespace taq_1 {

LdfNameHints::LdfNameHints(const HashTable& names) {
    for (size_t c = 0; c < FIRSTS; ++c) _lower[c] = static_cast<uint8_t>(tolower(static_cast<int>(c)));
    for (int i = 0; i < names.size(); ++i)
        for (const NVElem* entry = names.bucket(i)->head(); entry != nullptr; entry = entry->next())
            _classes.set(_class_of(entry->name()));
}

} // namespace taq_1
