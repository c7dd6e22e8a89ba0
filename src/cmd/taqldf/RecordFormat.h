// One form in which records leave.
#pragma once

#include <memory>
#include <string_view>

#include "LogSource.h"
#include "MessageTexts.h"
#include "primitives/log/LineBuffer.h"

struct FormatSettings {
    bool utc = false;
    bool has_colour = false;
    bool shows_place = false; // the records come from several logs
    bool csv_safe = false;
    bool has_places = false; // times show the place of a record within its second
    std::string lang;        // "": as the environment asks for
};

class Problems;
struct StatSettings;
enum class StatForm { TEXT, JSON, CSV, METRICS, PAGE };

class RecordFormat {
public:
    virtual ~RecordFormat() = default;
    virtual void begin(LineBuffer&) {} // before the first record, also when there is none
    virtual void put(const FoundRecord& record, LineBuffer& out) = 0;
    // The record `last`, which equals the last one but for its time, came after `count` - 1 more of them.
    virtual void put_repeats(int64_t, const FoundRecord&, LineBuffer&) {}
    virtual void end(LineBuffer&) {} // after the last record
};

// The texts must outlive the format. Null: no format of that name.
std::unique_ptr<RecordFormat> make_line_format(MessageTexts& texts, const FormatSettings& settings);
std::unique_ptr<RecordFormat> make_verbose_format(MessageTexts& texts, const FormatSettings& settings);
std::unique_ptr<RecordFormat> make_reader_format(const FormatSettings& settings);
std::unique_ptr<RecordFormat> make_json_format(MessageTexts& texts);
std::unique_ptr<RecordFormat> make_csv_format(MessageTexts& texts, const FormatSettings& settings);
std::unique_ptr<RecordFormat> make_journal_format(MessageTexts& texts, const FormatSettings& settings);
std::unique_ptr<RecordFormat> make_otlp_format(MessageTexts& texts, const FormatSettings& settings);
// Counts the records and shows the counts at the end. The problems must outlive it, too.
std::unique_ptr<RecordFormat> make_stat_format(MessageTexts& texts, StatForm form,
                                               const StatSettings& settings, const Problems& problems);
