// Helpers of the rooms above: printf arguments become elements of a message, local time, character tests, the
// name of the local system.
#pragma once

#include "QENVaList.h"

inline namespace taq_1 {

class MsgStruct;

class QENUtils {
public:
    QENUtils() = delete;

    // Appends one string to the vector MSGID_ARGS of msg for each conversion of the printf format, formatted
    // alone with its own specifier and cut at 4095 bytes. msg null: a new mk_ipm_msg(0). Returns msg or the
    // new message, which the caller owns. A null format has no arguments; a null string prints "(null)".
    // Known conversions: d i o u x X c s e E f g G, with flags, digits as width and precision, and one of
    // h l L. Do not use anything else here ("%%", "%p", "%n", "*", "ll"): it appends nothing and takes no
    // argument, so the conversions behind it take the wrong arguments. format is the program's own text,
    // never one from a file. args is left as it is.
    static MsgStruct* msgargs_to_msgstruct(const char* format, QENVaList& args, MsgStruct* msg);

    // Writes the time at t (seconds since the epoch; null: now) as local date and time of the user's locale
    // into time_buf of len bytes, NUL included. Sets the process's locale from the environment, so only one
    // thread may call it at a time. Returns time_buf, which is empty when the text does not fit; null when
    // time_buf is null or len is not positive.
    static char* i18n_localtime(const long* t, char* time_buf, int len);

    // 1 when c, or every byte of s, is in 32 to 127; a null or empty string counts. 0 otherwise.
    static int is_ascii(int c);
    static int is_ascii_str(const char* s);

    // The name under which this system writes: QEN_ENV_LOCAL_NAME (at most 63 bytes), else the first word of
    // the entry LOCAL_NAME in taq.conf of the configuration directory, else the node name up to its first
    // character that is no letter, digit, '-' or '_'. A new array, which the caller frees with array delete.
    static char* get_system();
};

} // namespace taq_1
