// Showing the records of log data files. The text is not in a record: it comes from the catalogs in the
// language of the log, with the arguments of the record put in.
#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "i18n/common/i18n.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/log/LineBuffer.h"
#include "primitives/log/Log.h"
#include "primitives/log/LogText.h"
#include "primitives/values/VList.h"

namespace {

constexpr std::string_view FIELD_MARK = "{@@}";
constexpr std::string_view RECORD_END = "{@@@}\n";

constexpr unsigned catalog_of(uint32_t msgcat_id) {
    return msgcat_id >> 16;
}
constexpr unsigned number_of(uint32_t msgcat_id) {
    return msgcat_id & 0xFFFF;
}

std::string_view string_of(const VElem& elem) {
    if (elem.vtype() != VTYPE_STR || elem.getstr() == nullptr) return {};
    return elem.getstr();
}

} // namespace

void Log::display_ldf_entry(int sev, int obj_tag, time_t time_stamp, int msgcat_id, VList* vlistp,
                            int flags) {
    VElem* elemp = vlistp != nullptr ? vlistp->head() : nullptr;
    const auto id = static_cast<uint32_t>(msgcat_id);
    LineBuffer out(_fp);
    if ((flags & ULOG_DISPLAY_DELIMITED) != 0) { // shows every argument, however many
        std::vector<std::string_view> args;
        for (; elemp != nullptr; elemp = elemp->next()) args.push_back(string_of(*elemp));
        display_ldf_record(sev, obj_tag, time_stamp, id, args.data(), args.size(), flags, out);
    } else {
        std::array<std::string_view, ULOG_MAX_ARGS> args;
        size_t count = 0;
        for (; elemp != nullptr && count < args.size(); elemp = elemp->next())
            args[count++] = string_of(*elemp);
        display_ldf_record(sev, obj_tag, time_stamp, id, args.data(), count, flags, out);
    }
    (void)out.send(); // nobody to tell
}

void Log::display_ldf_record(int sev, int obj_tag, time_t time_stamp, uint32_t msgcat_id,
                             const std::string_view* argv, size_t argc, int flags, LineBuffer& out) {
    if (_enabled == 0 || _active == 1 || sev < 0 || sev > logical_sev(DBG_RES2)) return;
    if (_fp == nullptr) {
        QENSyslog(SEV_ERR, "Log File Pointer is NULL\n");
        return;
    }
    _active = 1;
    if ((flags & ULOG_DISPLAY_DELIMITED) != 0)
        _display_delimited(sev, obj_tag, time_stamp, msgcat_id, argv, argc, out);
    else
        _display_line(sev, time_stamp, msgcat_id, {argv, std::min<size_t>(argc, ULOG_MAX_ARGS)}, out);
    _active = 0;
}

// Local time, head, text.
inline void Log::_display_line(int sev, time_t time_stamp, uint32_t msgcat_id, ArgViews args,
                               LineBuffer& line) {
    const std::string_view time = _shown.at(time_stamp);
    if (_lines_identity != _identity) _forget_texts();
    const RecordLine* known = _lines.find(msgcat_id, sev);
    if (known == nullptr) known = _learn_line(sev, msgcat_id);
    line.append(time);
    size_t count = 0, args_size = 0;
    for (; count < args.size() && args[count].data() != nullptr; ++count) args_size += args[count].size();
    const ArgViews shown = args.first(count);
    if (known == nullptr || !known->takes(shown, args_size))
        return _display_unlearned(known, sev, msgcat_id, time.size(), args, line);
    char* const start = line.room(known->size() + args_size + RecordLine::SLACK);
    line.advance(static_cast<size_t>(known->compose(shown, start) - start));
}

// Null when the head of these messages is too long to be kept.
const RecordLine* Log::_learn_line(int sev, uint32_t msgcat_id) {
    const LogLock::Guard in_catalogs(_catalog_lock());
    const std::string head =
        _head_of(sev, msgcat_id); // first: it may look a word up, which ends the template
    i18nTemplate text;
    void** catalogs = number_of(msgcat_id) != 0 ? _catalogs() : nullptr;
    const bool has_text = catalogs != nullptr && i18nGetTemplate(catalogs, catalog_of(msgcat_id),
                                                                 number_of(msgcat_id), &text) == I18N_SOK;
    return _lines.keep(msgcat_id, sev, head, has_text ? &text : nullptr);
}

