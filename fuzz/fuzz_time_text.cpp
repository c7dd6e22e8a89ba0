// Arbitrary bytes as a time of a user: never a crash, and a time that was read is one that can be counted
// with.
#include <cstdlib>
#include <string_view>

#include "TimeText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr time_t NOW = 1794853106;
    constexpr int64_t FARTHEST = int64_t{1} << 42;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (const bool utc : {false, true}) {
        const std::optional<int64_t> time = parse_time(text, NOW, utc);
        if (time && (*time > FARTHEST || *time < -FARTHEST)) abort();
        if (time) (void)IsoTime(utc).at(static_cast<int32_t>(*time));
    }
    return 0;
}
