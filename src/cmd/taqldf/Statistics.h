// What stat counts about the records that pass the filter. StatFormat and StatPage show it. Memory is bounded
// whatever the records hold.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "SourceFile.h"
#include "primitives/message/severity.h"

inline constexpr size_t SEVERITY_CLASSES = SEV_APP_END + 1; // the last one: debug levels
using SeverityCounts = std::array<uint64_t, SEVERITY_CLASSES>;

// Counts over time in buckets of one width, which grows so that there are at most `most` of them from the
// first to the last. Times may come in any order.
class Timeline {
public:
    explicit Timeline(size_t most) : _most(static_cast<int64_t>(most)) {}

    // Most records lie in the bucket of the one before.
    void add(int32_t time, size_t kind) {
        if (time < _from || time >= _to) _go_to(time);
        ++(*_bucket)[kind];
    }
    int64_t width() const; // seconds
    // By number: bucket n begins at second n * width(). Empty ones are not there.
    const std::map<int64_t, SeverityCounts>& buckets() const { return _buckets; }

private:
    void _go_to(int32_t time);
    void _widen();

    int64_t _most;
    size_t _width = 0; // index of the widths
    std::map<int64_t, SeverityCounts> _buckets;
    int64_t _from = 0, _to = 0; // times of _bucket, the last one that was used
    SeverityCounts* _bucket = nullptr;
};

// Counts texts. Up to EXACT different ones all are counted; beyond that the most frequent KEPT, each with at
// most `error` too many.
class TopTexts {
public:
    static constexpr size_t EXACT = 65536, KEPT = 4096, LONGEST = 200; // bytes of a text; the rest is cut
    struct Entry {
        std::string text;
        uint64_t count;
        uint64_t error;
    };

    void add(std::string_view text);
    bool is_exact() const { return _is_exact; }
    size_t size() const { return _counts.size(); }
    std::vector<Entry> top(size_t n) const; // the most frequent first, equal ones by text

private:
    struct Count {
        uint64_t count, error;
    };
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };
    using Counts = std::unordered_map<std::string, Count, Hash, std::equal_to<>>;
    void _replace_least(std::string_view text);
    void _cut();

    Counts _counts;
    bool _is_exact = true;
    std::vector<std::pair<uint64_t, const std::string*>> _heap; // least first; counts may have grown since
};

struct MessageCounts {
    uint64_t count = 0, hosts = 0; // hosts: a bit for each of the first 64
    int32_t first = 0, last = 0;
    int worst = 255; // severity
    Timeline timeline{48};
};

struct LogCounts {
    std::string host, log;
    SeverityCounts severities = {};
    uint64_t count = 0;
    int32_t last = 0;         // the latest time
    int64_t silence = 0;      // longest time without a record, in seconds
    int32_t silence_from = 0; // when it began
    uint64_t host_bit = 0;
    size_t last_hash = 0; // of the last record's identity and arguments
};

struct Burst {
    int64_t minute; // since 1970
    uint64_t count;
};

class Statistics {
public:
    static constexpr size_t MOST_IDS = 4096, MOST_LOGS = 4096, BURSTS = 10, BUCKETS = 240;

    explicit Statistics(bool utc) : _utc(utc) {}

    void add(const FoundRecord& record);
    void end() { _end_minute(); } // after the last record

    uint64_t count = 0, repeats = 0;
    uint64_t other_ids = 0; // records of messages beyond the first MOST_IDS
    int32_t first = 0, last = 0;
    SeverityCounts severities = {};
    std::unordered_map<uint32_t, MessageCounts> ids;
    std::map<std::string, LogCounts> logs; // by place
    TopTexts objects, sources;
    Timeline timeline{BUCKETS};
    std::array<std::array<uint64_t, 24>, 7> hours = {}; // by day of the week (Sunday first) and hour
    std::vector<Burst> bursts;                          // the largest first

private:
    void _add_time(int32_t time, size_t kind);
    void _add_log(const FoundRecord& record, size_t kind, int32_t time);
    void _end_minute();

    const bool _utc;
    LogCounts* _log = nullptr;
    uint64_t _file = 0; // serial of the file of _log
    const SourceFile* _source = nullptr;
    const LogCounts* _last_log = nullptr;
    Burst _minute = {INT64_MIN, 0};
    int64_t _quarter = INT64_MIN; // of an hour, of _hour
    uint64_t* _hour = nullptr;
    std::map<std::string, uint64_t> _hosts; // bit of each
    std::string _key;
};
