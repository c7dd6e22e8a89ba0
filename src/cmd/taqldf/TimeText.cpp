// Reads the times of --since and --until, and writes those of records.
#include "TimeText.h"

#include <cstring>

namespace {

constexpr int64_t MINUTE = 60, HOUR = 3600, DAY = 86400, WEEK = 7 * DAY;
constexpr int64_t LONGEST = 1000000000000; // seconds; sums of two stay far from overflow

// Takes pieces off the front of a text.
class Cursor {
public:
    explicit Cursor(std::string_view text) : _rest(text) {}

    bool is_at_end() const { return _rest.empty(); }
    bool skip(char c) {
        if (_rest.empty() || _rest.front() != c) return false;
        _rest.remove_prefix(1);
        return true;
    }
    // A number of exactly `digits` digits within these bounds.
    bool number(size_t digits, int least, int most, int& value) {
        if (_rest.size() < digits) return false;
        int found = 0;
        for (size_t i = 0; i < digits; ++i) {
            if (_rest[i] < '0' || _rest[i] > '9') return false;
            found = 10 * found + (_rest[i] - '0');
        }
        _rest.remove_prefix(digits);
        value = found;
        return found >= least && found <= most;
    }
    // A number of one digit or more.
    bool number(int64_t& value) {
        const size_t before = _rest.size();
        value = 0;
        while (!_rest.empty() && _rest.front() >= '0' && _rest.front() <= '9' && value < LONGEST) {
            value = 10 * value + (_rest.front() - '0');
            _rest.remove_prefix(1);
        }
        return _rest.size() < before && value < LONGEST;
    }
    char take() {
        const char c = _rest.empty() ? '\0' : _rest.front();
        if (c != '\0') _rest.remove_prefix(1);
        return c;
    }

private:
    std::string_view _rest;
};

constexpr int DAYS_BEFORE_MONTH[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};

bool is_leap_year(int64_t year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// Days from 1970-01-01 to the first of the month, 1 to 12.
int64_t days_before(int64_t year, int month) {
    const int64_t full = year - 1;
    const int64_t since_year_1 = 365 * full + full / 4 - full / 100 + full / 400;
    return since_year_1 - 719162 + DAYS_BEFORE_MONTH[month - 1] + (month > 2 && is_leap_year(year) ? 1 : 0);
}

int days_in(int64_t year, int month) {
    if (month == 2 && is_leap_year(year)) return 29;
    return DAYS_BEFORE_MONTH[month] - DAYS_BEFORE_MONTH[month - 1];
}

struct WallTime {
    int year = 1970, month = 1, day = 1, hour = 0, minute = 0, second = 0;
};

int64_t as_utc(const WallTime& w) {
    return (days_before(w.year, w.month) + w.day - 1) * DAY + w.hour * HOUR + w.minute * MINUTE + w.second;
}

// As the zone's summer or winter time, or as mktime() likes (-1).
time_t local_time(const WallTime& w, int is_dst) {
    struct tm local = {};
    local.tm_year = w.year - 1900;
    local.tm_mon = w.month - 1;
    local.tm_mday = w.day;
    local.tm_hour = w.hour;
    local.tm_min = w.minute;
    local.tm_sec = w.second;
    local.tm_isdst = is_dst;
    return mktime(&local);
}

// Whether clocks show this time at t.
bool is_shown_at(time_t t, const WallTime& w) {
    struct tm parts = {};
    return localtime_r(&t, &parts) != nullptr && parts.tm_mday == w.day && parts.tm_hour == w.hour &&
           parts.tm_min == w.minute;
}

// mktime() takes either of two times that clocks show alike, whichever it finds.
int64_t as_local(const WallTime& w, Repeated which) {
    time_t found = local_time(w, -1);
    for (const int is_dst : {0, 1}) {
        const time_t t = local_time(w, is_dst);
        if (is_shown_at(t, w) && (which == Repeated::FIRST ? t < found : t > found)) found = t;
    }
    return found;
}

bool take_date(Cursor& text, WallTime& w) {
    return text.number(4, 1, 9999, w.year) && text.skip('-') && text.number(2, 1, 12, w.month) &&
           text.skip('-') && text.number(2, 1, days_in(w.year, w.month), w.day);
}

// "18:18" or "18:18:26", with a fraction that is passed over: records have whole seconds.
bool take_clock(Cursor& text, WallTime& w) {
    if (!text.number(2, 0, 23, w.hour) || !text.skip(':') || !text.number(2, 0, 59, w.minute)) return false;
    if (!text.skip(':')) return true;
    if (!text.number(2, 0, 60, w.second)) return false;
    int64_t fraction;
    return !text.skip('.') || text.number(fraction);
}

enum class Zone { NONE, GIVEN, WRONG };

// "Z" or "+01:00" at the end, as seconds east.
Zone take_zone(Cursor& text, int64_t& east) {
    if (text.is_at_end()) return Zone::NONE;
    const char sign = text.take();
    east = 0;
    if (sign == 'Z' || sign == 'z') return text.is_at_end() ? Zone::GIVEN : Zone::WRONG;
    int hours, minutes;
    if ((sign != '+' && sign != '-') || !text.number(2, 0, 23, hours) || !text.skip(':') ||
        !text.number(2, 0, 59, minutes) || !text.is_at_end())
        return Zone::WRONG;
    east = (hours * HOUR + minutes * MINUTE) * (sign == '-' ? -1 : 1);
    return Zone::GIVEN;
}

WallTime day_of(time_t t, bool utc) {
    struct tm parts = {};
    (void)(utc ? gmtime_r(&t, &parts) : localtime_r(&t, &parts)); // the clock's year fits
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday};
}

int64_t in_zone(const WallTime& w, bool utc, Repeated which) {
    return utc ? as_utc(w) : as_local(w, which);
}

// "-2h", "-1d12h".
std::optional<int64_t> parse_ago(Cursor text, time_t now) {
    int64_t ago = 0;
    while (!text.is_at_end()) {
        int64_t count, unit;
        if (!text.number(count)) return {};
        switch (text.take()) {
        case 's': unit = 1; break;
        case 'm': unit = MINUTE; break;
        case 'h': unit = HOUR; break;
        case 'd': unit = DAY; break;
        case 'w': unit = WEEK; break;
        default: return {};
        }
        if (count > LONGEST / unit || (ago += count * unit) > LONGEST) return {};
    }
    return now - ago;
}

} // namespace

