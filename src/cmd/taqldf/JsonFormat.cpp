// A record as a line of JSON, always with the same keys in the same order.
#include <cstring>

#include "ExportedRecord.h"
#include "JsonText.h"
#include "RecordFormat.h"
#include "VisibleText.h"

namespace {

constexpr size_t NAMES_SIZE = 512; // of all names, with what stands around them

// Fields in which nothing must be escaped, into room that suffices for all.
struct PlainSink {
    char* end;

    void put(std::string_view bytes) {
        if (!bytes.empty()) std::memcpy(end, bytes.data(), bytes.size());
        end += bytes.size();
    }
    template <size_t N>
    void name(const char (&name)[N]) {
        put(",\"");
        put({name, N - 1});
        put("\":");
    }
    void quoted(std::string_view text) {
        *end++ = '"';
        put(text);
        *end++ = '"';
    }
    template <size_t N>
    void text(const char (&text_name)[N], std::string_view text, unsigned) {
        name(text_name);
        if (text.data() == nullptr)
            put("null");
        else
            quoted(text);
    }
    template <size_t N>
    void number(const char (&number_name)[N], int64_t number) {
        name(number_name);
        end = put_number(end, number);
    }
    void args(const ExportedRecord& f) {
        name("args");
        *end++ = '[';
        f.view.for_each_arg([this](std::string_view arg) {
            quoted(arg);
            *end++ = ',';
        });
        if (end[-1] == ',') --end;
        *end++ = ']';
    }
};

// Fields in which something must be escaped.
struct WriterSink {
    JsonText& writer;

    template <size_t N>
    void text(const char (&name)[N], std::string_view text, unsigned oddities) {
        writer.name(name);
        if (text.data() == nullptr)
            writer->Null();
        else
            (void)writer.text(text, oddities);
    }
    template <size_t N>
    void number(const char (&name)[N], int64_t number) {
        writer.name(name);
        writer->Int64(number);
    }
    void args(const ExportedRecord& f) {
        bool are_valid = true;
        writer.name("args");
        writer->StartArray();
        f.view.for_each_arg(
            [&](std::string_view arg) { are_valid = writer.text(arg, f.odd_record) && are_valid; });
        writer->EndArray();
        if (are_valid) return;
        writer.name("args_b64");
        writer->StartArray();
        f.view.for_each_arg([&](std::string_view arg) { (void)writer.text(base64(arg), NO_ODDITIES); });
        writer->EndArray();
    }
};

class JsonFormat : public RecordFormat {
public:
    explicit JsonFormat(MessageTexts& texts) : _exporter(texts) {}

    void put(const FoundRecord& record, LineBuffer& out) override {
        const ExportedRecord& f = _exporter.fields_of(record);
        if ((f.oddities() & (ODD_BYTES | QUOTES)) != 0)
            _put_escaped(f, out);
        else
            _put_plain(f, out);
        out.append('\n');
    }

private:
    // Most records: nothing in them needs the library, which takes five times as long.
    static void _put_plain(const ExportedRecord& f, LineBuffer& out) {
        char* const room = out.room(f.texts_size + 3 * LDF_TEXT_MAX + FIELDS * NUMBER_SIZE + NAMES_SIZE);
        PlainSink fields{room};
        visit_fields(f, fields);
        *room = '{'; // in place of the first comma
        *fields.end++ = '}';
        out.advance(static_cast<size_t>(fields.end - room));
    }
    void _put_escaped(const ExportedRecord& f, LineBuffer& out) {
        _json.begin();
        _json->StartObject();
        WriterSink fields{_json};
        visit_fields(f, fields);
        _json->EndObject();
        out.append(_json.bytes());
    }

    static constexpr size_t FIELDS = 28;

    Exporter _exporter;
    JsonText _json;
};

} // namespace

std::unique_ptr<RecordFormat> make_json_format(MessageTexts& texts) {
    return std::make_unique<JsonFormat>(texts);
}
