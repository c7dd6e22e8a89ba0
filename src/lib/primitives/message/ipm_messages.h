// Builders of the two standard kinds of message. The builders of log messages, which also encode printf
// arguments, stand one floor above in "primitives/utils/msg_log_add.h".
#pragma once

#include <cstdint>

inline namespace taq_1 {

class MsgStruct;

// A new message with channel IPM_CHANNEL and the process's GUID. The caller deletes it.
MsgStruct* mk_ipm_msg(int32_t message);

// A new message with channel UCAST_CHANNEL and the given sender, no GUID. The caller deletes it.
MsgStruct* mk_ucast_msg(int32_t message, int32_t sender);

} // namespace taq_1
