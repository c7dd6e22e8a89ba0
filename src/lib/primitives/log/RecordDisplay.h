// Showing the records of log data files: the reader hands on a record, a line in the user's language leaves.
#pragma once

#include <ctime>
#include <string>
#include <string_view>

#include "primitives/log/ILog.h"
#include "primitives/log/LineBuffer.h"
#include "primitives/log/LocalTimeText.h"
#include "primitives/log/LogCatalog.h"
#include "primitives/log/LogIdentity.h"
#include "primitives/log/RecordLines.h"
#include "primitives/log/ShownRecord.h"
#include "primitives/log/TerminalText.h"

inline namespace taq_1 {

// The text is not in a record: it comes from the catalogs, with the arguments of the record put in. Keeps
// what the lines of a message have in common. One thread at a time.
class RecordDisplay {
public:
    // The catalog must outlive the object. on_terminal: control characters of arguments become visible.
    RecordDisplay(LogCatalog& catalog, bool on_terminal)
        : _catalog(catalog), _on_terminal(on_terminal),
          _times("%c", {_time_room.get(), LocalTimeText::SIZE}) {}

    // Local time, head and text. args: the arguments, of which six are used; null data ends them.
    void show_line(const ShownRecord& record, ArgViews args, LineBuffer& line) {
        _show_line(record, _times.at(record.time), args, line);
    }
    // The same for many lines: a changed zone or locale shows with the next other second.
    void show_next_line(const ShownRecord& record, ArgViews args, LineBuffer& line) {
        _show_line(record, _times.at_same_settings(record.time), args, line);
    }

    // "{@@@}1{@@}text{@@}0{@@}1794854291{@@}1668401", then each argument with add_field, then end_fields.
    // False: no catalog has the message; a line that says so was written, and nothing follows. args: the
    // first six.
    bool begin_fields(const ShownRecord& record, ArgViews args, LineBuffer& line);
    void add_field(std::string_view arg, LineBuffer& line);
    static void end_fields(LineBuffer& line);

    // The language of the catalog has changed.
    void forget();

private:
    // Thousands of records pass here: what is known of the message is copied, and the arguments between it.
    void _show_line(const ShownRecord& record, std::string_view time, ArgViews args, LineBuffer& line) {
        if (_on_terminal) [[unlikely]]
            return _show_on_terminal(record, time, args, line);
        _show_plain(record, time, args, line);
    }
    void _show_plain(const ShownRecord& record, std::string_view time, ArgViews args, LineBuffer& line) {
        if (_identity != LogIdentity::version()) forget();
        const RecordLine* known = _lines.find(record.msgcat_id, record.sev);
        if (known == nullptr) [[unlikely]]
            known = _learn_line(record.sev, record.msgcat_id);
        size_t count = 0, args_size = 0;
        for (; count < args.size() && count < ULOG_MAX_ARGS && args[count].data() != nullptr; ++count)
            args_size += args[count].size();
        const ArgViews shown = args.first(count);
        if (known == nullptr || !known->takes(shown, args_size)) [[unlikely]]
            return _show_unlearned(known, record, time, args, line);
        char* const start = line.room(time.size() + known->size() + args_size + RecordLine::SLACK);
        const char* const end = known->compose(shown, RecordLine::put_run(start, time.data(), time.size()));
        line.advance(static_cast<size_t>(end - start));
    }
    void _show_on_terminal(const ShownRecord& record, std::string_view time, ArgViews args, LineBuffer& line);
    const RecordLine* _learn_line(int sev, uint32_t msgcat_id);
    static void _put_unknown(uint32_t msgcat_id, ArgViews args, LineBuffer& line);
    std::string _head_of(int sev, uint32_t msgcat_id);
    void _show_unlearned(const RecordLine* known, const ShownRecord& record, std::string_view time,
                         ArgViews args, LineBuffer& line);
    bool _begin_fields(const ShownRecord& record, ArgViews args, LineBuffer& line);

    LogCatalog& _catalog;
    const bool _on_terminal;
    unsigned _identity = 0; // of the process when _lines were made
    RecordLines _lines;
    RawRoom<char> _time_room = raw_room<char>(LocalTimeText::SIZE + RecordLine::SLACK); // for put_run
    LocalTimeText _times;
};

} // namespace taq_1
