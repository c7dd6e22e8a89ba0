// Local times as text, for callers that ask for thousands of times close to each other.
#pragma once

#include <array>
#include <cstddef>
#include <ctime>
#include <langinfo.h>
#include <string_view>

// Formatting a time costs some hundred nanoseconds, copying one a few. Within one hour of local time only
// the digits of minute and second differ, so they are put into the last text in place. Whether that holds is
// looked at, not assumed: the hour must run without a break from hh:00:00 to hh:59:59 (no change of summer
// time, no leap second), and the locale must write the two numbers as two ASCII digits each, at places that
// stay where they are. Otherwise every second is formatted anew.
//
// The text follows LC_TIME, a change of which is noticed with the next other second, and a change of the time
// zone after forget(). One thread at a time.
class LocalTimeText {
public:
    static constexpr size_t SIZE = 4096; // room for a text, NUL included

    // format: for strftime; refers only.
    explicit LocalTimeText(const char* format) : _format(format) {}

    // The local time t as text, valid until the next call; empty when it does not fit SIZE.
    std::string_view at(time_t t) {
        if (t == _time && _kind != NOTHING) return text();
        return _at(t, _locale_now());
    }

    // Starts over: the next text is made with the time zone of that moment.
    void forget() {
        _kind = NOTHING;
        _proven_for = nullptr;
    }

private:
    enum Kind {
        NOTHING,  // no text
        SINGLE,   // _text is of _time; the hour from _hour on has not been looked at
        PATCHABLE // as SINGLE, and any second of the hour can be made from _text
    };
    std::string_view text() const { return {_text.data(), _len}; }
    // Each locale has its own copy of this word, so its place tells locales apart, and asking costs nothing.
    static const char* _locale_now() { return nl_langinfo(D_T_FMT); }
    std::string_view _at(time_t t, const char* locale);
    void _format_anew(time_t t, const char* locale);
    bool _find_places();
    bool _locate(const char* start, const char* probe, size_t len);
    bool _digits_are_in_place(struct tm of_hour, const char* start, size_t len) const;

    const char* _format;
    Kind _kind = NOTHING;
    bool _tried = false;   // the hour was looked at; kept so that a bad one is not tried for each second
    time_t _time = 0;      // of _text
    time_t _hour = 0;      // first second of the hour of _time
    size_t _minute_at = 0; // places of the digits in _text; valid in PATCHABLE
    size_t _second_at = 0;
    const char* _locale = nullptr;     // of _text, see _locale_now
    const char* _proven_for = nullptr; // locale for which all digits were tried, or null
    size_t _len = 0;
    std::array<char, SIZE> _text;
};
