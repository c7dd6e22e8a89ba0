// Writing: from the call of a program to the line in the stream and the record beside it.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include "platform/unix/QENNullText.h"
#include "platform/unix/QENPlatform.h"
#include "platform/unix/QENStreams.h"
#include "primitives/log/LineBuffer.h"
#include "primitives/log/Log.h"
#include "primitives/log/LogAdmin.h"
#include "primitives/log/LogMessage.h"
#include "primitives/log/LogQueue.h"
#include "primitives/log/LogText.h"
#include "primitives/log/PackedMessage.h"
#include "primitives/log/TerminalText.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/utils/msg_log_add.h"

namespace {

constexpr size_t UMI_SIZE = 255;
constexpr int MSG_INVALID_MESSAGE = 50879;

int8_t one_byte(int code) {
    return static_cast<int8_t>(code >= 0 && code <= INT8_MAX ? code : -1);
}

} // namespace

void Log::write_app(ulog_app_sev sev, const char* whop, const char* filep, int line, int flags, int cat,
                    int id, MsgStruct* ipm_msg_in) {
    const time_t now = time(nullptr);
    if (!_is_queued()) {
        write_log(now, sev, whop, filep, line, flags, cat, id, /*msgp=*/nullptr, ipm_msg_in);
        return;
    }
    const bool copy = (flags & ULOG_HAND_OVER) == 0 && ipm_msg_in != nullptr;
    MsgStruct* msgp = copy ? ipm_msg_in->deep_dup() : ipm_msg_in;
    _queue(new vlog_msg_t(this, now, sev, whop, filep, line, flags, cat, id, /*debug_text=*/nullptr, msgp));
}

void Log::write_packed(ulog_app_sev sev, const char* whop, const char* filep, int line, int flags, int cat,
                       int id, const PackedMessage& message) {
    const time_t now = time(nullptr);
    if (_is_queued())
        return _queue(new (message) vlog_msg_t(this, now, sev, whop, filep, line, flags, cat, id, message));
    const PackedView packed = message.view();
    LogMessage m{now,    sev, whop, filep, line, flags, cat, id, /*debug_text=*/nullptr, /*structp=*/nullptr,
                 &packed};
    _log(m);
}

void Log::write_dbg(ulog_dbg_lev lev, const char* whop, const char* filep, int line, int flags, int cat,
                    int id, const char* en_msgp) {
    const time_t now = time(nullptr);
    const bool is_ours = (flags & ULOG_HAND_OVER) != 0;
    flags |= ULOG_DEBUG;
    if (!_is_queued()) {
        write_log(now, lev, whop, filep, line, flags, cat, id, en_msgp, /*msg_structp=*/nullptr);
        if (is_ours) delete[] en_msgp;
        return;
    }
    char* text = const_cast<char*>(en_msgp); // the log's to delete, or else a copy
    if (!is_ours && en_msgp != nullptr) text = strcpy(new char[strlen(en_msgp) + 1], en_msgp);
    _queue(new vlog_msg_t(this, now, lev, whop, filep, line, flags, cat, id, text, /*structp=*/nullptr));
}

void Log::write_buf(const char* whop, const char* filep, int line, int sev, int flags, int cat, int id,
                    const char* buffer, const char* arg1, const char* arg2, const char* arg3,
                    const char* arg4, const char* arg5, const char* arg6) {
    if (buffer == nullptr) {
        report_to_admin(SEV_ERR, __func__, __FILE__, __LINE__, ULOG_CAT_LIBRARY, MSG_INVALID_MESSAGE,
                        process_args("Invalid log message."));
        return;
    }
    auto* msgp = new MsgStruct;
    msgp->add_elem(MSGID_TEXT, buffer, 0);
    for (const char* arg : {arg1, arg2, arg3, arg4, arg5, arg6}) {
        if (arg == nullptr) break;
        msgp->append_elem(MSGID_ARGS, arg, 0);
    }
    write_app(static_cast<ulog_app_sev>(sev), whop, filep, line, flags | ULOG_HAND_OVER, cat, id, msgp);
}

bool Log::_accepts(int sev, int flags) const {
    if (_enabled.load(std::memory_order_relaxed) == 0 || sev < 0 || sev > logical_sev(DBG_RES2)) return false;
    return !_verify_mode.load(std::memory_order_relaxed) || (flags & (ULOG_DEBUG | ULOG_MERGE)) != 0;
}

void Log::write_log(time_t timet, int sev, const char* whop, const char* filep, int line, int flags, int cat,
                    int id, const char* msgp, MsgStruct* msg_structp) {
    const std::unique_ptr<MsgStruct> ours((flags & ULOG_HAND_OVER) != 0 ? msg_structp : nullptr);
    LogMessage m{timet, sev, whop, filep, line, flags, cat, id, msgp, msg_structp, /*packed=*/nullptr};
    _log(m);
}

void Log::_log(LogMessage& m) {
    if (!_accepts(m.sev, m.flags)) return;
    const LogLock::Guard inside(_lock);
    if (!inside) return; // within a write or display of this log
    if (!_has_stream())
        QENSyslog(SEV_ERR, "Log File Pointer is NULL");
    else if (_classify(m))
        _write_message(m);
}

