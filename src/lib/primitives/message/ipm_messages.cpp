// Builders of the two standard kinds of message.
#include "primitives/message/ipm_messages.h"

#include "primitives/message/MsgStruct.h"

inline namespace taq_1 {

MsgStruct* mk_ipm_msg(int32_t message) {
    auto* msgp = new MsgStruct;
    initializeHeader(message, msgp->gethdr());
    return msgp;
}

MsgStruct* mk_ucast_msg(int32_t message, int32_t sender) {
    auto* msgp = new MsgStruct; // a new header is all 0
    MsgHdr_t* hdrp = msgp->gethdr();
    hdrp->setMessage(message);
    hdrp->setChannel(UCAST_CHANNEL);
    hdrp->setSender(sender);
    hdrp->setVersion(MSGHDR_VERSION);
    return msgp;
}

} // namespace taq_1
