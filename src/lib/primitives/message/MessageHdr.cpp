// Filling the header of a new message.
#include "primitives/message/MessageHdr.h"

#include "platform/unix/QENAssert.h"

inline namespace taq_1 {

std::atomic<int32_t> _guid{0};
std::atomic<int32_t> is_mt{0};

int32_t _get_guid() {
    return _guid.load(std::memory_order_relaxed);
}

void _set_ipm_hdr_guid(MsgHdr_t* hdrp) {
    QEN_CHECK_AS(hdrp != nullptr, "hdrp != NULL");
    hdrp->setReserved(_get_guid());
}

void initializeHeader(MsgHdr_t* hdrp) {
    QEN_CHECK_AS(hdrp != nullptr, "hdrp != NULL");
    hdrp->clearhdr();
    hdrp->setChannel(IPM_CHANNEL);
    hdrp->setVersion(MSGHDR_VERSION);
    if (is_mt.load(std::memory_order_relaxed) != 1) _set_ipm_hdr_guid(hdrp);
}

void initializeHeader(int32_t message, MsgHdr_t* hdrp) {
    initializeHeader(hdrp);
    hdrp->setMessage(message);
}

} // namespace taq_1
