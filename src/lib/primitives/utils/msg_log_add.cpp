// Builds the message of a log entry, which the log writes and captures.
#include "primitives/utils/msg_log_add.h"

#include <cstdio>

#include "i18n/common/i18n_id.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/message/ipm_messages.h"
#include "primitives/message/severity.h"
#include "primitives/utils/QENUtils.h"

inline namespace taq_1 {

namespace {

constexpr size_t TEXT_SIZE = 4096; // of the text with its arguments, NUL included

void add_formatted_text(MsgStruct* msgp, const char* fmtp, QENVaList& args) {
    char text[TEXT_SIZE];
    QENVaList walk;
    va_copy(walk.list, args.list);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it loses sight of a va_list inside a struct
    const int full = std::vsnprintf(text, sizeof text, fmtp, walk.list);
    va_end(walk.list);
    if (full < 0) text[0] = '\0'; // a wide character without a multibyte form; the buffer is then unspecified
    (void)msgp->add_elem(MSGID_TEXT, text, 0);
}

void add_severity(MsgStruct* msgp, int sev, bool as_text) {
    if (as_text)
        (void)msgp->add_elem(MSGID_SEVERITY, ulog_app_sev_name(sev), 0);
    else
        (void)msgp->add_elem(MSGID_SEVERITY, sev);
}

void add_identity(MsgStruct* msgp, int cat, int id, bool as_text) {
    if (const auto category = static_cast<uint32_t>(cat); category != I18N_CATEGORY_NONE) {
        msgp->gethdr()->setFlagsBits(MSGHDR_CATALOG_ID);
        const uint32_t identity = i18n_msgcat_id(category, static_cast<uint32_t>(id));
        (void)msgp->add_elem(MSGID_MSGCAT_ID, static_cast<int32_t>(identity));
    } else if (as_text) {
        char digits[16];
        std::snprintf(digits, sizeof digits, "%d", id);
        (void)msgp->add_elem(MSGID_MSGCAT_ID, digits, 0);
    } else {
        (void)msgp->add_elem(MSGID_MSGCAT_ID, id);
    }
}

} // namespace

// Results of the adds are ignored: a message that has an element already keeps it.
MsgStruct* mk_vararg_msg_log_add(MsgStruct* msgp, int logflags, int sev, int obj_tag, int timestamp, int cat,
                                 int id, const char* fmtp, QENVaList& args) {
    const bool format = (logflags & MSG_LOG_FORMAT) != 0 && fmtp != nullptr;
    const bool as_text = (logflags & MSG_LOG_AS_TEXT) != 0;
    if (msgp == nullptr) msgp = mk_ipm_msg(MSG_LOG_ADD);
    add_severity(msgp, sev, as_text);
    if (format)
        add_formatted_text(msgp, fmtp, args);
    else
        (void)msgp->add_elem(MSGID_TEXT, fmtp, 0);
    (void)msgp->add_elem(MSGID_OBJ_TAG, obj_tag);
    (void)msgp->add_elem(MSGID_TIMESTAMP, timestamp);
    add_identity(msgp, cat, id, as_text);
    return format ? QENUtils::msgargs_to_msgstruct(fmtp, args, msgp) : msgp;
}

MsgStruct* mk_msg_log_add(MsgStruct* msgp, int logflags, int sev, int obj_tag, int timestamp, int cat, int id,
                          const char* fmtp, ...) {
    QENVaList args;
    va_start(args.list, fmtp);
    msgp = mk_vararg_msg_log_add(msgp, logflags, sev, obj_tag, timestamp, cat, id, fmtp, args);
    va_end(args.list);
    return msgp;
}

} // namespace taq_1
