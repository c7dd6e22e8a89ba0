// The end of a queued message's journey: the logger thread hands its record to the log or the system log.
#include "primitives/log/LogQueue.h"

#include <memory>

#include "primitives/log/Log.h"
#include "primitives/log/LogAdmin.h"
#include "primitives/log/LogMessage.h"
#include "primitives/message/MsgStruct.h"

void write_record(vlog_msg_t* record) {
    const std::unique_ptr<vlog_msg_t> r(record);
    const std::unique_ptr<char[]> text(r->en_msgp);
    std::unique_ptr<MsgStruct> msgp(r->msg_structp);
    if (r->logp == nullptr) return LogAdmin::write(r->sev, message_text(msgp.get()));
    if (r->packed_args >= 0) { // only a Log packs
        const PackedView packed = PackedMessage::view_of(r->packed(), r->packed_args);
        LogMessage m(*r, packed);
        return static_cast<Log*>(r->logp)->_log(m);
    }
    if (r->is_to_log) {
        LogMessage m(*r, text.get(), msgp.get());
        return static_cast<Log*>(r->logp)->_log(m);
    }
    const bool is_handed_over = (r->flags & ULOG_HAND_OVER) != 0; // write_log deletes it, or we do
    r->logp->write_log(r->timet, r->sev, r->whop, r->filep, r->line, r->flags, r->cat, r->id, text.get(),
                       is_handed_over ? msgp.release() : msgp.get());
}
