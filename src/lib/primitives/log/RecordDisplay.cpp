// From a record to a line: time, head and text, or fields for programs.
#include "primitives/log/RecordDisplay.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "i18n/common/i18n.h"

inline namespace taq_1 {

namespace {

constexpr std::string_view FIELD_MARK = "{@@}";
constexpr std::string_view RECORD_MARK = "{@@@}";
constexpr size_t NUMBER_SIZE = 16;

ArgViews first_six(ArgViews args) {
    return args.first(std::min<size_t>(args.size(), ULOG_MAX_ARGS));
}

// Appends an integer behind a field mark to `out`. Returns the place behind it.
char* put_number_field(char* out, int number) {
    out += FIELD_MARK.copy(out, FIELD_MARK.size());
    return std::to_chars(out, out + NUMBER_SIZE, number).ptr;
}

} // namespace

void RecordDisplay::forget() {
    _lines.forget();
    _identity = LogIdentity::version();
    _times.forget();
}

// Arguments that are not plain become visible.
void RecordDisplay::_show_on_terminal(const ShownRecord& record, std::string_view time, ArgViews args,
                                      LineBuffer& line) {
    args = first_six(args);
    if (are_plain_for_terminal(args)) return _show_plain(record, time, args, line);
    _show_plain(record, time, ArgsForTerminal<ULOG_MAX_ARGS>(args).views(), line);
}

// Null when the head of these messages is too long to be kept. The head comes first: it may look a word up,
// which ends the template.
const RecordLine* RecordDisplay::_learn_line(int sev, uint32_t msgcat_id) {
    const LogLock::Guard inside(LogCatalog::lock());
    const std::string head = _head_of(sev, msgcat_id);
    i18nTemplate text;
    void** catalogs = i18n_number_of(msgcat_id) != 0 ? _catalog.handle() : nullptr;
    const bool has_text =
        catalogs != nullptr &&
        i18nGetTemplate(catalogs, i18n_category_of(msgcat_id), i18n_number_of(msgcat_id), &text) == I18N_SOK;
    return _lines.keep(msgcat_id, sev, head, has_text ? &text : nullptr);
}

// The text for a message that no catalog has.
void RecordDisplay::_put_unknown(uint32_t msgcat_id, ArgViews args, LineBuffer& line) {
    char umi[LOG_TEXT_SIZE];
    const size_t umi_size = put_umi(umi, sizeof umi, LogIdentity::originator(), i18n_category_of(msgcat_id),
                                    i18n_number_of(msgcat_id));
    line.advance(put_unknown_message(line.room(LOG_TEXT_SIZE), LOG_TEXT_SIZE, {umi, umi_size}, args));
}

// Mnemonic, severity word and identifier, with the blanks around them.
std::string RecordDisplay::_head_of(int sev, uint32_t msgcat_id) {
    char umi[LOG_TEXT_SIZE];
    const size_t umi_size = put_umi(umi, sizeof umi, LogIdentity::originator(), i18n_category_of(msgcat_id),
                                    i18n_number_of(msgcat_id));
    std::string head(" ");
    head.append(LogIdentity::mnemonic()).append(" ").append(_catalog.severity_word(sev)).append(" ");
    return head.append(umi, umi_size);
}

// The line when its text must be looked up. Message number 0: the
// arguments are the text. All are cut to an equal share; arguments behind a null one count but are not shown.
void RecordDisplay::_show_unlearned(const RecordLine* known, const ShownRecord& record, std::string_view time,
                                    ArgViews args, LineBuffer& line) {
    args = first_six(args);
    line.append(time);
    if (known != nullptr)
        line.append(known->head());
    else
        line.append(_head_of(record.sev, record.msgcat_id));
    size_t size;
    if (i18n_number_of(record.msgcat_id) == 0 && !args.empty() && args[0].data() != nullptr)
        line.advance(put_arguments(line.room(LOG_TEXT_SIZE), time.size(), LOG_TEXT_SIZE, args));
    else if (_catalog.format(record.msgcat_id, args.data(), args.size(), line.room(I18N_CONV_BUFFSIZE),
                             I18N_CONV_BUFFSIZE, &size))
        line.advance(size);
    else
        _put_unknown(record.msgcat_id, args, line);
    line.append('\n');
}

bool RecordDisplay::begin_fields(const ShownRecord& record, ArgViews args, LineBuffer& line) {
    args = first_six(args);
    if (_on_terminal && !are_plain_for_terminal(args))
        return _begin_fields(record, ArgsForTerminal<ULOG_MAX_ARGS>(args).views(), line);
    return _begin_fields(record, args, line);
}

// The header of LOG_TEXT_SIZE - 1 bytes at most is put together in the room of the line: the text first, at
// its place behind the marks and the severity.
bool RecordDisplay::_begin_fields(const ShownRecord& record, ArgViews args, LineBuffer& line) {
    constexpr size_t HEADER_MAX = LOG_TEXT_SIZE - 1;
    char* const header = line.room(I18N_CONV_BUFFSIZE + LOG_TEXT_SIZE);
    char* end = header + RECORD_MARK.copy(header, RECORD_MARK.size());
    end = std::to_chars(end, end + NUMBER_SIZE, record.sev).ptr;
    end += FIELD_MARK.copy(end, FIELD_MARK.size());
    size_t size;
    if (!_catalog.format(record.msgcat_id, args.data(), args.size(), end, I18N_CONV_BUFFSIZE, &size)) {
        _put_unknown(record.msgcat_id, args, line);
        line.append('\n');
        return false;
    }
    end += size;
    for (const int number :
         {record.obj_tag, static_cast<int>(record.time), static_cast<int>(record.msgcat_id)})
        end = put_number_field(end, number);
    line.advance(std::min(static_cast<size_t>(end - header), HEADER_MAX));
    return true;
}

void RecordDisplay::add_field(std::string_view arg, LineBuffer& line) {
    line.append(FIELD_MARK);
    if (_on_terminal && !is_plain_for_terminal(arg))
        line.append(text_for_terminal(arg));
    else
        line.append(arg);
}

void RecordDisplay::end_fields(LineBuffer& line) {
    line.append(RECORD_MARK);
    line.append('\n');
}

} // namespace taq_1
