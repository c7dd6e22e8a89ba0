// Tells whether time zone and locale are still what they were when a local time was made into text.
#pragma once

#include <ctime>
#include <langinfo.h>

inline namespace taq_1 {

// What a local time depends on beside the second.
class QENTimeSettings {
public:
    // Whether nothing has changed since note(). Asking costs a few instructions.
    bool are_current() const {
        return _zone == tzname[0] && _summer_zone == tzname[1] && _offset == timezone &&
               _locale == nl_langinfo(D_T_FMT);
    }
    void note() {
        _locale = nl_langinfo(D_T_FMT);
        _zone = tzname[0];
        _summer_zone = tzname[1];
        _offset = timezone;
    }
    void forget() { _locale = nullptr; }

private:
    // Each locale has its own copy of this word, so its place tells locales apart. The C library keeps one
    // copy of each zone name as well.
    const char* _locale = nullptr;
    const char* _zone = nullptr; // names without and with summer time
    const char* _summer_zone = nullptr;
    long _offset = 0; // seconds west of UTC
};

} // namespace taq_1
