// A record as a line of OTLP/JSON: a LogsData message of OpenTelemetry with one log record. Integers of 64
// bits are strings, as protobuf's JSON wants them.
#include <algorithm>

#include "ExportedRecord.h"
#include "JsonText.h"
#include "PlaceInSecond.h"
#include "RecordFormat.h"
#include "VisibleText.h"

namespace {

constexpr int64_t NANOSECONDS = 1'000'000'000;

// The scale of OpenTelemetry; debug levels all have the last one.
int severity_number_of(int sev) {
    constexpr int NUMBERS[] = {18, 17, 13, 10, 9};
    return sev < static_cast<int>(std::size(NUMBERS)) ? NUMBERS[sev] : 5;
}

class OtlpFormat : public RecordFormat {
public:
    OtlpFormat(MessageTexts& texts, bool has_places) : _exporter(texts), _has_places(has_places) {}

    void put(const FoundRecord& record, LineBuffer& out) override {
        const ExportedRecord& f = _exporter.fields_of(record);
        _json.begin();
        _json->StartObject();
        _begin_list("resourceLogs");
        _put_resource(f);
        _begin_list("scopeLogs");
        _begin_list("logRecords");
        _put_record(f, record.file);
        for (int level = 0; level < 3; ++level) {
            _json->EndObject();
            _json->EndArray();
        }
        _json->EndObject();
        out.append(_json.bytes());
        out.append('\n');
    }

private:
    // A list whose first element is begun.
    template <size_t N>
    void _begin_list(const char (&name)[N]) {
        _json.name(name);
        _json->StartArray();
        _json->StartObject();
    }

    void _put_resource(const ExportedRecord& f) {
        _json.name("resource");
        _json->StartObject();
        _json.name("attributes");
        _json->StartArray();
        _text("host.name", f.host, f.odd_place);
        _text("service.name", f.log, f.odd_place);
        _json->EndArray();
        _json->EndObject();
    }

    // A time before 1970 is 0: unknown.
    void _put_record(const ExportedRecord& f, const SourceFile* file) {
        const int64_t place = _has_places ? _places.next(file, f.epoch, NANOSECONDS) : 0;
        _json.name("timeUnixNano");
        _number(f.epoch < 0 ? 0 : f.epoch * NANOSECONDS + place);
        _json.name("severityNumber");
        _json->Int(severity_number_of(f.sev));
        if (f.severity.data() != nullptr) {
            _json.name("severityText");
            (void)_json.text(f.severity, NO_ODDITIES);
        }
        _json.name("body");
        _string_value(_exporter.text_or_arguments(), ~0u);
        _json.name("attributes");
        _json->StartArray();
        _put_attributes(f);
        _json->EndArray();
        _json.name("eventName");
        (void)_json.text(f.id, NO_ODDITIES);
    }

    void _put_attributes(const ExportedRecord& f) {
        _integer("taq.category", f.category);
        _integer("taq.msgid", f.msgid);
        _text("taq.object.type", f.object_type, NO_ODDITIES);
        _text("taq.object", f.object, f.odd_record);
        if (!_put_args(f, "taq.args", [](std::string_view arg) { return arg; }))
            (void)_put_args(f, "taq.args_b64", base64);
        _text("code.file.path", f.file, f.odd_record);
        _text("code.function.name", f.function, f.odd_record);
        _integer("code.line.number", f.line);
        if (f.seq) _integer("taq.seq", *f.seq);
        _text("log.record.uid", f.uid, f.odd_place);
        _file_name.assign(f.log);
        if (f.generation.data() != nullptr) _file_name.append("_").append(f.generation).append(LDF_EXTENSION);
        _text("log.file.name", _file_name, f.odd_place);
    }

    // False: some argument is no UTF-8.
    template <class Form>
    bool _put_args(const ExportedRecord& f, std::string_view name, const Form& form) {
        bool are_valid = true;
        _begin_attribute(name);
        _json.name("arrayValue");
        _json->StartObject();
        _json.name("values");
        _json->StartArray();
        f.view.for_each_arg(
            [&](std::string_view arg) { are_valid = _string_value(form(arg), f.odd_record) && are_valid; });
        _json->EndArray();
        _json->EndObject();
        _end_attribute();
        return are_valid;
    }

    // An attribute, unless the record lacks it.
    void _text(std::string_view name, std::string_view value, unsigned oddities) {
        if (value.data() == nullptr) return;
        _begin_key(name);
        (void)_string_value(value, oddities);
        _json->EndObject();
    }
    void _integer(std::string_view name, int64_t number) {
        _begin_attribute(name);
        _json.name("intValue");
        _number(number);
        _end_attribute();
    }
    void _begin_key(std::string_view name) {
        _json->StartObject();
        _json.name("key");
        (void)_json.text(name, NO_ODDITIES);
        _json.name("value");
    }
    void _begin_attribute(std::string_view name) {
        _begin_key(name);
        _json->StartObject();
    }
    void _end_attribute() {
        _json->EndObject();
        _json->EndObject();
    }
    bool _string_value(std::string_view value, unsigned oddities) {
        _json->StartObject();
        _json.name("stringValue");
        const bool is_valid = _json.text(value, oddities);
        _json->EndObject();
        return is_valid;
    }
    void _number(int64_t number) {
        char digits[NUMBER_SIZE];
        const char* const end = put_number(digits, number);
        (void)_json.text({digits, static_cast<size_t>(end - digits)}, NO_ODDITIES);
    }

    Exporter _exporter;
    const bool _has_places;
    PlaceInSecond _places;
    JsonText _json;
    std::string _file_name; // used for each record
};

} // namespace

std::unique_ptr<RecordFormat> make_otlp_format(MessageTexts& texts, const FormatSettings& settings) {
    return std::make_unique<OtlpFormat>(texts, settings.has_places);
}
