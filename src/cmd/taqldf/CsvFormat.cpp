// A record as a line of comma-separated values (RFC 4180), with the names of the JSON form in the first line.
// Lines end with a newline alone. Control characters are visible, so a record is one line.
#include <cstring>

#include "ExportedRecord.h"
#include "RecordFormat.h"
#include "VisibleText.h"

namespace {

constexpr std::string_view STARTS_OF_FORMULAS = "=+-@\t";
constexpr size_t FIELDS = 28;
constexpr std::string_view ARG_NAMES[LDF_MAX_ARGS] = {"arg_a", "arg_b", "arg_c", "arg_d", "arg_e", "arg_f"};

// The first line.
struct NamesSink {
    LineBuffer& out;
    char before = '\0';

    void text(std::string_view name, std::string_view, unsigned) {
        if (before != '\0') out.append(before);
        out.append(name);
        before = ',';
    }
    void number(std::string_view name, int64_t) { text(name, {}, NO_ODDITIES); }
    void args(const ExportedRecord&) {
        for (const std::string_view name : ARG_NAMES) text(name, {}, NO_ODDITIES);
    }
};

// Fields that stand as they are, into room that suffices for all.
struct PlainSink {
    char* end;

    void text(std::string_view, std::string_view text, unsigned) {
        if (!text.empty()) std::memcpy(end, text.data(), text.size());
        end += text.size();
        *end++ = ',';
    }
    void number(std::string_view, int64_t number) {
        end = put_number(end, number);
        *end++ = ',';
    }
    void args(const ExportedRecord& f) {
        for (size_t i = 0; i < LDF_MAX_ARGS; ++i)
            text("", i < f.view.argc() ? f.view.argv()[i] : std::string_view(), NO_ODDITIES);
    }
};

// Fields that may need quotation marks.
struct QuotingSink {
    LineBuffer& out;
    const bool is_safe;
    std::string& visible; // used for each field
    char before = '\0';

    void text(std::string_view, std::string_view text, unsigned oddities) {
        if (before != '\0') out.append(before);
        before = ',';
        const bool is_formula =
            is_safe && !text.empty() && STARTS_OF_FORMULAS.find(text.front()) != text.npos;
        if (!is_formula && (oddities == NO_ODDITIES || oddities_of(text) == NO_ODDITIES))
            return out.append(text);
        visible.assign(is_formula ? 1 : 0, '\'');
        append_visible(text, visible);
        out.append('"');
        for (std::string_view rest = visible; !rest.empty();) {
            const size_t quote = std::min(rest.find('"'), rest.size());
            out.append(rest.substr(0, quote));
            if (quote < rest.size()) out.append("\"\"");
            rest.remove_prefix(std::min(quote + 1, rest.size()));
        }
        out.append('"');
    }
    void number(std::string_view, int64_t number) {
        char digits[NUMBER_SIZE];
        const char* const end = put_number(digits, number);
        text("", {digits, static_cast<size_t>(end - digits)}, NO_ODDITIES);
    }
    void args(const ExportedRecord& f) {
        for (size_t i = 0; i < LDF_MAX_ARGS; ++i)
            text("", i < f.view.argc() ? f.view.argv()[i] : std::string_view(), f.odd_record);
    }
};

class CsvFormat : public RecordFormat {
public:
    CsvFormat(MessageTexts& texts, const FormatSettings& settings)
        : _exporter(texts), _is_safe(settings.csv_safe) {}

    void begin(LineBuffer& out) override {
        NamesSink names{out};
        visit_fields(ExportedRecord(), names);
        out.append('\n');
    }

    void put(const FoundRecord& record, LineBuffer& out) override {
        const ExportedRecord& f = _exporter.fields_of(record);
        if (_is_safe || f.oddities() != NO_ODDITIES) {
            QuotingSink fields{out, _is_safe, _visible};
            visit_fields(f, fields);
            return out.append('\n');
        }
        char* const room = out.room(f.texts_size + FIELDS * NUMBER_SIZE);
        PlainSink fields{room};
        visit_fields(f, fields);
        fields.end[-1] = '\n'; // in place of the last comma
        out.advance(static_cast<size_t>(fields.end - room));
    }

private:
    Exporter _exporter;
    const bool _is_safe;
    std::string _visible;
};

} // namespace

std::unique_ptr<RecordFormat> make_csv_format(MessageTexts& texts, const FormatSettings& settings) {
    return std::make_unique<CsvFormat>(texts, settings);
}