void Log::_write_message(LogMessage& m) {
    _file.begin();
    _write_line(m);
    if (!m.is_debug && !_on_standard_stream()) {
        if (m.is_recorded && _ldf_enabled && !_is_inherited() && _ldfp != nullptr && _ldfp->is_opened())
            _copy_to_ldf(m);
        if (!m.leaves_out(ULOG_NO_EVENT) && QENIsEvent(m.logical_sev))
            QENReportEvent(m.logical_sev, m.number(), m.structure());
    }
    const bool flush = _flushes(m);
    if (flush && _rewind_flag != 0) (void)QENStreamFlush(_fp); // as other write errors
    _file.settle(flush);
}

// Debug messages wait in the stream's buffer unless their tag flushes.
bool Log::_flushes(const LogMessage& m) const {
    return !m.is_debug || _has_debug_flag(m.level, LOG_DBG_FLUSH);
}

void Log::_write_line(const LogMessage& m) {
    LineBuffer line(_fp, _line_room(), _rewind_flag == 0 ? LineBuffer::A_FILE : LineBuffer::ANY_STREAM);
    _put_head(m, line);
    _put_text(m, line);
    if (!m.leaves_out(ULOG_NO_NEWLINE)) line.append('\n');
    const size_t counted = line.size();
    _put_source(m, line);

    const size_t size = line.size();
    if (line.send(/*at_once=*/_flushes(m)) == size) _file.count(counted, size);
}

// Time stamp, mnemonic, severity word and identifier.
void Log::_put_head(const LogMessage& m, LineBuffer& line) {
    if (!m.leaves_out(ULOG_NO_TIME)) line.append(_stamp.at(m.time));
    if (!m.leaves_out(ULOG_NO_MNEMONIC) && _mnem_len >= 1) {
        line.append(_mnemonic());
        line.append(' ');
    }
    if (!m.leaves_out(ULOG_NO_SEVERITY)) _put_severity(m, line);
    if (!m.leaves_out(ULOG_NO_UMI))
        line.advance(put_umi(line.room(UMI_SIZE), UMI_SIZE, _originator(), m.catalog(), m.number()));
}

// Looked up only here: a bare text needs no catalog.
void Log::_put_severity(const LogMessage& m, LineBuffer& line) {
    const std::string_view word =
        m.is_debug ? ulog_dbg_lev_name(m.level) : _catalog.severity_word(m.logical_sev);
    if (word.empty()) return;
    line.append(word);
    line.append(' ');
}

// On a terminal control characters become visible. The English text has its arguments in it already, and may
// be of several lines.
void Log::_put_text(const LogMessage& m, LineBuffer& line) {
    if (_put_localized(m, line)) return;
    if (_on_terminal && !is_plain_for_terminal(m.text))
        line.append(text_for_terminal(m.text, Newlines::KEPT));
    else
        line.append(m.text);
}

// The text in the user's language, on standard output and standard error. False: there is none.
bool Log::_put_localized(const LogMessage& m, LineBuffer& line) {
    if (!_on_standard_stream() || m.is_debug || m.number() == 0) return false;
    const LogArguments args = m.arguments();
    if (args.more) return false;
    const auto put = [&](ArgViews shown) {
        size_t size;
        if (!_catalog.format(m.msgcat_id, shown.data(), shown.size(), line.room(LOG_TEXT_SIZE), LOG_TEXT_SIZE,
                             &size))
            return false;
        line.advance(size);
        return true;
    };
    if (_on_terminal && !are_plain_for_terminal(args.span()))
        return put(ArgsForTerminal<ULOG_MAX_ARGS>(args.span()).views());
    return put(args.span());
}

void Log::_put_source(const LogMessage& m, LineBuffer& line) {
    if (m.leaves_out(ULOG_NO_SOURCE) || m.type == MSG_LOG_ADD || m.source.empty()) return;
    if (!m.is_debug && (m.line_flags & ULOG_SOURCE) == 0) return;
    line.append('\t');
    line.append(m.source);
    line.append(':');
    line.append(QENTextOf(m.whop));
    char number[16];
    line.append({number, static_cast<size_t>(snprintf(number, sizeof number, "[%d]\n", m.line))});
}

// A message without a number is recorded with its text, any other with the arguments of its text.
void Log::_copy_to_ldf(const LogMessage& m) {
    ldf_msg_header_t fixed = {};
    fixed.sev = one_byte(m.logical_sev);
    fixed.timestamp = static_cast<int32_t>(m.time);
    fixed.msgcat_id = m.msgcat_id;
    fixed.obj_type = one_byte(m.obj_tag);
    fixed.line_no = static_cast<uint32_t>(m.line);
    fixed.seq = LDF_NO_SEQ;
    const std::string_view whop = m.whop != nullptr ? m.whop : std::string_view();
    if (m.number() == 0)
        _ldfp->append(fixed, m.filep != nullptr ? m.filep : std::string_view(), whop, {&m.text, 1});
    else
        _ldfp->append(fixed, m.source, whop, m.arguments().span());
}
