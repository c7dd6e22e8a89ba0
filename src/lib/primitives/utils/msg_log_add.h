// Builders of the log message that the logging framework hands to its writer.
#pragma once

#include <cstdint>

#include "QENVaList.h"

inline namespace taq_1 {

class MsgStruct;

inline constexpr int32_t MSG_LOG_ADD = 2056; // message number of a log message

// Bits of logflags.
inline constexpr int MSG_LOG_FORMAT = 1;  // store the text with its arguments filled in, and the arguments
inline constexpr int MSG_LOG_AS_TEXT = 2; // store severity and, without a catalog, message number as text

// Adds to msgp, or to a new mk_ipm_msg(MSG_LOG_ADD) when it is null, the elements of a log message and
// returns it; a new one is the caller's:
//   MSGID_SEVERITY   sev, or its name
//   MSGID_TEXT       the text cut at 4095 bytes, or fmtp as it stands
//   MSGID_OBJ_TAG, MSGID_TIMESTAMP
//   MSGID_MSGCAT_ID  cat in the high and id in the low 16 bits, with the header flag MSGHDR_CATALOG_ID; or,
//                    when cat is I18N_CATEGORY_NONE, id alone and no flag
//   MSGID_ARGS       with MSG_LOG_FORMAT: see QENUtils::msgargs_to_msgstruct
// An element that msgp has already is kept. fmtp null: no text and no arguments.
MsgStruct* mk_vararg_msg_log_add(MsgStruct* msgp, int logflags, int sev, int obj_tag, int timestamp, int cat,
                                 int id, const char* fmtp, QENVaList& args);

MsgStruct* mk_msg_log_add(MsgStruct* msgp, int logflags, int sev, int obj_tag, int timestamp, int cat, int id,
                          const char* fmtp, ...) __attribute__((format(printf, 8, 9)));

} // namespace taq_1
