// Counts each record once, in the order of MergedRecords.
#include "Statistics.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <iterator>

namespace {

// Each divides the next, so that buckets become one whole. The last spans all times of 32 bits.
constexpr int64_t WIDTHS[] = {1,     5,     15,     60,      300,     900,      3600,     10800,
                              43200, 86400, 604800, 2419200, 9676800, 38707200, 154828800};
constexpr int64_t MINUTE = 60, QUARTER = 900;
constexpr size_t MOST_HOSTS = 64, ROOM_OF_LINE = 24;

int64_t floor_div(int64_t n, int64_t by) {
    return n >= 0 ? n / by : -((by - 1 - n) / by);
}

size_t class_of(int sev) {
    return sev < SEV_APP_END ? static_cast<size_t>(sev) : size_t{SEV_APP_END};
}

} // namespace

int64_t Timeline::width() const {
    return WIDTHS[_width];
}

void Timeline::_go_to(int32_t time) {
    (void)_buckets[floor_div(time, width())];
    while (_buckets.rbegin()->first - _buckets.begin()->first >= _most && _width + 1 < std::size(WIDTHS))
        _widen();
    const int64_t number = floor_div(time, width());
    _bucket = &_buckets.at(number);
    _from = number * width();
    _to = _from + width();
}

void Timeline::_widen() {
    const int64_t ratio = WIDTHS[_width + 1] / WIDTHS[_width];
    std::map<int64_t, SeverityCounts> wider;
    for (const auto& [number, counts] : _buckets) {
        SeverityCounts& to = wider[floor_div(number, ratio)];
        for (size_t i = 0; i < counts.size(); ++i) to[i] += counts[i];
    }
    ++_width;
    _buckets.swap(wider);
}

void TopTexts::add(std::string_view text) {
    if (text.size() > LONGEST) {
        text = text.substr(0, LONGEST);
        while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0) == 0x80)
            text.remove_suffix(1);
        if (!text.empty() && static_cast<unsigned char>(text.back()) >= 0xC0) text.remove_suffix(1);
    }
    if (const auto found = _counts.find(text); found != _counts.end())
        ++found->second.count;
    else if (_is_exact && _counts.size() < EXACT)
        _counts.emplace(text, Count{1, 0});
    else
        _replace_least(text);
}

// The heap holds an entry for each text, with a count that was right once: the least true count is found by
// correcting those in front of it.
void TopTexts::_replace_least(std::string_view text) {
    if (_is_exact) _cut();
    const auto later = std::greater<>();
    for (;;) {
        std::pop_heap(_heap.begin(), _heap.end(), later);
        auto& [count, key] = _heap.back();
        const auto found = _counts.find(*key);
        if (found->second.count == count) {
            _counts.erase(found);
            const auto added = _counts.emplace(text, Count{count + 1, count}).first;
            _heap.back() = {count + 1, &added->first};
            std::push_heap(_heap.begin(), _heap.end(), later);
            return;
        }
        count = found->second.count;
        std::push_heap(_heap.begin(), _heap.end(), later);
    }
}

void TopTexts::_cut() {
    _is_exact = false;
    Counts kept;
    for (Entry& entry : top(KEPT)) kept.emplace(std::move(entry.text), Count{entry.count, entry.error});
    _counts.swap(kept);
    for (const auto& [text, count] : _counts) _heap.emplace_back(count.count, &text);
    std::make_heap(_heap.begin(), _heap.end(), std::greater<>());
}

std::vector<TopTexts::Entry> TopTexts::top(size_t n) const {
    std::vector<const Counts::value_type*> all;
    for (const auto& each : _counts) all.push_back(&each);
    n = std::min(n, all.size());
    std::partial_sort(all.begin(), all.begin() + static_cast<ptrdiff_t>(n), all.end(),
                      [](const auto* a, const auto* b) {
                          return a->second.count != b->second.count ? a->second.count > b->second.count
                                                                    : a->first < b->first;
                      });
    std::vector<Entry> entries;
    for (size_t i = 0; i < n; ++i)
        entries.push_back({all[i]->first, all[i]->second.count, all[i]->second.error});
    return entries;
}

