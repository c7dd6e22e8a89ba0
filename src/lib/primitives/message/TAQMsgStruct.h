// Carrier of a text message that came from the network.
#pragma once

#include <cstdint>

#include "../memory/Pooled.h"
#include "../values/msg_result.h"

inline namespace taq_1 {

struct TAQMsgHdr {
    int32_t _handle;
    int32_t _sequence_no;
    int32_t _operation;
    int32_t _object_type;
    int32_t _version;
};

// Used by one thread at a time.
class TAQMsgStruct : public Pooled<MEM_TAQMSGSTRUCT> {
public:
    // msg: NUL-terminated text, not null (fatal). ref true: only referred to; false: owned, freed with
    // array delete. The header's fields start at 0 and are the caller's to fill.
    TAQMsgStruct(char* msg, bool ref);
    ~TAQMsgStruct();
    TAQMsgStruct(const TAQMsgStruct&) = delete;
    TAQMsgStruct& operator=(const TAQMsgStruct&) = delete;

    const char* getnwmessage() const { return _nwmessage; }
    int32_t getnwmessagesize() const { return _nwmessage_length; } // without the NUL
    TAQMsgHdr* getmsghdr() { return _msghdr; }

    // Takes over buf, allocated with array new and received with the length word len, which counts the text
    // and 4 bytes more. MSG_SOK: out is a new structure that the caller deletes. MSG_EBUFLEN: the text has
    // another length, or no NUL where it should end; buf is freed and out is null. At most len - 3 bytes of
    // buf are looked at. A null buf is fatal.
    static msg_result from_nwbuffer(TAQMsgStruct*& out, char* buf, int32_t len);

private:
    TAQMsgStruct(char* msg, bool ref, int32_t length);

    TAQMsgHdr* _msghdr; // owned
    char* _nwmessage;   // owned unless _nwmessage_ref
    int32_t _nwmessage_length;
    bool _nwmessage_ref;
};

} // namespace taq_1
