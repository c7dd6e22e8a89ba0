// Names and codes of object types, which a record holds and -otype of taqmsg filters by.
#include "primitives/ldf/QENObjTags.h"

#include <iterator>

#include "platform/unix/QENNoCase.h"

inline namespace taq_1 {

namespace {

constexpr const char* tag_names[] = {"QEN", "HMX", "CLU", "GRP", "SYS", "AGT", "RES", "XLK"};
static_assert(std::size(tag_names) == OBJTAG_ERR);

// Bits of a log call's flags word, in order of precedence.
constexpr struct {
    int bit;
    obj_tag_t tag;
} flag_tags[] = {{ULOG_ABOUT_RESOURCE, OBJTAG_RES},
                 {ULOG_ABOUT_GROUP, OBJTAG_GRP},
                 {ULOG_ABOUT_SYSTEM, OBJTAG_SYS},
                 {ULOG_ABOUT_AGENT, OBJTAG_AGT}};

} // namespace

const char* QENGetObjTagStr(obj_tag_t code) {
    const auto i = static_cast<unsigned>(code);
    return i < std::size(tag_names) ? tag_names[i] : nullptr;
}

obj_tag_t QENGetObjTag(const char* name) {
    if (!name) return OBJTAG_ERR;
    for (unsigned i = 0; i < std::size(tag_names); ++i)
        if (QENEqualNoCase(name, tag_names[i])) return static_cast<obj_tag_t>(i);
    return OBJTAG_ERR;
}

obj_tag_t QENLogFlagToObjTag(int flags) {
    for (const auto& entry : flag_tags)
        if (flags & entry.bit) return entry.tag;
    return OBJTAG_QEN;
}

} // namespace taq_1