void Statistics::add(const FoundRecord& record) {
    const int32_t time = ldf_record_time(record.bytes);
    const int sev = ldf_record_severity(record.bytes);
    const size_t kind = class_of(sev);
    first = count == 0 ? time : std::min(first, time);
    last = count == 0 ? time : std::max(last, time);
    ++count;
    ++severities[kind];
    _add_time(time, kind);
    _add_log(record, kind, time);
    const uint32_t id = ldf_record_id(record.bytes);
    const auto known = ids.find(id);
    if (known == ids.end() && ids.size() == MOST_IDS) {
        ++other_ids;
    } else {
        MessageCounts& m = known != ids.end() ? known->second : ids[id];
        m.first = m.count == 0 ? time : std::min(m.first, time);
        m.last = m.count == 0 ? time : std::max(m.last, time);
        ++m.count;
        m.worst = std::min(m.worst, sev);
        m.hosts |= _log->host_bit;
        m.timeline.add(time, 0);
    }
    LdfRecordView view;
    ldf_view_record(record.bytes, view);
    if (view.header.obj_type != 0 && view.argc() > 0) objects.add(view.argv()[0]);
    _key.assign(view.filename());
    char digits[ROOM_OF_LINE];
    *digits = ':';
    _key.append(digits, std::to_chars(digits + 1, std::end(digits), view.header.line_no).ptr);
    sources.add(_key);
    // Identity and arguments, as --collapse compares them.
    const char* const from = view.argc() > 0 ? view.argv()[0].data() : "";
    const char* const to = reinterpret_cast<const char*>(record.bytes) + ldf_record_size(record.bytes);
    const size_t hash =
        std::hash<std::string_view>()({from, view.argc() > 0 ? static_cast<size_t>(to - from) : 0}) ^ id;
    if (_last_log == _log && _log->last_hash == hash) ++repeats;
    _log->last_hash = hash;
    _last_log = _log;
}

// The hour of a day is the same within a quarter of an hour, in every zone.
void Statistics::_add_time(int32_t time, size_t kind) {
    timeline.add(time, kind);
    if (const int64_t quarter = floor_div(time, QUARTER); quarter != _quarter) {
        _quarter = quarter;
        const time_t t = time;
        struct tm parts = {};
        (void)(_utc ? gmtime_r(&t, &parts) : localtime_r(&t, &parts)); // a time of 32 bits has parts
        _hour = &hours[static_cast<size_t>(parts.tm_wday)][static_cast<size_t>(parts.tm_hour)];
    }
    ++*_hour;
    if (const int64_t minute = floor_div(time, MINUTE); minute != _minute.minute) {
        _end_minute();
        _minute = {minute, 0};
    }
    ++_minute.count;
}

void Statistics::_end_minute() {
    if (_minute.count == 0) return;
    const auto place = std::find_if(bursts.begin(), bursts.end(),
                                    [&](const Burst& burst) { return burst.count < _minute.count; });
    bursts.insert(place, _minute);
    if (bursts.size() > BURSTS) bursts.pop_back();
    _minute.count = 0;
}

void Statistics::_add_log(const FoundRecord& record, size_t kind, int32_t time) {
    if (_log == nullptr || _file != record.file->serial || _source != record.file) {
        _file = record.file->serial;
        _source = record.file;
        const bool has_room = logs.size() < MOST_LOGS || logs.contains(record.file->place);
        _log = &logs[has_room ? record.file->place : "others"];
        _log->host = has_room ? record.file->host : "others";
        _log->log = has_room ? record.file->log : "others";
        const uint64_t bit = uint64_t{1} << std::min(_hosts.size(), MOST_HOSTS - 1);
        _log->host_bit = _hosts.size() < MOST_HOSTS ? _hosts.emplace(_log->host, bit).first->second : bit;
    }
    LogCounts& log = *_log;
    if (log.count > 0 && int64_t{time} - log.last > log.silence) {
        log.silence = int64_t{time} - log.last;
        log.silence_from = log.last;
    }
    log.last = log.count == 0 ? time : std::max(log.last, time);
    ++log.count;
    ++log.severities[kind];
}
