// Times as users write them, and times as the outputs show them.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string_view>

#include "primitives/log/LocalTimeText.h"

// Seconds since 1970 of a time: "2026-11-16T18:18:26Z" (RFC 3339), "2026-11-16[ 18:18[:26]]", "18:18[:26]",
// "now", "today", "yesterday", "-2h" (s, m, h, d, w, also "-1d12h"), "@EPOCH". A time without zone is local,
// or UTC when utc is set. Nothing for anything else. `now` is the moment that relative times refer to. The
// local times of an hour that is put back come twice: --since means the first, --until the second.
enum class Repeated : uint8_t { FIRST, SECOND };
std::optional<int64_t> parse_time(std::string_view text, time_t now, bool utc,
                                  Repeated which = Repeated::FIRST);

// "2026-11-16T18:18:26Z" in UTC, "2026-11-16T19:18:26+01:00" in local time, for thousands of records whose
// times are close to each other.
class IsoTime {
public:
    explicit IsoTime(bool utc) : _utc(utc) {}

    // Valid until the next call.
    std::string_view at(int32_t time) {
        if (time != _time || _size == 0) _format(time);
        return {_text, _size};
    }

private:
    void _format(int32_t time);
    void _format_utc();

    const bool _utc;
    int32_t _time = 0;
    int64_t _day = INT64_MIN; // of _text, in UTC
    size_t _size = 0;
    char _text[40];
    char _room[64];
    LocalTimeText _local{"%Y-%m-%dT%H:%M:%S%z", _room};
};
