// Texts of messages, composed from views into the caller's buffer. The operations of Log that take six
// pointers, and the display of records, both end here.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

inline namespace taq_1 {

class MsgElem;
class MsgStruct;

inline constexpr size_t LOG_TEXT_SIZE = 4096; // room for one composed text, NUL included

// Arguments of a message; the first view with null data ends them.
using ArgViews = std::span<const std::string_view>;

// The arguments before the first one with null data.
inline ArgViews leading_args(ArgViews args) {
    size_t n = 0;
    while (n < args.size() && args[n].data() != nullptr) ++n;
    return args.first(n);
}

// Writes the arguments up to the first null one, a blank before each, to `out` as they would continue a text
// of `used` bytes in a buffer of `size`, its NUL included; `out` is the place behind that text. Too long
// ones are cut to the same share each. Returns the bytes written; no NUL is added.
size_t put_arguments(char* out, size_t used, size_t size, ArgViews args);

// Writes the text for a message that no catalog has to `out` of `size` bytes, of which the last stays free
// for a NUL. Returns the bytes written; no NUL is added.
size_t put_unknown_message(char* out, size_t size, std::string_view umi, ArgViews args);

// Writes the unique message identifier, cut to `size` - 1 bytes. Returns the bytes written; no NUL is added.
size_t put_umi(char* out, size_t size, std::string_view originator, unsigned cat, unsigned id);

// A string element's text up to its NUL, or to its end if it has none; null data for no element and
// for an element of another type.
std::string_view elem_text(const MsgElem* elemp);
// The text (element 21) of a message; null data when there is none.
std::string_view message_text(const MsgStruct* msgp);

} // namespace taq_1