// Mnemonic, severity word and identifier, with the blanks around them.
std::string Log::_head_of(int sev, uint32_t msgcat_id) {
    char umi[LOG_TEXT_SIZE];
    const size_t umi_size =
        put_umi(umi, sizeof umi, _originator(), catalog_of(msgcat_id), number_of(msgcat_id));
    std::string head(" ");
    head.append(_mnemonic()).append(" ").append(_sev_word(sev)).append(" ").append(umi, umi_size);
    return head;
}

// The line behind the time, of time_size bytes, when its text must be looked up. A record without message
// number carries its text in its arguments, which are cut as if they stood behind the time in one buffer. The
// arguments behind a null one are not shown, but count where all are cut to the same share.
void Log::_display_unlearned(const RecordLine* known, int sev, uint32_t msgcat_id, size_t time_size,
                             ArgViews args, LineBuffer& line) {
    if (known != nullptr)
        line.append(known->head());
    else
        line.append(_head_of(sev, msgcat_id));
    if (number_of(msgcat_id) == 0 && !args.empty() && args[0].data() != nullptr)
        line.advance(put_arguments(line.room(LOG_TEXT_SIZE), time_size, LOG_TEXT_SIZE, args));
    else if (!_put_catalog_text(msgcat_id, args.data(), args.size(), line))
        _put_unknown(msgcat_id, args.data(), args.size(), line);
    line.append('\n');
}

void Log::_display_delimited(int sev, int obj_tag, time_t time_stamp, uint32_t msgcat_id,
                             const std::string_view* argv, size_t argc, LineBuffer& line) {
    char text[I18N_CONV_BUFFSIZE];
    size_t len;
    if (_catalog_text(msgcat_id, argv, argc, text, sizeof text, &len)) {
        char* header = line.room(LOG_TEXT_SIZE);
        const int size =
            snprintf(header, LOG_TEXT_SIZE, "{@@@}%d{@@}%.*s{@@}%d{@@}%d{@@}%d", sev, static_cast<int>(len),
                     text, obj_tag, static_cast<int>(time_stamp), static_cast<int>(msgcat_id));
        line.advance(std::min<size_t>(static_cast<size_t>(size), LOG_TEXT_SIZE - 1));
        for (size_t i = 0; i < argc; ++i) {
            line.append(FIELD_MARK);
            line.append(argv[i]);
        }
        line.append(RECORD_END);
    } else {
        _put_unknown(msgcat_id, argv, argc, line);
        line.append('\n');
    }
}

bool Log::_catalog_text(uint32_t msgcat_id, const std::string_view* argv, size_t argc, char* out, size_t cap,
                        size_t* lenp) {
    const LogLock::Guard in_catalogs(_catalog_lock());
    void** catalogs = _catalogs();
    if (catalogs == nullptr) return false;
    const ArgViews args = leading_args({argv, std::min<size_t>(argc, ULOG_MAX_ARGS)});
    return i18nFormatSafeTo(catalogs, catalog_of(msgcat_id), number_of(msgcat_id), args.data(), args.size(),
                            out, cap, lenp) == I18N_SOK;
}

bool Log::_put_catalog_text(uint32_t msgcat_id, const std::string_view* argv, size_t argc, LineBuffer& line) {
    size_t len;
    if (!_catalog_text(msgcat_id, argv, argc, line.room(I18N_CONV_BUFFSIZE), I18N_CONV_BUFFSIZE, &len))
        return false;
    line.advance(len);
    return true;
}

void Log::_put_unknown(uint32_t msgcat_id, const std::string_view* argv, size_t argc, LineBuffer& line) {
    char umi[LOG_TEXT_SIZE];
    const size_t umi_len =
        put_umi(umi, sizeof umi, _originator(), catalog_of(msgcat_id), number_of(msgcat_id));
    line.advance(put_unknown_message(line.room(LOG_TEXT_SIZE), LOG_TEXT_SIZE, {umi, umi_len}, {argv, argc}));
}
