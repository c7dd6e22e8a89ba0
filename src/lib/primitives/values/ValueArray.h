// A counted array of value cells.
#pragma once

#include "ValueElem.h"

inline namespace taq_1 {

// A fixed number of cells, each empty at first. The array owns its cells.
class ValueArray : public Pooled<MEM_VALUEARRAY> {
public:
    explicit ValueArray(int n); // a negative n counts as 0
    ~ValueArray() { delete[] _elemp; }
    ValueArray(const ValueArray&) = delete;
    ValueArray& operator=(const ValueArray&) = delete;

    int32_t count() const { return _count; }
    ValueElem* value(int i) const { return i >= 0 && i < _count ? &_elemp[i] : nullptr; } // null outside

private:
    int32_t _count;
    ValueElem* _elemp; // owned
};

} // namespace taq_1
