// The end of a queued message's journey: its record is written to the log or the system log and deleted.
#include "primitives/log/LogQueue.h"

#include <memory>
#include <typeinfo>

#include "primitives/log/Log.h"
#include "primitives/log/LogMessage.h"
#include "primitives/message/MsgStruct.h"

void Log::_queue(vlog_msg_t* record) {
    record->is_to_log = typeid(*this) == typeid(Log);
    logger_thread().post(record);
}

void write_record(vlog_msg_t* record) {
    const std::unique_ptr<vlog_msg_t> r(record);
    const std::unique_ptr<char[]> text(r->en_msgp);
    std::unique_ptr<MsgStruct> msgp(r->msg_structp);
    if (r->logp == nullptr) {
        Log::write_admin(r->timet, r->sev, r->whop, r->filep, r->line, r->cat, r->id, msgp.get());
        return;
    }
    if (r->packed_args >= 0) {
        const PackedView packed = PackedMessage::view_of(r->packed(), r->packed_args);
        LogMessage m{r->timet,
                     r->sev,
                     r->whop,
                     r->filep,
                     r->line,
                     r->flags,
                     r->cat,
                     r->id,
                     /*debug_text=*/nullptr,
                     /*structp=*/nullptr,
                     &packed};
        return static_cast<Log*>(r->logp)->_log(m); // only a Log packs
    }
    const bool is_handed_over = (r->flags & ULOG_HAND_OVER) != 0;
    MsgStruct* structp = is_handed_over ? msgp.release() : msgp.get(); // write_log deletes it, or we do
    if (r->is_to_log)
        static_cast<Log*>(r->logp)->Log::write_log(r->timet, r->sev, r->whop, r->filep, r->line, r->flags,
                                                   r->cat, r->id, text.get(), structp);
    else
        r->logp->write_log(r->timet, r->sev, r->whop, r->filep, r->line, r->flags, r->cat, r->id, text.get(),
                           structp);
}
