// All records of a file, or those that pass the filters; and its last records.
#include "LdfFile.h"
#include "messages.h"
#include "taqmsg.h"

#include "platform/unix/QENStreams.h"
#include "primitives/log/LineBuffer.h"
#include "primitives/log/LocalTimeText.h"
#include "primitives/log/LogCore.h"
#include "primitives/log/ShownRecord.h"
#include "primitives/log/TerminalText.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

namespace {

constexpr int DEFAULT_TAIL = 20;

// Collects lines, so that thousands leave with a few writes. It is much larger than the buffer of the stream,
// which then writes from here without a copy.
char lines[128 * 1024];

static_assert(TAQMSG_ANY == LDF_MATCH_ANY && TAQMSG_MATCH_PIECES == LDF_MATCH_PIECES);

// main makes two logs of class Log, so the cast is safe.
Log* output_log() {
    return static_cast<Log*>(_unified_log_function__);
}

void show_record(const LdfRecordView& record, int flags, LineBuffer& out) {
    const ldf_msg_header_t& h = record.header;
    LogCore::display(*output_log(), {h.sev, h.obj_type, h.timestamp, h.msgcat_id},
                     {record.argv(), record.argc()}, flags, out);
}

void print_sequence(uint32_t seq, LineBuffer& out) {
    char number[16] = "---------- ";
    if (seq != 0) std::snprintf(number, sizeof number, "%.10u ", seq);
    out.append(number);
}

// Appends a field of the source position, cut at 4095 bytes.
void append_source(std::string_view piece, LineBuffer& out) {
    static const bool on_terminal = QENIsTerminal(stdout);
    piece = piece.substr(0, TAQMSG_TEXT_SIZE - 1);
    if (on_terminal && !is_plain_for_terminal(piece))
        out.append(text_for_terminal(piece));
    else
        out.append(piece);
}

void print_source(const LdfRecordView& record, LineBuffer& out) {
    char number[16];
    const char* end = std::to_chars(number, std::end(number), record.header.line_no).ptr;
    out.append('\t');
    append_source(record.filename(), out);
    out.append(':');
    append_source(record.function(), out);
    out.append('[');
    out.append({number, static_cast<size_t>(end - number)});
    out.append("]\n");
}

// A report of limited length, built piece by piece.
class Report {
public:
    template <class... Args>
    void format(const char* format, Args... args) {
        const int length = std::snprintf(_text + _used, sizeof _text - _used, format, args...);
        if (length > 0) _used = std::min(_used + static_cast<size_t>(length), sizeof _text - 1);
    }
    void add(std::string_view piece) {
        _used += piece.copy(_text + _used, sizeof _text - 1 - _used);
        _text[_used] = '\0';
    }
    const char* text() const { return _text; }

private:
    size_t _used = 0;
    char _text[TAQMSG_TEXT_SIZE]; // terminated once something was added
};

const char* local_time(time_t t) {
    static char room[LocalTimeText::SIZE];
    static LocalTimeText times("%c", room); // as QENUtils::i18n_localtime, for thousands of records
    return times.at(t).empty() ? "" : times.at(t).data();
}

// The log keeps the newlines of a text: those of an argument become visible here.
void dump_record(const LdfRecordView& record) {
    static const bool on_terminal = QENIsTerminal(stderr);
    const ldf_msg_header_t& h = record.header;
    Report report;
    report.format("data size   = %d\n"
                  "version     = 0x%x\n"
                  "severity    = %s\n"
                  "timestamp   = %s\n"
                  "message ID  = %d\n"
                  "object type = %d\n"
                  "seq number  = %d\n",
                  static_cast<int>(h.data_size), static_cast<unsigned>(h.version),
                  Log::app_sev_name(static_cast<ulog_app_sev>(h.sev)), local_time(h.timestamp),
                  static_cast<int>(h.msgcat_id), static_cast<int>(h.obj_type), static_cast<int>(h.seq));
    int number = 0;
    record.for_each_arg([&](std::string_view arg) {
        report.format("    arg %d   = ", ++number);
        if (on_terminal)
            report.add(text_for_terminal(arg));
        else
            report.add(arg);
        report.add("\n");
    });
    TAQMSG_RESULT(_unified_logerr_function__, "display_ldf", report.text());
}

void display_record(const LdfRecordView& record, bool with_sequence, int flags, LineBuffer& out) {
    if (flags & TAQMSG_TRACE) return dump_record(record);
    if (with_sequence && (flags & TAQMSG_DBG)) print_sequence(record.header.seq, out);
    show_record(record, flags, out);
    if (flags & TAQMSG_DBG) print_source(record, out);
}

void report_if_none(int shown) {
    if (shown == 0) TAQMSG_REPORT(NO_MATCH);
}

} // namespace

int display_tail(const char* pathp, const char* ldf_filep, int tail_value, int flags) {
    const std::unique_ptr<LdfReader> reader(new (std::nothrow) LdfReader);
    if (reader == nullptr) return LDF_EFAIL;
    const int rc = open_ldf(*reader, pathp, ldf_filep);
    if (rc != LDF_OK) return rc;
    if (reader->tail(tail_value >= 1 ? tail_value : DEFAULT_TAIL) != LDF_OK) return LDF_EFAIL;

    int shown = 0;
    LineBuffer out(stdout, lines);
    LdfRecordView record;
    for (; !out.has_failed() && reader->next_record(LdfFilter{}, record) == LDF_OK; ++shown)
        show_record(record, flags, out);
    (void)out.send(); // nobody to tell
    report_if_none(shown);
    return LDF_OK;
}

int display_ldf(const char* pathp, const char* ldf_filep, int tag, int otype, HashTable* oname_hashp,
                int catid, int msgid, int flags) {
    const std::unique_ptr<LdfReader> reader(new (std::nothrow) LdfReader);
    if (reader == nullptr) return LDF_ENOMEM;
    const int rc = open_ldf(*reader, pathp, ldf_filep);
    if (rc != LDF_OK) return rc;

    std::optional<LdfNameHints> hints;
    if (oname_hashp != nullptr) hints.emplace(*oname_hashp);
    const LdfFilter filter{catid, msgid, tag, otype, oname_hashp, flags, hints ? &*hints : nullptr};
    const bool with_sequence = (reader->get_header()->flags & LDF_HEADER_FLAG_SEQ) != 0;
    int shown = 0;
    LineBuffer out(stdout, lines);
    LdfRecordView record;
    for (; !out.has_failed() && reader->next_record(filter, record) == LDF_OK; ++shown)
        display_record(record, with_sequence, flags, out);
    (void)out.send(); // nobody to tell
    report_if_none(shown);
    return LDF_OK;
}
