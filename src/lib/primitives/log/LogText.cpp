// Texts of messages and identifiers, written into the caller's room; the display and the log put them into
// lines.
#include "primitives/log/LogText.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "i18n/common/i18n_id.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/values/ValueElem.h"

inline namespace taq_1 {

namespace {

constexpr std::string_view CUT_MARK = "...";
constexpr std::string_view UNKNOWN_HEAD = "Could not find message ";
constexpr std::string_view UNKNOWN_LABELS[] = {
    "arg1 = ", ", arg2 = ", ", arg3 = ", ", arg4 = ", ", arg5 = ", ", arg6 = "};
constexpr ptrdiff_t LABEL_SHARE = 12;                        // longest label and CUT_MARK
constexpr size_t DIGITS_MAX = 10;                            // of an unsigned
constexpr size_t UMI_NUMBERS_MAX = 2 * (1 + DIGITS_MAX) + 1; // two numbers, a dash before each, and a blank
constexpr ptrdiff_t BLANK_SHARE = 4;                         // blank and CUT_MARK

// Appends to a stretch of memory and stops at its end.
class BoundedText {
public:
    BoundedText(char* out, size_t room) : _out(out), _room(room) {}
    void put(std::string_view piece) {
        const size_t n = std::min(piece.size(), _room - _len);
        if (n > 0) memcpy(_out + _len, piece.data(), n);
        _len += n;
    }
    void put_cut(std::string_view piece, size_t share) {
        put(piece.substr(0, share));
        if (piece.size() > share) put(CUT_MARK);
    }
    size_t size() const { return _len; }

private:
    char* _out;
    size_t _room;
    size_t _len = 0;
};

size_t count_non_null(ArgViews args) {
    return static_cast<size_t>(
        std::count_if(args.begin(), args.end(), [](std::string_view arg) { return arg.data() != nullptr; }));
}

// What each argument may keep when `reserved` of `size` bytes are needed for other things.
size_t share_of(size_t size, ptrdiff_t reserved, size_t count) {
    const ptrdiff_t share = (static_cast<ptrdiff_t>(size) - reserved) / static_cast<ptrdiff_t>(count);
    return static_cast<size_t>(std::max<ptrdiff_t>(share, 0));
}

} // namespace

size_t put_arguments(char* out, size_t used, size_t size, ArgViews args) {
    if (used >= size) return 0;
    const size_t count = count_non_null(args); // those behind a null one take their share as well
    size_t total = used;
    for (std::string_view arg : args)
        if (arg.data() != nullptr) total += arg.size() + 1;
    size_t share = std::string_view::npos;
    if (total >= size && count > 0)
        share =
            share_of(size, static_cast<ptrdiff_t>(used) + BLANK_SHARE * static_cast<ptrdiff_t>(count), count);
    BoundedText text(out, size - 1 - used);
    for (std::string_view arg : leading_args(args)) {
        text.put(" ");
        text.put_cut(arg, share);
    }
    return text.size();
}

size_t put_unknown_message(char* out, size_t size, std::string_view umi, ArgViews args) {
    if (size == 0) return 0;
    BoundedText text(out, size - 1);
    text.put(UNKNOWN_HEAD);
    text.put(umi);
    text.put(": ");

    args = args.first(std::min<size_t>(args.size(), std::size(UNKNOWN_LABELS)));
    const size_t count = count_non_null(args);
    size_t total = text.size();
    for (size_t i = 0; i < args.size(); ++i)
        if (args[i].data() != nullptr) total += UNKNOWN_LABELS[i].size() + args[i].size();
    size_t share = std::string_view::npos;
    if (total >= size && count > 0)
        share = share_of(
            size, static_cast<ptrdiff_t>(text.size()) + LABEL_SHARE * static_cast<ptrdiff_t>(count), count);
    const ArgViews shown = leading_args(args);
    for (size_t i = 0; i < shown.size(); ++i) {
        text.put(UNKNOWN_LABELS[i]);
        text.put_cut(shown[i], share);
    }
    return text.size();
}

size_t put_umi(char* out, size_t size, std::string_view originator, unsigned cat, unsigned id) {
    char numbers[UMI_NUMBERS_MAX];
    const bool in_place = originator.size() + UMI_NUMBERS_MAX < size;
    char* const start = in_place ? out + originator.size() : numbers;
    char* end = start;
    *end++ = '-';
    if (cat != I18N_CATEGORY_NONE) {
        end = std::to_chars(end, end + DIGITS_MAX, cat).ptr;
        *end++ = '-';
    }
    end = std::to_chars(end, end + DIGITS_MAX, id).ptr;
    *end++ = ' ';
    if (in_place) {
        memcpy(out, originator.data(), originator.size());
        return static_cast<size_t>(end - out);
    }
    if (size == 0) return 0;
    BoundedText text(out, size - 1);
    text.put(originator);
    text.put({start, static_cast<size_t>(end - start)});
    return text.size();
}

std::string_view elem_text(const MsgElem* elemp) {
    if (elemp == nullptr || elemp->gettype() != VTYPE_STR) return {};
    const char* text = elemp->getstr();
    return {text, strnlen(text, static_cast<size_t>(elemp->getnwsize()))};
}

std::string_view message_text(const MsgStruct* msgp) {
    return msgp != nullptr ? elem_text(msgp->find(MSGID_TEXT)) : std::string_view{};
}

} // namespace taq_1
