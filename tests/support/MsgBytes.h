// The bytes of a message as they would be sent.
#pragma once

#include <string>

#include "primitives/message/MsgStruct.h"

inline std::string msg_bytes(const MsgStruct& msg) {
    std::string bytes;
    for (const NetBuffer* bufp = msg.getnwbufferlist()->head(); bufp != nullptr; bufp = bufp->next())
        bytes.append(bufp->getbuffer(), static_cast<size_t>(bufp->getbuffersize()));
    return bytes;
}
