// Showing the records of log data files: the reader hands on a record, a line in the user's language leaves.
#pragma once

#include <ctime>
#include <string>
#include <string_view>

#include "primitives/log/LocalTimeText.h"
#include "primitives/log/LogText.h"
#include "primitives/log/RecordLines.h"

class LineBuffer;
class LogCatalog;

// What a record says about its message, but for the arguments.
struct ShownRecord {
    int sev; // logical severity, 0 to 57
    int obj_tag;
    time_t time;
    uint32_t msgcat_id;
};

// The text is not in a record: it comes from the catalogs, with the arguments of the record put in. Keeps
// what the lines of a message have in common. One thread at a time.
class RecordDisplay {
public:
    // The catalog must outlive the object. on_terminal: control characters of arguments become visible.
    RecordDisplay(LogCatalog& catalog, bool on_terminal)
        : _catalog(catalog), _on_terminal(on_terminal), _times("%c", _time_room) {}

    // Local time, head and text. args: the arguments, of which six are used; null data ends them.
    void show_line(const ShownRecord& record, ArgViews args, LineBuffer& line);

    // "{@@@}1{@@}text{@@}0{@@}1794854291{@@}1668401", then each argument with add_field, then end_fields.
    // False: no catalog has the message; a line that says so was written, and nothing follows. args: the
    // first six.
    bool begin_fields(const ShownRecord& record, ArgViews args, LineBuffer& line);
    void add_field(std::string_view arg, LineBuffer& line);
    static void end_fields(LineBuffer& line);

    // The language of the catalog has changed.
    void forget();

private:
    void _show_line(const ShownRecord& record, ArgViews args, LineBuffer& line);
    const RecordLine* _learn_line(int sev, uint32_t msgcat_id);
    static void _put_unknown(uint32_t msgcat_id, ArgViews args, LineBuffer& line);
    std::string _head_of(int sev, uint32_t msgcat_id);
    void _show_unlearned(const RecordLine* known, const ShownRecord& record, size_t time_size, ArgViews args,
                         LineBuffer& line);
    bool _begin_fields(const ShownRecord& record, ArgViews args, LineBuffer& line);

    LogCatalog& _catalog;
    const bool _on_terminal;
    unsigned _identity = 0; // of the process when _lines were made
    RecordLines _lines;
    char _time_room[LocalTimeText::SIZE];
    LocalTimeText _times;
};
