// Makes local times into text, mostly by changing four digits of the last one. Lines of logs, of records and
// of the capture begin with such a text.
#include "primitives/log/LocalTimeText.h"

#include <algorithm>
#include <array>
#include <cstring>

inline namespace taq_1 {

namespace {

constexpr time_t HOUR = 3600;
constexpr size_t PATCHABLE_SIZE = 256; // a longer text is formatted anew each time
// Every digit at every place of a number from 0 to 59, together with PROBE below.
constexpr int PROVE_MINUTES[] = {5, 18, 27, 36, 49, 53, 14};
constexpr int PROVE_SECONDS[] = {49, 53, 14, 5, 18, 27, 36};
constexpr int PROBE_MINUTE = 11;
constexpr int PROBE_SECOND = 22;

void put_two_digits(char* out, int number) {
    out[0] = static_cast<char>('0' + number / 10);
    out[1] = static_cast<char>('0' + number % 10);
}

// Whether the hour that begins with `first` runs on the same clock until `last`, 3,599 seconds later.
bool is_unbroken(const struct tm& first, const struct tm& last) {
    return first.tm_min == 0 && first.tm_sec == 0 && last.tm_min == 59 && last.tm_sec == 59 &&
           first.tm_hour == last.tm_hour && first.tm_yday == last.tm_yday && first.tm_year == last.tm_year &&
           first.tm_isdst == last.tm_isdst && first.tm_gmtoff == last.tm_gmtoff &&
           strcmp(first.tm_zone, last.tm_zone) == 0;
}

} // namespace

std::string_view LocalTimeText::_at(time_t t) {
    if (!_settings.are_current()) forget();
    const uint64_t into_hour = static_cast<uint64_t>(t) - static_cast<uint64_t>(_hour);
    if (_kind == SINGLE && into_hour < HOUR && !_tried) { // the second text of this hour: worth a look
        _tried = true;
        if (_find_places()) _kind = PATCHABLE;
    }
    if (_kind != PATCHABLE || into_hour >= HOUR) {
        _format_anew(t);
        return text();
    }
    put_two_digits(_text.data() + _minute_at, static_cast<int>(into_hour / 60));
    put_two_digits(_text.data() + _second_at, static_cast<int>(into_hour % 60));
    _time = t;
    return text();
}

void LocalTimeText::_format_anew(time_t t) {
    const bool same_hour = _kind != NOTHING && static_cast<uint64_t>(t) - static_cast<uint64_t>(_hour) < HOUR;
    struct tm local;
    if (localtime_r(&t, &local) == nullptr) { // a year beyond int
        _len = 0;
        _kind = NOTHING;
        return;
    }
    _len = strftime(_text.data(), _text.size(), _format, &local);
    _time = t;
    _hour = t - (local.tm_min * 60 + local.tm_sec);
    if (!same_hour) _tried = false;
    _kind = SINGLE;
    // The C library may have named the zone by what it was at that time.
    _settings.note();
}

// Looks for the digits of minute and second and, when they are as they should be, leaves a text of the hour
// in _text. On failure _text is what it was.
bool LocalTimeText::_find_places() {
    const time_t last_second = _hour + HOUR - 1;
    struct tm first, last;
    if (localtime_r(&_hour, &first) == nullptr || localtime_r(&last_second, &last) == nullptr) return false;
    if (!is_unbroken(first, last)) return false;

    std::array<char, PATCHABLE_SIZE> start, probe;
    const size_t cap = std::min(PATCHABLE_SIZE, _text.size());
    const size_t len = strftime(start.data(), cap, _format, &first);
    struct tm changed = first;
    changed.tm_min = PROBE_MINUTE;
    changed.tm_sec = PROBE_SECOND;
    if (len == 0 || strftime(probe.data(), cap, _format, &changed) != len) return false;
    if (!_locate(start.data(), probe.data(), len)) return false;
    if (!_is_proven && !_digits_are_in_place(first, start.data(), len)) return false;
    _is_proven = true;
    memcpy(_text.data(), start.data(), len + 1);
    _len = len;
    _settings.note();
    return true;
}

// Sets the places where "00" became PROBE_MINUTE and PROBE_SECOND; false when anything else differs.
bool LocalTimeText::_locate(const char* start, const char* probe, size_t len) {
    bool minute = false, second = false;
    for (size_t i = 0; i < len; ++i) {
        if (start[i] == probe[i]) continue;
        if (i + 1 == len || start[i] != '0' || start[i + 1] != '0') return false;
        if (!minute && memcmp(probe + i, "11", 2) == 0) {
            minute = true;
            _minute_at = i++;
        } else if (!second && memcmp(probe + i, "22", 2) == 0) {
            second = true;
            _second_at = i++;
        } else {
            return false;
        }
    }
    return minute && second;
}

bool LocalTimeText::_digits_are_in_place(struct tm of_hour, const char* start, size_t len) const {
    std::array<char, PATCHABLE_SIZE> patched, formatted;
    memcpy(patched.data(), start, len);
    for (size_t i = 0; i < std::size(PROVE_MINUTES); ++i) {
        of_hour.tm_min = PROVE_MINUTES[i];
        of_hour.tm_sec = PROVE_SECONDS[i];
        put_two_digits(patched.data() + _minute_at, of_hour.tm_min);
        put_two_digits(patched.data() + _second_at, of_hour.tm_sec);
        if (strftime(formatted.data(), formatted.size(), _format, &of_hour) != len) return false;
        if (memcmp(formatted.data(), patched.data(), len) != 0) return false;
    }
    return true;
}

} // namespace taq_1
