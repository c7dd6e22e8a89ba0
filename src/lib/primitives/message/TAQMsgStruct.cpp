// Takes over a text that came from the network.
#include "primitives/message/TAQMsgStruct.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "platform/unix/QENAssert.h"

inline namespace taq_1 {

namespace {

// Bytes that the length word of a received text counts beside the text itself.
constexpr int32_t LENGTH_OVERHEAD = 4;

int32_t text_length(const char* msg) {
    QEN_CHECK(msg);
    return static_cast<int32_t>(std::min<size_t>(std::strlen(msg), std::numeric_limits<int32_t>::max()));
}

} // namespace

TAQMsgStruct::TAQMsgStruct(char* msg, bool ref) : TAQMsgStruct(msg, ref, text_length(msg)) {}

TAQMsgStruct::TAQMsgStruct(char* msg, bool ref, int32_t length)
    : _msghdr(new TAQMsgHdr{}), _nwmessage(msg), _nwmessage_length(length), _nwmessage_ref(ref) {}

TAQMsgStruct::~TAQMsgStruct() {
    if (!_nwmessage_ref) delete[] _nwmessage;
    delete _msghdr;
}

msg_result TAQMsgStruct::from_nwbuffer(TAQMsgStruct*& out, char* buf, int32_t len) {
    const char* msg = buf;
    QEN_CHECK(msg);
    const int32_t expected = len < LENGTH_OVERHEAD ? -1 : len - LENGTH_OVERHEAD;
    // The text must end exactly where the length word says; nothing behind that place is read.
    if (expected < 0 || strnlen(buf, static_cast<size_t>(expected) + 1) != static_cast<size_t>(expected)) {
        delete[] buf;
        out = nullptr;
        return MSG_EBUFLEN;
    }
    out = new TAQMsgStruct(buf, /*ref=*/false, expected);
    return MSG_SOK;
}

} // namespace taq_1
