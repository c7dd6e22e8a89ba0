// The end of a queued message's journey: the logger thread hands its record to the log or the system log.
#include "primitives/log/LogQueue.h"

#include <memory>
#include <utility>

#include "primitives/log/LogAdmin.h"
#include "primitives/log/LogCore.h"
#include "primitives/log/LogMessage.h"
#include "primitives/message/MsgStruct.h"

inline namespace taq_1 {

namespace {

constexpr unsigned LOOK_EVERY = 8; // messages, at the clock

} // namespace

void RecordWriter::write(vlog_msg_t* record) {
    const std::unique_ptr<vlog_msg_t> r(record);
    const std::unique_ptr<char[]> text(r->en_msgp);
    std::unique_ptr<MsgStruct> msgp(r->msg_structp);
    if (r->only_tells) {
        flush();
        return static_cast<Log*>(r->logp)->_core->tell_losses();
    }
    if (r->packed_args >= 0) { // only a Log packs
        const PackedView packed = PackedMessage::view_of(r->packed(), r->packed_args);
        LogMessage m(*r, packed);
        return _gather(m, static_cast<Log*>(r->logp));
    }
    if (r->is_to_log) {
        LogMessage m(*r, text.get(), msgp.get());
        return _gather(m, static_cast<Log*>(r->logp));
    }
    flush();
    if (r->logp == nullptr) return LogAdmin::write(r->sev, message_text(msgp.get()));
    const bool is_handed_over = (r->flags & ULOG_HAND_OVER) != 0; // write_log deletes it, or we do
    r->logp->write_log(r->timet, r->sev, r->whop, r->filep, r->line, r->flags, r->cat, r->id, text.get(),
                       is_handed_over ? msgp.release() : msgp.get());
}

void RecordWriter::_gather(LogMessage& m, Log* log) {
    if (_log != log) flush();
    if (_log == nullptr) {
        _log = log;
        _deadline = Clock::now() + _longest;
    }
    log->_core->_log(m, /*may_gather=*/true);
    if (++_count % LOOK_EVERY == 0 && Clock::now() >= _deadline) flush();
}

void RecordWriter::flush() {
    _count = 0;
    Log* const log = std::exchange(_log, nullptr);
    if (log == nullptr) return;
    const LogLock::Guard inside(log->_core->_lock);
    if (inside) log->_core->_write_gathered();
}

} // namespace taq_1
