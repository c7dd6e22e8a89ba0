// Builds identifiers, argument texts and message structures for programs, before they log.
#include "primitives/log/MessageBuilder.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "platform/unix/QENAssert.h"
#include "primitives/log/LogIdentity.h"
#include "primitives/log/LogText.h"
#include "primitives/log/PackedMessage.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/message/ipm_messages.h"

inline namespace taq_1 {

namespace {

constexpr int NO_ERROR_NO = -1;

std::string_view view_of(const char* s) {
    return s != nullptr ? std::string_view(s) : std::string_view();
}

int identifier_of(int cat, int id) {
    if (cat == ULOG_CAT_NONE) return id;
    return static_cast<int>(i18n_msgcat_id(static_cast<uint32_t>(cat), static_cast<uint32_t>(id)));
}

} // namespace

int MessageBuilder::create_umi(char* buffer, int bufsize, int catID, int msgID) {
    const size_t size = buffer != nullptr && bufsize > 0 ? static_cast<size_t>(bufsize) : 0;
    const char* const originator = LogIdentity::originator().data();
    if (catID == ULOG_CAT_NONE) return snprintf(buffer, size, "%s-%d ", originator, msgID);
    return snprintf(buffer, size, "%s-%d-%d ", originator, catID, msgID);
}

void MessageBuilder::_mk_msg_buffer(char* bufferp, int bufsize, const char* arg1, const char* arg2,
                                    const char* arg3, const char* arg4, const char* arg5, const char* arg6) {
    QEN_CHECK(bufferp != NULL);
    const std::string_view args[] = {view_of(arg1), view_of(arg2), view_of(arg3),
                                     view_of(arg4), view_of(arg5), view_of(arg6)};
    const size_t size = bufsize > 0 ? static_cast<size_t>(bufsize) : 0;
    const size_t used = strnlen(bufferp, size);
    if (used == size) return;
    bufferp[used + put_arguments(bufferp + used, used, size, args)] = '\0';
}

void MessageBuilder::_mk_badID_msg(const char* umi_buf, char* bufferp, int bufsize, const char* arg1,
                                   const char* arg2, const char* arg3, const char* arg4, const char* arg5,
                                   const char* arg6) {
    QEN_CHECK(bufferp != NULL);
    const std::string_view args[] = {view_of(arg1), view_of(arg2), view_of(arg3),
                                     view_of(arg4), view_of(arg5), view_of(arg6)};
    if (bufsize <= 0) return;
    bufferp[put_unknown_message(bufferp, static_cast<size_t>(bufsize), view_of(umi_buf), args)] = '\0';
}

MsgStruct* MessageBuilder::process_args(const char* fmtp, ...) {
    QENVaList args;
    va_start(args.list, fmtp);
    MsgStruct* msgp = process_va_args(fmtp, args);
    va_end(args.list);
    return msgp;
}

MsgStruct* MessageBuilder::process_va_args(const char* fmtp, QENVaList& args) {
    PackedMessage packed;
    packed.pack(fmtp, args);
    return packed.view().structure();
}

char* MessageBuilder::process_dbg_args(const char* fmtp, ...) {
    QENVaList args;
    va_start(args.list, fmtp);
    char* text = process_va_dbg_args(fmtp, args);
    va_end(args.list);
    return text;
}

char* MessageBuilder::process_va_dbg_args(const char* fmtp, QENVaList& args) {
    PackedMessage packed;
    packed.pack(fmtp, args);
    const std::string_view text = packed.view().text;
    return static_cast<char*>(memcpy(new char[text.size() + 1], text.data(), text.size() + 1));
}

MsgStruct* MessageBuilder::mk_log_msg_vararg_msgstruct(int cat, int id, int err_msg, int dosprintf,
                                                       const char* fmtp, QENVaList& args,
                                                       MsgStruct* ipm_msg) {
    PackedMessage packed;
    packed.pack(fmtp, args);
    MsgStruct* msgp = ipm_msg != nullptr ? ipm_msg : mk_ipm_msg(0);
    if (dosprintf != 0) {
        msgp->add_elem(MSGID_TEXT, packed.view().text.data(), 0);
    } else {
        const std::string text(view_of(fmtp).substr(0, LOG_TEXT_SIZE - 1));
        msgp->add_elem(MSGID_TEXT, text.c_str(), 0);
    }
    msgp->add_elem(MSGID_MSGCAT_ID, identifier_of(cat, id));
    msgp->add_elem(MSGID_ERROR_NO, err_msg);
    packed.view().append_args_to(*msgp);
    return msgp;
}

MsgStruct* MessageBuilder::mk_log_msg_vararg_msgstruct(int cat, int id, int dosprintf, const char* fmtp,
                                                       QENVaList& args, MsgStruct* ipm_msg) {
    return mk_log_msg_vararg_msgstruct(cat, id, NO_ERROR_NO, dosprintf, fmtp, args, ipm_msg);
}

MsgStruct* MessageBuilder::mk_log_msg_msgstruct(MsgStruct* ipm_msg, int cat, int id, const char* fmtp, ...) {
    QENVaList args;
    va_start(args.list, fmtp);
    MsgStruct* msgp = mk_log_msg_vararg_msgstruct(cat, id, /*dosprintf=*/1, fmtp, args, ipm_msg);
    va_end(args.list);
    return msgp;
}

MsgStruct* MessageBuilder::mk_log_msg_msgstruct(int cat, int id, const char* fmtp, ...) {
    QENVaList args;
    va_start(args.list, fmtp);
    MsgStruct* msgp = mk_log_msg_vararg_msgstruct(cat, id, /*dosprintf=*/1, fmtp, args, /*ipm_msg=*/nullptr);
    va_end(args.list);
    return msgp;
}

} // namespace taq_1
