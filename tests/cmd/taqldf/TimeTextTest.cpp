#include <cstdlib>
#include <sstream>

#include "TimeText.h"

#include <gtest/gtest.h>

namespace {

constexpr time_t NOW = 1794853106; // 2026-11-16 18:18:26 UTC

void use_zone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

} // namespace

TEST(TimeText, ReadsTheTimesOfUsers) {
    use_zone("CET-1CEST,M3.5.0,M10.5.0/3");
    const struct {
        const char* text;
        int64_t local, utc;
    } cases[] = {{"2026-11-16T18:18:26Z", NOW, NOW},
                 {"2026-11-16t18:18:26.25z", NOW, NOW},
                 {"2026-11-16T19:18:26+01:00", NOW, NOW},
                 {"2026-11-16 12:48-05:30", NOW - 26, NOW - 26},
                 {"2026-11-16 18:18:26", NOW - 3600, NOW},
                 {"2026-11-16 18:18", NOW - 3626, NOW - 26},
                 {"2026-11-16", 1794783600, 1794787200},
                 {"2024-02-29", 1709161200, 1709164800},
                 {"2026-07-01", 1782856800, 1782864000},
                 {"1969-12-31", -90000, -86400},
                 {"0001-01-01T00:00Z", -62135596800, -62135596800},
                 {"18:18", NOW - 3626, NOW - 26},
                 {"00:00:01", 1794783601, 1794787201},
                 {"today", 1794783600, 1794787200},
                 {"yesterday", 1794697200, 1794700800},
                 {"now", NOW, NOW},
                 {"-90s", NOW - 90, NOW - 90},
                 {"-1w1d2h3m", NOW - 8 * 86400 - 7380, NOW - 8 * 86400 - 7380},
                 {"@0", 0, 0},
                 {"@-5", -5, -5}};
    for (const auto& c : cases) {
        EXPECT_EQ(c.local, parse_time(c.text, NOW, false).value_or(-1)) << c.text;
        EXPECT_EQ(c.utc, parse_time(c.text, NOW, true).value_or(-1)) << c.text;
    }
    const struct {
        const char* text;
        int64_t first, second;
    } repeated[] = {{"2026-10-25 01:59:59", 1792886399, 1792886399},
                    {"2026-10-25 02:00", 1792886400, 1792890000},
                    {"2026-10-25 02:59:59", 1792889999, 1792893599},
                    {"2026-10-25 03:00", 1792893600, 1792893600},
                    {"2026-03-29 02:30", 1774747800, 1774747800}}; // left out; as 03:30
    for (const auto& c : repeated) {
        EXPECT_EQ(c.first, parse_time(c.text, NOW, false, Repeated::FIRST).value_or(-1)) << c.text;
        EXPECT_EQ(c.second, parse_time(c.text, NOW, false, Repeated::SECOND).value_or(-1)) << c.text;
    }
    constexpr char WRONG[] =
        "|-|@|@1x|-2|-2y|-h|2026|2026-13-01|2026-02-29|2026-11-16T|2026-11-16T24:00|"
        "2026-11-16 18:60|2026-11-16 18:18:61|2026-11-16 18:18 Z|2026-11-16Z1|18:1|18:18x|"
        "tomorrow|2026-11-16 18:18+1:00|@99999999999999999999|-99999999999999999w|"
        "2026-1-1|2026-11-16 18:18:26.";
    std::istringstream all(WRONG);
    for (std::string wrong; std::getline(all, wrong, '|');)
        EXPECT_FALSE(parse_time(wrong, NOW, false).has_value()) << wrong;
    use_zone("UTC");
}

TEST(TimeText, WritesTimesOfBothZonesInAnyOrder) {
    use_zone("CET-1CEST,M3.5.0,M10.5.0/3");
    const struct {
        int32_t time;
        const char *utc, *local;
    } cases[] = {{static_cast<int32_t>(NOW), "2026-11-16T18:18:26Z", "2026-11-16T19:18:26+01:00"},
                 {1794873599, "2026-11-16T23:59:59Z", "2026-11-17T00:59:59+01:00"},
                 {1794873600, "2026-11-17T00:00:00Z", "2026-11-17T01:00:00+01:00"},
                 {1782864000, "2026-07-01T00:00:00Z", "2026-07-01T02:00:00+02:00"},
                 {0, "1970-01-01T00:00:00Z", "1970-01-01T01:00:00+01:00"},
                 {-1, "1969-12-31T23:59:59Z", "1970-01-01T00:59:59+01:00"},
                 {-86401, "1969-12-30T23:59:59Z", "1969-12-31T00:59:59+01:00"},
                 {INT32_MAX, "2038-01-19T03:14:07Z", "2038-01-19T04:14:07+01:00"},
                 {INT32_MIN, "1901-12-13T20:45:52Z", "1901-12-13T21:45:52+01:00"}};
    IsoTime utc(true), local(false);
    for (const auto& c : cases)
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(std::string(c.utc) + c.local,
                      std::string(utc.at(c.time)) + std::string(local.at(c.time)));
    use_zone("UTC");
}
