// The usage text of taqmsg, which also follows the report of a wrong argument.
#include "messages.h"
#include "taqmsg.h"

int usage() {
    QEN_MESSAGE(_unified_logerr_function__, SEV_INFO, TAQMSG_USAGE_FLAGS, ULOG_CAT_COMMAND, TAQMSG_USAGE,
                TAQMSG_TEXT_USAGE);
    TAQMSG_RESULT(_unified_logerr_function__, __func__, TAQMSG_USAGE_LINES);
    return TAQMSG_USAGE_ERROR;
}
