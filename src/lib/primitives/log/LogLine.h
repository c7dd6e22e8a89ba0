// Composition: one message becomes one line of text, between the classified message and the stream.
#pragma once

#include "primitives/log/LineBuffer.h"
#include "primitives/log/LocalTimeText.h"
#include "primitives/log/LogCatalog.h"
#include "primitives/log/LogMessage.h"

inline namespace taq_1 {

// "2026-11-16 18:38:11 QEN ERROR K-16-25-30523 text", each part unless the message leaves it out. One thread
// at a time.
class LogLine {
public:
    // The catalog, which must outlive the object, has the severity words and the texts of other languages.
    explicit LogLine(LogCatalog& catalog) : _catalog(catalog) {}

    // What the lines are for. is_localized: their texts are in the user's language. on_terminal: control
    // characters become visible.
    void settle(bool is_localized, bool on_terminal) {
        _is_localized = is_localized;
        _on_terminal = on_terminal;
    }
    bool is_on_terminal() const { return _on_terminal; }

    // Bytes that the message's lines have at most, as long as their text is the English one.
    size_t size_at_most(const LogMessage& m);

    // Appends the line with its newline and, where the message has one, the second line,
    // "\tfile.cpp:function[12]". Returns the bytes that count as the file's size: those of the first line.
    size_t put(const LogMessage& m, LineBuffer& line);

private:
    static void _put_source(const LogMessage& m, LineBuffer& line);
    void _put_head(const LogMessage& m, LineBuffer& line);
    void _put_severity(const LogMessage& m, LineBuffer& line);
    void _put_text(const LogMessage& m, LineBuffer& line);
    bool _put_localized(const LogMessage& m, LineBuffer& line);
    bool _put_format(uint32_t msgcat_id, ArgViews args, LineBuffer& line);

    LogCatalog& _catalog;
    bool _is_localized = false;
    bool _on_terminal = false;
    char _stamp_room[32];
    LocalTimeText _stamp{"%Y-%m-%d %H:%M:%S ", _stamp_room};
};

} // namespace taq_1
