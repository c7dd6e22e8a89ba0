// The fields of a record as programs get them, the same in all forms of export.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "LogSource.h"
#include "MessageTexts.h"
#include "TimeText.h"
#include "VisibleText.h"

// Views are valid until the next record. A view with null data is a field that the record lacks.
struct ExportedRecord {
    std::string_view time; // RFC 3339, UTC
    int32_t epoch;
    std::string_view severity; // English
    int sev;
    std::string_view id;
    uint32_t category, msgid;
    std::string_view object_type;
    std::string_view object;
    std::string_view host, log;
    std::string_view generation;
    int64_t record, offset;
    std::string_view file, function;
    int64_t line;
    std::optional<int64_t> seq;
    std::string_view text; // null when no catalog has it
    std::string_view lang;
    std::string_view uid;
    LdfRecordView view; // holds the arguments
    // Oddities (VisibleText.h) of the fields that come from the record, of the text, and of host, log, lang,
    // uid.
    unsigned odd_record, odd_text, odd_place;
    unsigned oddities() const { return odd_record | odd_text | odd_place; }
    // Bytes of all texts, an object counted twice.
    size_t texts_size;
};

inline constexpr size_t NUMBER_SIZE = 24; // room for any

// Writes a number to `out`, NUMBER_SIZE bytes, and returns the place behind it. Nearly all have 32 bits, for
// which dividing is cheaper.
inline char* put_number(char* out, int64_t number) {
    const auto small = static_cast<uint32_t>(number);
    if (number == int64_t{small}) return std::to_chars(out, out + NUMBER_SIZE, small).ptr;
    return std::to_chars(out, out + NUMBER_SIZE, number).ptr;
}

// Gives every field to the sink, in the order of all forms: text(name, text, oddities),
// number(name, number) and args(record). A text with null data is missing.
template <class Sink>
void visit_fields(const ExportedRecord& f, Sink& sink) {
    sink.text("time", f.time, NO_ODDITIES);
    sink.number("epoch", f.epoch);
    sink.text("severity", f.severity, NO_ODDITIES);
    sink.number("sev", f.sev);
    sink.text("id", f.id, NO_ODDITIES);
    sink.number("category", f.category);
    sink.number("msgid", f.msgid);
    sink.text("object_type", f.object_type, NO_ODDITIES);
    sink.text("object", f.object, f.odd_record);
    sink.text("host", f.host, f.odd_place);
    sink.text("log", f.log, f.odd_place);
    sink.text("generation", f.generation, NO_ODDITIES);
    sink.number("record", f.record);
    sink.number("offset", f.offset);
    sink.text("file", f.file, f.odd_record);
    sink.text("function", f.function, f.odd_record);
    sink.number("line", f.line);
    if (f.seq)
        sink.number("seq", *f.seq);
    else
        sink.text("seq", {}, NO_ODDITIES);
    sink.args(f);
    sink.text("text", f.text, f.odd_text);
    sink.text("lang", f.lang, f.odd_place);
    sink.text("uid", f.uid, f.odd_place);
}

class Exporter {
public:
    explicit Exporter(MessageTexts& texts) : _texts(texts) {}

    const ExportedRecord& fields_of(const FoundRecord& record);

    // The text of that record; when no catalog has it, its identity and arguments.
    std::string_view text_or_arguments();

private:
    MessageTexts& _texts;
    IsoTime _times{/*utc=*/true};
    ExportedRecord _fields = {};
    char _generation = '\0';
    uint64_t _serial = 0;    // of the file whose uid_prefix begins _uid; 0: of none
    unsigned _odd_place = 0; // likewise
    std::string _uid;
    char _text[MessageTexts::SIZE];
};
