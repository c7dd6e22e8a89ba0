// What the objects of the management engine show to the value cells that carry them.
#pragma once

#include "../memory/Pooled.h"

inline namespace taq_1 {

class BusinessObject : public Pooled<MEM_BUSINESS_OBJECT> {
public:
    virtual ~BusinessObject() = default;
    virtual const char* object_label() const = 0; // kind of object for debug dumps; a static string

protected:
    BusinessObject() = default;
    BusinessObject(const BusinessObject&) = default;
    BusinessObject& operator=(const BusinessObject&) = default;
};

} // namespace taq_1
