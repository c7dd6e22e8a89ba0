// What a record of a log data file says about its message, but for the arguments: between the reader and the
// display.
#pragma once

#include <cstdint>
#include <ctime>

inline namespace taq_1 {

struct ShownRecord {
    int sev; // logical severity, 0 to 57
    int obj_tag;
    time_t time;
    uint32_t msgcat_id;
};

} // namespace taq_1
