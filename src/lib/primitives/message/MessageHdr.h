// The fixed header that every message carries, and the accessor through which it is read and written.
#pragma once

#include <atomic>
#include <cstdint>

#include "../../platform/unix/ByteOrder.h"

inline namespace taq_1 {

// Nine 32-bit signed integers in network byte order, 36 bytes, as they lie in a message's first buffer.
//   offset field      meaning
//        0 message    message number; bits 8 to 15 are the major number
//        4 channel    IPM_CHANNEL, UCAST_CHANNEL
//        8 sender     sender identifier
//       12 number     message number within a conversation
//       16 sequence   sequence number
//       20 flags      MSGHDR_CATALOG_ID and bits of the messaging layer
//       24 version    MSGHDR_VERSION
//       28 ext_flags  bits of the messaging layer
//       32 reserved   message GUID of the process
struct MsgHdr_s {
    int32_t message;
    int32_t channel;
    int32_t sender;
    int32_t number;
    int32_t sequence;
    int32_t flags;
    int32_t version;
    int32_t ext_flags;
    int32_t reserved;
};
using MessageHdr = MsgHdr_s;
static_assert(sizeof(MessageHdr) == 36);

inline constexpr int32_t IPM_CHANNEL = 1;            // of a message made by mk_ipm_msg
inline constexpr int32_t UCAST_CHANNEL = 3;          // of a message made by mk_ucast_msg
inline constexpr int32_t MSGHDR_VERSION = 0x7000000; // of every message built here
inline constexpr int32_t MSGHDR_CATALOG_ID = 0x1000; // flag of a log message with a catalog number
inline constexpr int32_t MSGHDR_MAJOR_ERROR = 14;    // major number of error messages

// Gives access, in host order, to a header that lies elsewhere. A header that it still points at when it is
// destroyed is deleted; a header inside a message is detached before. Getters and setters need a header.
class MsgHdr_t {
public:
    MsgHdr_t() = default;
    ~MsgHdr_t() { delete net_hdrp; }
    MsgHdr_t(const MsgHdr_t&) = delete;
    MsgHdr_t& operator=(const MsgHdr_t&) = delete;

    // Points the accessor at hdrp, which may be null. The header pointed at before is left alone.
    void sethdr(MsgHdr_s* hdrp) { net_hdrp = hdrp; }

    int32_t getMessage() const { return get(net_hdrp->message); }
    int32_t getChannel() const { return get(net_hdrp->channel); }
    int32_t getSender() const { return get(net_hdrp->sender); }
    int32_t getNumber() const { return get(net_hdrp->number); }
    int32_t getSequence() const { return get(net_hdrp->sequence); }
    int32_t getFlags() const { return get(net_hdrp->flags); }
    int32_t getVersion() const { return get(net_hdrp->version); }
    int32_t getExtFlags() const { return get(net_hdrp->ext_flags); }
    int32_t getReserved() const { return get(net_hdrp->reserved); }

    void setMessage(int32_t v) { put(net_hdrp->message, v); }
    void setChannel(int32_t v) { put(net_hdrp->channel, v); }
    void setSender(int32_t v) { put(net_hdrp->sender, v); }
    void setNumber(int32_t v) { put(net_hdrp->number, v); }
    void setSequence(int32_t v) { put(net_hdrp->sequence, v); }
    void setFlags(int32_t v) { put(net_hdrp->flags, v); }
    void setVersion(int32_t v) { put(net_hdrp->version, v); }
    void setExtFlags(int32_t v) { put(net_hdrp->ext_flags, v); }
    void setReserved(int32_t v) { put(net_hdrp->reserved, v); }

    int32_t getFlagsBits(int32_t mask) const { return getFlags() & mask; }
    int32_t getExtFlagsBits(int32_t mask) const { return getExtFlags() & mask; }
    void setFlagsBits(int32_t mask) { setFlags(getFlags() | mask); }
    void setExtFlagsBits(int32_t mask) { setExtFlags(getExtFlags() | mask); }
    void clearFlagsBits(int32_t mask) { setFlags(getFlags() & ~mask); }
    void clearExtFlagsBits(int32_t mask) { setExtFlags(getExtFlags() & ~mask); }

    void clearAllFlags() { net_hdrp->flags = net_hdrp->ext_flags = 0; }
    void clearhdr() { *net_hdrp = MsgHdr_s{}; }

    int32_t getMajor() const { return (getMessage() & 0xFF00) >> 8; }
    bool isError() const { return getMajor() == MSGHDR_MAJOR_ERROR; }

private:
    static int32_t get(const int32_t& field) { return static_cast<int32_t>(get_be32(&field)); }
    static void put(int32_t& field, int32_t v) { put_be32(&field, static_cast<uint32_t>(v)); }

    MsgHdr_s* net_hdrp = nullptr; // see the class comment
};

// Set by the messaging layer of a program that has one: the process's message GUID, and 1 in a process whose
// threads send messages of their own and therefore stamp the GUID themselves.
extern std::atomic<int32_t> _guid;
extern std::atomic<int32_t> is_mt;
int32_t _get_guid();

// Fills the header of a new message: version MSGHDR_VERSION, channel IPM_CHANNEL, the GUID in reserved
// (0 when is_mt is 1), the given message number or 0; all else 0. A null header is fatal.
void initializeHeader(MsgHdr_t* hdrp);
void initializeHeader(int32_t message, MsgHdr_t* hdrp);
void _set_ipm_hdr_guid(MsgHdr_t* hdrp);

} // namespace taq_1
