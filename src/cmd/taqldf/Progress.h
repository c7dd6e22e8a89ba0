// Tells on a terminal how far long work has come, and keeps what --stats tells at the end.
#pragma once

#include <cstdint>
#include <ctime>

struct ReadCounts {
    int64_t files = 0;
    int64_t records = 0;
    int64_t bytes_skipped = 0; // behind damages
};

class Progress {
public:
    // to_stdout: the output itself may be on the terminal; then nothing is told.
    explicit Progress(bool to_stdout);

    ReadCounts counts;

    // After each run of records. Looks at the clock now and then.
    void step() {
        if (_is_on && (++_steps & 0xF) == 0) _tell();
    }
    void end(); // removes the line

private:
    void _tell();

    const bool _is_on;
    unsigned _steps = 0;
    time_t _last;
    bool _is_shown = false;
};
