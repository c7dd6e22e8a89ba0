// Result codes of messages and of hash tables. They stand on this floor, below the messages that gave
// them their name, because the hash tables answer with the same codes.
#pragma once

inline namespace taq_1 {

enum msg_result {
    MSG_SOK = 0,     // done
    MSG_EFAIL = 1,   // nothing to work on: absent entry, empty list, no buffer
    MSG_EEXISTS = 2, // key or scalar element exists already
    MSG_EBADID = 3,  // no such element, or an id outside the range
    MSG_EINVAL = 4,  // argument not acceptable: null data, negative length
    MSG_EBADOP = 5,  // operation does not fit, as a vector append to a scalar element
    MSG_ENOMEM = 6,  // no room: memory, or a size that 32 bits cannot hold
    MSG_EMSG = 7,    // message not well-formed
    MSG_EBUFLEN = 8  // length does not agree with the content
};

} // namespace taq_1
