// What recover did, for people on standard output and as JSON in a file.
#pragma once

#include <cstdint>
#include <string>

#include "JsonText.h"
#include "Options.h"
#include "Output.h"
#include "Progress.h"
#include "Recovery.h"

// Ranges are written as they come: a file may have millions.
class RecoveryReport {
public:
    RecoveryReport(const std::string& input, const Options& options, Problems& problems);

    bool open(); // false, and told: the report's file cannot be made

    void begin(int64_t size);
    void put(const RecoveredRange& range);
    void end(const RecoveryResult& result);

private:
    static constexpr int64_t MOST_LINES = 100; // of ranges, for people

    void _end_text(const RecoveryResult& result);
    void _end_json(const RecoveryResult& result);
    void _pass_json_on();
    void _line(const std::string& text) { _text.lines().append(text + "\n"); }

    const std::string& _input;
    const Options& _options;
    Output _text, _file;
    const bool _has_file;
    Progress _progress;
    JsonText _json;
    int64_t _ranges = 0;
};
