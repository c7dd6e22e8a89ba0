// A record as an entry of the journal's export format: one field a line, an empty line behind the last.
// Values that a line cannot hold take the binary form, so every byte of an argument arrives.
#include <algorithm>
#include <array>

#include "ExportedRecord.h"
#include "PlaceInSecond.h"
#include "RecordFormat.h"
#include "VisibleText.h"
#include "cmd/JournalId.h"
#include "platform/unix/QENDefaults.h"

namespace {

constexpr int64_t MICROSECONDS = 1'000'000;
constexpr std::string_view ARG_NAMES[LDF_MAX_ARGS] = {"TAQ_ARG_A", "TAQ_ARG_B", "TAQ_ARG_C",
                                                      "TAQ_ARG_D", "TAQ_ARG_E", "TAQ_ARG_F"};

// Debug levels all have the last one.
int priority_of(int sev) {
    constexpr int PRIORITIES[] = {2, 3, 4, 5, 6};
    return sev < static_cast<int>(std::size(PRIORITIES)) ? PRIORITIES[sev] : 7;
}

bool fits_a_line(std::string_view value) {
    while (!value.empty()) {
        const char32_t c = next_character(value);
        if (c == INVALID_UTF8 || (c < ' ' && c != '\t')) return false;
    }
    return true;
}

class JournalFormat : public RecordFormat {
public:
    JournalFormat(MessageTexts& texts, bool has_places) : _exporter(texts), _has_places(has_places) {}

    void put(const FoundRecord& record, LineBuffer& out) override {
        const ExportedRecord& f = _exporter.fields_of(record);
        _out = &out;
        _put_position(f, record.file);
        _number("PRIORITY", priority_of(f.sev));
        _text("MESSAGE", _exporter.text_or_arguments(), ~0u);
        _text("MESSAGE_ID", _message_id(f), NO_ODDITIES);
        _text("TAQ_ID", f.id, NO_ODDITIES);
        _number("TAQ_CATEGORY", f.category);
        _number("TAQ_MSGID", f.msgid);
        _text("TAQ_SEVERITY", f.severity, NO_ODDITIES);
        _text("TAQ_OBJECT_TYPE", f.object_type, NO_ODDITIES);
        _text("TAQ_OBJECT", f.object, f.odd_record);
        for (size_t i = 0; i < f.view.argc(); ++i) _text(ARG_NAMES[i], f.view.argv()[i], f.odd_record);
        _text("CODE_FILE", f.file, f.odd_record);
        _text("CODE_FUNC", f.function, f.odd_record);
        _number("CODE_LINE", f.line);
        if (f.seq) _number("TAQ_SEQ", *f.seq);
        out.append('\n');
    }

private:
    // Time, host and log. The journal takes no time before 1970.
    void _put_position(const ExportedRecord& f, const SourceFile* file) {
        const int64_t place = _has_places ? _places.next(file, f.epoch, MICROSECONDS) : 0;
        const int64_t time = std::max<int64_t>(f.epoch * MICROSECONDS + place, 1);
        if (f.host != _host || _host_id.empty()) _host_id = journal_id(_host = f.host);
        _number("__REALTIME_TIMESTAMP", time);
        _number("__MONOTONIC_TIMESTAMP", time);
        _text("_BOOT_ID", _host_id, NO_ODDITIES);
        _text("_MACHINE_ID", _host_id, NO_ODDITIES);
        _text("_HOSTNAME", f.host, f.odd_place);
        _text("SYSLOG_IDENTIFIER", f.log, f.odd_place);
        _text("TAQ_UID", f.uid, f.odd_place);
    }

    const std::string& _message_id(const ExportedRecord& f) {
        const uint32_t key = f.view.header.msgcat_id;
        KnownId& known = _ids[(key ^ key >> 16) % _ids.size()];
        if (known.key != key || known.id.empty())
            known = {key, journal_message_id(QEN_MESSAGES_MODULE, f.category, f.msgid)};
        return known.id;
    }

    // A field, unless the record lacks it.
    void _text(std::string_view name, std::string_view value, unsigned oddities) {
        if (value.data() == nullptr) return;
        _out->append(name);
        if ((oddities & ODD_BYTES) == 0 || fits_a_line(value)) {
            _out->append('=');
        } else {
            _out->append('\n');
            for (uint64_t size = value.size(), i = 0; i < sizeof size; ++i, size >>= 8)
                _out->append(static_cast<char>(size & 0xFF));
        }
        _out->append(value);
        _out->append('\n');
    }
    void _number(std::string_view name, int64_t number) {
        char digits[NUMBER_SIZE];
        const char* const end = put_number(digits, number);
        _text(name, {digits, static_cast<size_t>(end - digits)}, NO_ODDITIES);
    }

    struct KnownId {
        uint32_t key = 0;
        std::string id; // "": none yet
    };

    Exporter _exporter;
    const bool _has_places;
    PlaceInSecond _places;
    LineBuffer* _out = nullptr; // of the record at hand
    std::string _host, _host_id;
    std::array<KnownId, 256> _ids;
};

} // namespace

std::unique_ptr<RecordFormat> make_journal_format(MessageTexts& texts, const FormatSettings& settings) {
    return std::make_unique<JournalFormat>(texts, settings.has_places);
}
