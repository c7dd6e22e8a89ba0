// A record as a line of JSON, always with the same keys in the same order.
#include <cstring>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "ExportedRecord.h"
#include "RecordFormat.h"
#include "VisibleText.h"

namespace {

constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD"; // U+FFFD

void append_escape(char32_t c, std::string& out) {
    constexpr char DIGITS[] = "0123456789ABCDEF";
    out.append("\\u");
    for (int shift = 12; shift >= 0; shift -= 4) out.push_back(DIGITS[c >> shift & 0xF]);
}

// A string with characters that the JSON library would pass on as they are. False: some bytes are no UTF-8.
bool quote(std::string_view text, std::string& out) {
    bool is_valid = true;
    out.assign(1, '"');
    while (!text.empty()) {
        const std::string_view before = text;
        const char32_t c = next_character(text);
        if (c == INVALID_UTF8) {
            is_valid = false;
            out.append(REPLACEMENT);
        } else if (is_control(c)) {
            append_escape(c, out);
        } else {
            if (c == '"' || c == '\\') out.push_back('\\');
            out.append(before.substr(0, before.size() - text.size()));
        }
    }
    out.push_back('"');
    return is_valid;
}

std::string base64(std::string_view bytes) {
    constexpr char DIGITS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t n = std::min<size_t>(3, bytes.size() - i);
        uint32_t group = 0;
        for (size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < n ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        for (size_t k = 0; k < 4; ++k) out.push_back(k <= n ? DIGITS[group >> (18 - 6 * k) & 0x3F] : '=');
    }
    return out;
}

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

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

// Fields in which the library escapes, or quote().
struct WriterSink {
    Writer& writer;
    std::string& quoted; // used for each text

    template <size_t N>
    void text(const char (&name)[N], std::string_view text, unsigned oddities) {
        writer.Key(name, N - 1);
        if (text.data() == nullptr)
            writer.Null();
        else
            (void)value(text, oddities);
    }
    template <size_t N>
    void number(const char (&name)[N], int64_t number) {
        writer.Key(name, N - 1);
        writer.Int64(number);
    }
    void args(const ExportedRecord& f) {
        bool are_valid = true;
        writer.Key("args");
        writer.StartArray();
        f.view.for_each_arg([&](std::string_view arg) { are_valid = value(arg, f.odd_record) && are_valid; });
        writer.EndArray();
        if (are_valid) return;
        writer.Key("args_b64");
        writer.StartArray();
        f.view.for_each_arg([&](std::string_view arg) { (void)value(base64(arg), NO_ODDITIES); });
        writer.EndArray();
    }
    // False: some bytes are no UTF-8.
    bool value(std::string_view text, unsigned oddities) {
        if ((oddities & ODD_BYTES) == 0 || (oddities_of(text) & ODD_BYTES) == 0) {
            writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
            return true;
        }
        const bool is_valid = quote(text, quoted);
        writer.RawValue(quoted.data(), quoted.size(), rapidjson::kStringType);
        return is_valid;
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
        _json.Clear();
        _writer.Reset(_json);
        _writer.StartObject();
        WriterSink fields{_writer, _quoted};
        visit_fields(f, fields);
        _writer.EndObject();
        out.append({_json.GetString(), _json.GetSize()});
    }

    static constexpr size_t FIELDS = 28;

    Exporter _exporter;
    rapidjson::StringBuffer _json;
    Writer _writer;
    std::string _quoted;
};

} // namespace

std::unique_ptr<RecordFormat> make_json_format(MessageTexts& texts) {
    return std::make_unique<JsonFormat>(texts);
}
