// Composes a line from a classified message. Log::_write_line calls it and sends the line to the stream.
#include "primitives/log/LogLine.h"

#include <charconv>
#include <cstring>

#include "platform/unix/QENNullText.h"
#include "primitives/log/LogIdentity.h"
#include "primitives/log/LogText.h"
#include "primitives/log/TerminalText.h"
#include "primitives/utils/msg_log_add.h"

inline namespace taq_1 {

namespace {

constexpr size_t UMI_SIZE = 255;
constexpr size_t SMALL_PARTS = 128; // time stamp, debug level, line number, blanks and newlines

} // namespace

size_t LogLine::size_at_most(const LogMessage& m) {
    const size_t word = m.is_debug ? 0 : _catalog.severity_word(m.logical_sev).size();
    return SMALL_PARTS + UMI_SIZE + LogIdentity::mnemonic().size() + word + m.text.size() + m.source.size() +
           strlen(QENTextOf(m.call.whop));
}

size_t LogLine::put(const LogMessage& m, LineBuffer& line) {
    _put_head(m, line);
    _put_text(m, line);
    if (!m.leaves_out(ULOG_NO_NEWLINE)) line.append('\n');
    const size_t counted = line.size();
    _put_source(m, line);
    return counted;
}

// Time stamp, mnemonic, severity word and identifier.
void LogLine::_put_head(const LogMessage& m, LineBuffer& line) {
    if (!m.leaves_out(ULOG_NO_TIME)) line.append(_stamp.at(m.time));
    const std::string_view mnemonic = LogIdentity::mnemonic();
    if (!m.leaves_out(ULOG_NO_MNEMONIC) && !mnemonic.empty()) {
        line.append(mnemonic);
        line.append(' ');
    }
    if (!m.leaves_out(ULOG_NO_SEVERITY)) _put_severity(m, line);
    if (!m.leaves_out(ULOG_NO_UMI))
        line.advance(
            put_umi(line.room(UMI_SIZE), UMI_SIZE, LogIdentity::originator(), m.catalog(), m.number()));
}

// Looked up only here: a bare text needs no catalog.
void LogLine::_put_severity(const LogMessage& m, LineBuffer& line) {
    const std::string_view word =
        m.is_debug ? ulog_dbg_lev_name(m.level) : _catalog.severity_word(m.logical_sev);
    if (word.empty()) return;
    line.append(word);
    line.append(' ');
}

// The English text has its arguments in it already, and may be of several lines.
void LogLine::_put_text(const LogMessage& m, LineBuffer& line) {
    if (_put_localized(m, line)) return;
    if (_on_terminal && !is_plain_for_terminal(m.text))
        line.append(text_for_terminal(m.text, Newlines::KEPT));
    else
        line.append(m.text);
}

// The text in the user's language. False: there is none.
bool LogLine::_put_localized(const LogMessage& m, LineBuffer& line) {
    if (!_is_localized || m.is_debug || m.number() == 0) return false;
    const LogArguments args = m.arguments();
    if (args.more) return false;
    if (_on_terminal && !are_plain_for_terminal(args.span()))
        return _put_format(m.msgcat_id, ArgsForTerminal<ULOG_MAX_ARGS>(args.span()).views(), line);
    return _put_format(m.msgcat_id, args.span(), line);
}

bool LogLine::_put_format(uint32_t msgcat_id, ArgViews args, LineBuffer& line) {
    size_t size;
    if (!_catalog.format(msgcat_id, args.data(), args.size(), line.room(LOG_TEXT_SIZE), LOG_TEXT_SIZE, &size))
        return false;
    line.advance(size);
    return true;
}

void LogLine::_put_source(const LogMessage& m, LineBuffer& line) {
    if (m.leaves_out(ULOG_NO_SOURCE) || m.type == MSG_LOG_ADD || m.source.empty()) return;
    if (!m.is_debug && (m.line_flags & ULOG_SOURCE) == 0) return;
    line.append('\t');
    line.append(m.source);
    line.append(':');
    line.append(QENTextOf(m.call.whop));
    char number[16];
    const char* end = std::to_chars(number, std::end(number), m.call.line).ptr;
    line.append('[');
    line.append({number, static_cast<size_t>(end - number)});
    line.append("]\n");
}

} // namespace taq_1
