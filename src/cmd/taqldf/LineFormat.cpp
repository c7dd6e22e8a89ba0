// The lines of show: "2026-11-16T18:18:26Z ERROR K-16-25-30012 Resource web1 ...".
#include <charconv>
#include <iterator>

#include "RecordFormat.h"
#include "TimeText.h"
#include "VisibleText.h"
#include "primitives/ldf/QENObjTags.h"

namespace {

constexpr std::string_view COLOUR_OFF = "\x1b[0m";
constexpr std::string_view COLOURS[SEV_APP_END] = {"\x1b[1;31m", "\x1b[31m", "\x1b[33m", "\x1b[1m", ""};
constexpr std::string_view COLOUR_OF_DEBUG = "\x1b[2m";

// A line that goes straight to the buffer; only what is not plain takes a way round.
class Line {
public:
    explicit Line(LineBuffer& out) : _out(out) {}

    void add(std::string_view own) { _out.append(own); }
    void add(char c) { _out.append(c); }
    void add_number(int64_t number) {
        char digits[24];
        const char* const end = std::to_chars(digits, std::end(digits), number).ptr;
        _out.append({digits, static_cast<size_t>(end - digits)});
    }
    // What comes from a record, or from a catalog.
    void add_visible(std::string_view text, unsigned oddities = ODD_BYTES) {
        if ((oddities & ODD_BYTES) == 0 || (oddities_of(text) & ODD_BYTES) == 0)
            _out.append(text);
        else
            _out.append(visible_text(text));
    }

private:
    LineBuffer& _out;
};

std::string_view colour_of(int sev) {
    return sev < SEV_APP_END ? COLOURS[sev] : COLOUR_OF_DEBUG;
}

// The name, or the number of one that has none.
void add_severity(int sev, const MessageTexts& texts, bool has_colour, Line& line) {
    const std::string_view colour = has_colour ? colour_of(sev) : "";
    line.add(colour);
    const std::string_view word = texts.severity_word(sev);
    if (word.empty())
        line.add_number(sev);
    else
        line.add_visible(word);
    if (!colour.empty()) line.add(COLOUR_OFF);
}

void add_text(const FoundRecord& record, const LdfRecordView& view, const KnownMessage& message,
              MessageTexts& texts, LineBuffer& out) {
    char* const room = out.room(MessageTexts::SIZE);
    const size_t size = texts.compose(message, {view.argv(), view.argc()}, room);
    const unsigned of_record = oddities_of_record(
        reinterpret_cast<const char*>(record.bytes) + LDF_RECORD_HEADER_SIZE, view.header.data_size);
    const unsigned oddities = MessageTexts::oddities_of_text(message, of_record);
    if ((oddities & ODD_BYTES) == 0 || (oddities_of({room, size}) & ODD_BYTES) == 0)
        out.advance(size);
    else
        out.append(visible_text({room, size}));
}

class LineFormat : public RecordFormat {
public:
    LineFormat(MessageTexts& texts, const FormatSettings& settings)
        : _texts(texts), _settings(settings), _times(settings.utc) {}

    void put(const FoundRecord& record, LineBuffer& out) override {
        LdfRecordView view;
        ldf_view_record(record.bytes, view);
        Line line(out);
        line.add(_times.at(view.header.timestamp));
        line.add(' ');
        if (_settings.shows_place) {
            line.add_visible(record.file->place, record.file->oddities);
            line.add(' ');
        }
        add_severity(static_cast<uint8_t>(view.header.sev), _texts, _settings.has_colour, line);
        line.add(' ');
        const KnownMessage& message = _texts.of(view.header.msgcat_id);
        line.add(message.id);
        line.add(' ');
        add_text(record, view, message, _texts, out);
        line.add('\n');
    }

    void put_repeats(int64_t count, const FoundRecord& last, LineBuffer& out) override {
        Line line(out);
        line.add("    repeated ");
        line.add_number(count);
        line.add(count == 1 ? " time until " : " times until ");
        line.add(_times.at(ldf_record_time(last.bytes)));
        line.add('\n');
    }

private:
    MessageTexts& _texts;
    const FormatSettings _settings;
    IsoTime _times;
};

// All that is known of a record, a field a line.
class VerboseFormat : public LineFormat {
public:
    VerboseFormat(MessageTexts& texts, const FormatSettings& settings)
        : LineFormat(texts, settings), _texts(texts), _settings(settings), _times(settings.utc) {}

    void put(const FoundRecord& record, LineBuffer& out) override {
        LdfRecordView view;
        ldf_view_record(record.bytes, view);
        Line line(out);
        _put_head(record, view, line);
        const KnownMessage& message = _texts.of(view.header.msgcat_id);
        line.add("    id        ");
        line.add(message.id);
        line.add("\n    text      ");
        add_text(record, view, message, _texts, out);
        line.add('\n');
        _put_object(view, line);
        int number = 0;
        view.for_each_arg([&](std::string_view arg) {
            line.add("    argument ");
            line.add_number(++number);
            line.add(number < 10 ? "  " : " ");
            line.add_visible(arg);
            line.add('\n');
        });
        _put_source(view, line);
    }

private:
    void _put_head(const FoundRecord& record, const LdfRecordView& view, Line& line) {
        line.add(_times.at(view.header.timestamp));
        line.add(' ');
        line.add_visible(record.file->place);
        if (record.file->generation != '\0') {
            line.add('_');
            line.add(record.file->generation);
        }
        line.add(" record ");
        line.add_number(record.number);
        line.add(" at ");
        line.add_number(record.offset);
        line.add("\n    severity  ");
        const int sev = static_cast<uint8_t>(view.header.sev);
        add_severity(sev, _texts, _settings.has_colour, line);
        line.add(" (");
        line.add_number(sev);
        line.add(")\n");
    }
    static void _put_object(const LdfRecordView& view, Line& line) {
        const int tag = static_cast<uint8_t>(view.header.obj_type);
        const char* const name = QENGetObjTagStr(static_cast<obj_tag_t>(tag));
        line.add("    object    ");
        if (name != nullptr)
            line.add(name);
        else
            line.add_number(tag);
        line.add('\n');
    }
    static void _put_source(const LdfRecordView& view, Line& line) {
        line.add("    source    ");
        line.add_visible(view.filename());
        line.add(':');
        line.add_number(view.header.line_no);
        line.add(" in ");
        line.add_visible(view.function());
        line.add('\n');
        if (view.header.seq == LDF_NO_SEQ) return;
        line.add("    sequence  ");
        line.add_number(view.header.seq);
        line.add('\n');
    }

    MessageTexts& _texts;
    const FormatSettings _settings;
    IsoTime _times;
};

} // namespace

std::unique_ptr<RecordFormat> make_line_format(MessageTexts& texts, const FormatSettings& settings) {
    return std::make_unique<LineFormat>(texts, settings);
}

std::unique_ptr<RecordFormat> make_verbose_format(MessageTexts& texts, const FormatSettings& settings) {
    return std::make_unique<VerboseFormat>(texts, settings);
}
