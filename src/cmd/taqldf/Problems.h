// What went wrong on the way from the files to the output: told on standard error, and kept for the exit
// status.
#pragma once

#include <cstddef>
#include <string_view>

// Exit statuses. A failure is worse than damage, and damage worse than nothing found.
enum TaqldfStatus {
    TAQLDF_FOUND = 0,   // at least one record
    TAQLDF_NONE = 1,    // no record
    TAQLDF_FAILED = 2,  // usage, input or output, newer version
    TAQLDF_DAMAGED = 3, // a file is damaged; the rest was shown
};

class Problems {
public:
    void failure(std::string_view text); // something that was asked for could not be read or written
    void damage(std::string_view text);  // a file does not hold what it should

    int status(bool found) const;
    size_t damaged() const { return _damaged; } // files

private:
    static void _tell(std::string_view text);

    bool _has_failed = false;
    size_t _damaged = 0;
};
