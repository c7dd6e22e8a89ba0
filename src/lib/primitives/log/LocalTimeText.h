// Local times as text, for the lines of records and messages: thousands of times close to each other.
#pragma once

#include <cstddef>
#include <ctime>
#include <span>
#include <string_view>

#include "platform/unix/QENTimeSettings.h"

inline namespace taq_1 {

// Formatting a time costs some hundred nanoseconds, copying one a few. Within one hour of local time only the
// digits of minute and second differ, so they are put into the last text in place. Whether that holds is
// tested: the hour must run without a break from hh:00:00 to hh:59:59 (no change of summer time, no leap
// second), and the locale must write the two numbers as two ASCII digits each, at places that stay where they
// are. Otherwise every second is formatted anew.
//
// The text follows LC_TIME and, after tzset, the time zone. Two zones with the same names, offset and use of
// summer time are told apart after forget() only. One thread at a time.
class LocalTimeText {
public:
    static constexpr size_t SIZE = 4096; // room for a text in any format, NUL included

    // format: for strftime. Both must outlive the object.
    LocalTimeText(const char* format, std::span<char> room) : _format(format), _text(room) {}

    // The local time t as text, valid until the next call, with a NUL behind it; empty when it does not fit
    // the room.
    std::string_view at(time_t t) {
        if (t == _time && _kind != NOTHING && _settings.are_current()) return text();
        return _at(t);
    }
    // The same for a caller that changes neither zone nor locale within a second of its records.
    std::string_view at_same_settings(time_t t) {
        if (t == _time && _kind != NOTHING) return text();
        return _at(t);
    }

    // Starts over: the next text is made with the time zone of that moment.
    void forget() {
        _settings.forget();
        _kind = NOTHING;
        _is_proven = false;
    }

private:
    enum Kind {
        NOTHING,  // no text
        SINGLE,   // _text is of _time; the hour from _hour on has not been looked at
        PATCHABLE // as SINGLE, and any second of the hour can be made from _text
    };
    std::string_view text() const { return {_text.data(), _len}; }
    std::string_view _at(time_t t);
    void _format_anew(time_t t);
    bool _find_places();
    bool _locate(const char* start, const char* probe, size_t len);
    bool _digits_are_in_place(struct tm of_hour, const char* start, size_t len) const;

    const char* _format;
    Kind _kind = NOTHING;
    bool _tried = false;     // the hour was looked at; kept so that a bad one is not tried for each second
    bool _is_proven = false; // all digits were tried under _settings
    time_t _time = 0;        // of _text
    time_t _hour = 0;        // first second of the hour of _time
    size_t _minute_at = 0;   // places of the digits in _text; valid in PATCHABLE
    size_t _second_at = 0;
    QENTimeSettings _settings; // of _text
    size_t _len = 0;
    std::span<char> _text;
};

} // namespace taq_1
