// Object types of messages: what kind of object a message concerns, with the names that users type.
#pragma once

inline namespace taq_1 {

enum obj_tag_t : int {
    OBJTAG_QEN = 0,
    OBJTAG_HMX = 1,
    OBJTAG_CLU = 2,
    OBJTAG_GRP = 3,
    OBJTAG_SYS = 4,
    OBJTAG_AGT = 5,
    OBJTAG_RES = 6,
    OBJTAG_XLK = 7, // never stored in a file
    OBJTAG_ERR = 8, // no such tag name
};

// Bits of a log call's flags word: what the message is about. None of them: QEN.
inline constexpr int ULOG_ABOUT_SYSTEM = 1 << 19;
inline constexpr int ULOG_ABOUT_GROUP = 1 << 20;
inline constexpr int ULOG_ABOUT_RESOURCE = 1 << 21;
inline constexpr int ULOG_ABOUT_AGENT = 1 << 22;

// The name of codes 0 to 7 ("QEN", "HMX", ...), a static string; null for any other value.
const char* QENGetObjTagStr(obj_tag_t code);

// The code with that name, compared ignoring case; OBJTAG_ERR for none and for null.
obj_tag_t QENGetObjTag(const char* name);

// The object type that a log call's flags word asks for: RES, GRP, SYS, AGT in this order of precedence,
// QEN when it names none.
obj_tag_t QENLogFlagToObjTag(int flags);

} // namespace taq_1
