// Texts and message structures from their parts: what a program asks for before it logs, or instead of it.
#pragma once

#include "../utils/QENVaList.h"
#include "ILog.h"

inline namespace taq_1 {

// Log inherits these: Log::process_args and so on. Any thread may call any function.
class MessageBuilder {
public:
    // "K-16-25-30001 ", or "K-16-30001 " for ULOG_CAT_NONE, cut to bufsize bytes with its NUL. Returns the
    // uncut length.
    static int create_umi(char* buffer, int bufsize, int catID, int msgID);

    // Names of severities and levels; the empty string outside their scales.
    static const char* app_sev_name(ulog_app_sev sev) { return ulog_app_sev_name(sev); }
    static const char* dbg_lev_name(ulog_dbg_lev lev) { return ulog_dbg_lev_name(lev); }

    // One scale for both, 0 to 57: what records of log data files carry.
    static constexpr int logical_sev(ulog_app_sev sev) { return sev; }
    static constexpr int logical_sev(ulog_dbg_lev lev) { return static_cast<int>(lev) + SEV_APP_END; }
    static constexpr bool is_logical_sev(int sev) { return sev >= 0 && sev <= logical_sev(DBG_RES2); }
    // The logical severity of a tag 'A' to 'Z'; SEV_INFO for any other character.
    static constexpr int log_tag_to_sev(char tag) { return tag >= 'A' && tag <= 'Z' ? tag - 'A' : SEV_INFO; }

    // Appends the arguments up to the first null one, a blank before each, to the string in bufferp of
    // bufsize bytes (at most LOG_TEXT_SIZE). When they do not fit, all are cut to the same share, "..."
    // marking each cut. A null bufferp is fatal.
    static void _mk_msg_buffer(char* bufferp, int bufsize, const char* arg1, const char* arg2,
                               const char* arg3, const char* arg4, const char* arg5, const char* arg6);
    // Writes the text that stands for a message which no catalog has, with the arguments, cut in that way.
    static void _mk_badID_msg(const char* umi_buf, char* bufferp, int bufsize, const char* arg1,
                              const char* arg2, const char* arg3, const char* arg4, const char* arg5,
                              const char* arg6);

    // A new message, the caller's, with the formatted text (at most 4,095 bytes) as element 21 and its
    // arguments as elements 22. For the conversions see PackedMessage.h.
    static MsgStruct* process_args(const char* fmtp, ...) __attribute__((format(printf, 1, 2)));
    static MsgStruct* process_va_args(const char* fmtp, QENVaList& args);
    // The formatted text (at most 4,095 bytes) in a new array, which the caller frees with delete[].
    static char* process_dbg_args(const char* fmtp, ...) __attribute__((format(printf, 1, 2)));
    static char* process_va_dbg_args(const char* fmtp, QENVaList& args);

    // Adds to ipm_msg, or to a new message, and returns: the formatted text (with dosprintf 0 the format
    // itself) as element 21, the identifier as 23, err_msg (-1 for none) as 9, and the arguments as 22.
    static MsgStruct* mk_log_msg_vararg_msgstruct(int cat, int id, int err_msg, int dosprintf,
                                                  const char* fmtp, QENVaList& args, MsgStruct* ipm_msg);
    static MsgStruct* mk_log_msg_vararg_msgstruct(int cat, int id, int dosprintf, const char* fmtp,
                                                  QENVaList& args, MsgStruct* ipm_msg);
    static MsgStruct* mk_log_msg_msgstruct(MsgStruct* ipm_msg, int cat, int id, const char* fmtp, ...)
        __attribute__((format(printf, 4, 5)));
    static MsgStruct* mk_log_msg_msgstruct(int cat, int id, const char* fmtp, ...)
        __attribute__((format(printf, 3, 4)));
};

} // namespace taq_1