std::optional<int64_t> parse_time(std::string_view text, time_t now, bool utc, Repeated which) {
    Cursor rest(text);
    if (text == "now") return now;
    if (text == "today") return in_zone(day_of(now, utc), utc, which);
    if (text == "yesterday") { // of a day that may be longer or shorter than others
        const int64_t today = in_zone(day_of(now, utc), utc, Repeated::FIRST);
        return in_zone(day_of(today - 1, utc), utc, which);
    }
    int64_t number;
    if (rest.skip('@')) {
        const bool is_negative = rest.skip('-');
        if (!rest.number(number) || !rest.is_at_end()) return {};
        return is_negative ? -number : number;
    }
    if (text.size() > 1 && rest.skip('-')) return parse_ago(rest, now);

    WallTime w;
    if (text.size() > 2 && text[2] == ':') {
        w = day_of(now, utc);
        if (!take_clock(rest, w)) return {};
    } else {
        if (!take_date(rest, w)) return {};
        const bool has_clock = rest.skip('T') || rest.skip('t') || rest.skip(' ');
        if (has_clock && !take_clock(rest, w)) return {};
    }
    int64_t east;
    const Zone zone = take_zone(rest, east);
    if (zone == Zone::WRONG) return {};
    return zone == Zone::GIVEN ? as_utc(w) - east : in_zone(w, utc, which);
}

namespace {

void put_two(char* to, int64_t number) {
    to[0] = static_cast<char>('0' + number / 10);
    to[1] = static_cast<char>('0' + number % 10);
}

} // namespace

void IsoTime::_format(int32_t time) {
    _time = time;
    if (_utc) return _format_utc();
    const std::string_view local = _local.at_same_settings(time); // "...+0100"
    _size = local.copy(_text, sizeof _text - 2);
    if (_size < 5) return;
    std::memmove(_text + _size - 1, _text + _size - 2, 2);
    _text[_size - 2] = ':';
    ++_size;
}

void IsoTime::_format_utc() {
    const int64_t day = _time >= 0 ? _time / DAY : -((DAY - 1 - int64_t{_time}) / DAY);
    const int64_t second = _time - day * DAY;
    if (day != _day) {
        _day = day;
        const time_t t = _time;
        struct tm parts = {};
        (void)gmtime_r(&t, &parts);            // a time of 32 bits has a year
        const int year = parts.tm_year + 1900; // 1901 to 2038
        std::memcpy(_text, "yyyy-mm-ddThh:mm:ssZ", sizeof "yyyy-mm-ddThh:mm:ssZ");
        put_two(_text, year / 100);
        put_two(_text + 2, year % 100);
        put_two(_text + 5, parts.tm_mon + 1);
        put_two(_text + 8, parts.tm_mday);
        _size = std::strlen(_text);
    }
    put_two(_text + 11, second / HOUR);
    put_two(_text + 14, second / MINUTE % 60);
    put_two(_text + 17, second % 60);
}
