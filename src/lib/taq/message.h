// Message structures, their headers, and what builds them from formats and arguments.
#pragma once

#include "primitives/message/MessageHdr.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/message/TAQMsgStruct.h"
#include "primitives/message/ipm_messages.h"
#include "primitives/utils/QENUtils.h"
#include "primitives/utils/msg_log_add.h"
