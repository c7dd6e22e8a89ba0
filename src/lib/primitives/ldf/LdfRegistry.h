// The process-wide table of names in use, one for the readers and one for the writers. Names compare
// ignoring case. Not locked.
#pragma once

#include "primitives/ldf/ldf_format.h"

inline namespace taq_1 {

class NVList;

class LdfRegistry {
public:
    void create();  // when it does not exist yet
    void destroy(); // forgets all names; the objects behind them are only referred to

    // LDF_ENOINIT without create(), LDF_ENONAME for null, LDF_EREGISTERED when the name is in use,
    // LDF_ENOMEM. The name is only referred to: it must live until remove().
    int add(const char* name, void* object);
    void remove(const char* name, const void* object); // only when `object` is what the name stands for
    void* find(const char* name) const;                // null when there is none

private:
    NVList* _names = nullptr; // owned
};

} // namespace taq_1
