// Writing: from the call of a program to the line in the stream and the record beside it.
#include <cstring>
#include <memory>

#include "platform/unix/QENPlatform.h"
#include "platform/unix/QENStreams.h"
#include "primitives/log/LineBuffer.h"
#include "primitives/log/LogAdmin.h"
#include "primitives/log/LogCore.h"
#include "primitives/log/LogIdentity.h"
#include "primitives/log/LogMessage.h"
#include "primitives/log/LogQueue.h"
#include "primitives/log/LoggerThread.h"
#include "primitives/log/PackedMessage.h"
#include "primitives/message/MsgStruct.h"

inline namespace taq_1 {

namespace {

constexpr int MSG_INVALID_MESSAGE = 50879;

// Debug messages wait in the stream's buffer unless their tag flushes.
bool is_flushed(const LogMessage& m, const LogDebugTags& tags) {
    return !m.is_debug || tags.has(m.level, LOG_DBG_FLUSH);
}

} // namespace

// ---- The operations of programs, which queue or write

inline bool Log::_is_queued() const {
    return LoggerThread::is_on() && !_core->_lock.is_mine(); // a nested one is dropped
}

void Log::write_app(ulog_app_sev sev, const char* whop, const char* filep, int line, int flags, int cat,
                    int id, MsgStruct* ipm_msg_in) {
    const LogCall call(time(nullptr), sev, whop, filep, line, flags, cat, id);
    if (!_is_queued()) // through write_log, which a derived class may replace
        return write_log(call.timet, sev, whop, filep, line, flags, cat, id, /*msgp=*/nullptr, ipm_msg_in);
    const bool copy = (flags & ULOG_HAND_OVER) == 0 && ipm_msg_in != nullptr;
    MsgStruct* msgp = copy ? ipm_msg_in->deep_dup() : ipm_msg_in;
    _core->_queue(new vlog_msg_t(this, call, /*debug_text=*/nullptr, msgp));
}

void LogCore::write_packed(Log& log, const LogCall& call, const PackedMessage& message) {
    if (log._is_queued()) return log._core->_queue(new (message) vlog_msg_t(&log, call, message));
    const PackedView packed = message.view();
    LogMessage m(call, packed);
    log._core->_log(m, /*may_gather=*/false);
}

void Log::write_dbg(ulog_dbg_lev lev, const char* whop, const char* filep, int line, int flags, int cat,
                    int id, const char* en_msgp) {
    const bool is_ours = (flags & ULOG_HAND_OVER) != 0;
    const LogCall call(time(nullptr), lev, whop, filep, line, flags | ULOG_DEBUG, cat, id);
    if (!_is_queued()) {
        write_log(call.timet, lev, whop, filep, line, call.flags, cat, id, en_msgp, /*msg_structp=*/nullptr);
        if (is_ours) delete[] en_msgp;
        return;
    }
    char* text = const_cast<char*>(en_msgp); // the log's to delete, or else a copy
    if (!is_ours && en_msgp != nullptr) text = strcpy(new char[strlen(en_msgp) + 1], en_msgp);
    _core->_queue(new vlog_msg_t(this, call, text, /*structp=*/nullptr));
}

void Log::write_buf(const char* whop, const char* filep, int line, int sev, int flags, int cat, int id,
                    const char* buffer, const char* arg1, const char* arg2, const char* arg3,
                    const char* arg4, const char* arg5, const char* arg6) {
    if (buffer == nullptr)
        return LogAdmin::report(SEV_ERR, __func__, __FILE__, __LINE__, MSG_INVALID_MESSAGE,
                                std::unique_ptr<MsgStruct>(process_args("Invalid log message.")));
    auto* msgp = new MsgStruct;
    msgp->add_elem(MSGID_TEXT, buffer, 0);
    for (const char* arg : {arg1, arg2, arg3, arg4, arg5, arg6}) {
        if (arg == nullptr) break;
        msgp->append_elem(MSGID_ARGS, arg, 0);
    }
    write_app(static_cast<ulog_app_sev>(sev), whop, filep, line, flags | ULOG_HAND_OVER, cat, id, msgp);
}

void Log::write_log(time_t timet, int sev, const char* whop, const char* filep, int line, int flags, int cat,
                    int id, const char* msgp, MsgStruct* msg_structp) {
    const std::unique_ptr<MsgStruct> ours((flags & ULOG_HAND_OVER) != 0 ? msg_structp : nullptr);
    const LogCall call(timet, sev, whop, filep, line, flags, cat, id);
    LogMessage m(call, msgp, msg_structp);
    _core->_log(m, /*may_gather=*/false);
}

// ---- The write

void LogCore::_queue(vlog_msg_t* record) {
    record->is_to_log = class_of(_log_of_program) == &typeid(Log);
    const int logical = record->is_debug() ? record->sev + SEV_APP_END : record->sev;
    if (!logger_thread().post(record)) _loss.note(LossReason::QUEUE, logical);
}

bool LogCore::_accepts(int sev, int flags) const {
    if (_enabled.load(std::memory_order_relaxed) == 0 || !Log::is_logical_sev(sev)) return false;
    return !LogIdentity::is_verifying() || (flags & (ULOG_DEBUG | ULOG_MERGE)) != 0;
}

void LogCore::_log(LogMessage& m, bool may_gather) {
    if (!_accepts(m.call.sev, m.call.flags)) return;
    const LogLock::Guard inside(_lock);
    if (!inside) return; // within a write or display of this log
    const bool gathers = may_gather && _is_file_log && !_is_inherited();
    if (!gathers || _file.is_full() || _copy.is_full()) _write_gathered();
    const bool has_stream = _has_stream();
    if (!has_stream) QENSyslog(SEV_ERR, "Log File Pointer is NULL");
    if (!m.classify(_open_flags, _tags)) return;
    if (_loss.wants_telling()) _tell_losses();
    if (has_stream)
        _write_message(m, gathers);
    else
        _loss.note(LossReason::ROTATION, m.logical_sev);
    if (_loss.is_due()) _loss.announce();
}

// Whether there is a stream to write to. In a forked child it is that of the file which the parent writes
// now.
bool LogCore::_has_stream() {
    if (_is_file_log && _is_inherited()) {
        _file.follow_parent();
        _fp = _file.stream();
    }
    if (_file.wants_new() || _fp == nullptr) _next();
    return _fp != nullptr;
}

// Makes room for the next message: a given stream is flushed, a file log starts a new file.
void LogCore::_next() {
    if (!_is_file_log) {
        (void)QENStreamFlush(_fp);
        return;
    }
    _write_gathered();
    _file.start_new();
    _fp = _file.stream();
    if (!_is_inherited()) _copy.open(_namep.get());
}

// The administrator hears of a message that is in the files.
void LogCore::_write_message(LogMessage& m, bool gathers) {
    if (_cache.is_enabled() && m.cache_args_id != 0) _log_of_program.notify_add(_cache.add(m));
    const bool is_recorded = !m.is_debug && !_on_standard_stream() && m.is_recorded;
    if (!gathers || !_gather(m, is_recorded)) {
        _write_gathered();
        _write_at_once(m, is_recorded);
    }
    if (m.is_debug || _on_standard_stream() || m.leaves_out(ULOG_NO_EVENT) || !QENIsEvent(m.logical_sev))
        return;
    _write_gathered();
    LogAdmin::mirror(m.logical_sev, static_cast<int>(m.number()), m.text);
}

void LogCore::_write_at_once(const LogMessage& m, bool is_recorded) {
    (void)_put_line(m);
    if (is_recorded) (void)_copy.add(m);
}

// is_counted: its loss is. False: it is lost.
bool LogCore::_put_line(const LogMessage& m, bool is_counted) {
    const bool flush = is_flushed(m, _tags);
    _file.begin(m.logical_sev, is_counted);
    LineBuffer line(_fp, _line_room(), _is_file_log ? LineBuffer::A_FILE : LineBuffer::ANY_STREAM);
    const size_t counted = _line.put(m, line);
    const size_t size = line.size();
    if (line.send(/*at_once=*/flush) == size) _file.count(counted, size);
    if (flush && !_is_file_log) (void)QENStreamFlush(_fp); // as other write errors
    return _file.settle(flush);
}

// ---- Gathering: what the logger thread has before it in its list is written together

// False: the message is too long.
bool LogCore::_gather(const LogMessage& m, bool is_recorded) {
    const size_t size = _line.size_at_most(m);
    std::span<char> room = _file.room_for(size);
    if (room.data() == nullptr) {
        _write_gathered();
        room = _file.room_for(size);
    }
    if (room.data() == nullptr) return false;
    LineBuffer line(_fp, room, LineBuffer::A_FILE);
    const size_t counted = _line.put(m, line);
    _file.gather(counted, line.size(), is_flushed(m, _tags), m.logical_sev);
    if (is_recorded) _copy.gather(m);
    return true;
}

// The records and their header first: then a line that is there has its record. When the disk is waited for,
// the lines come first, as without the logger thread.
void LogCore::_write_gathered() {
    if (_file.waits_for_gathered()) _file.write_gathered();
    _copy.write_gathered();
    _file.write_gathered();
}

} // namespace taq_1
