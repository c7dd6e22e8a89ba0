// What a log has lost: counted where a message is dropped, told by the log before the next message that it
// can write (LogTell.cpp).
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <ctime>

#include "primitives/message/severity.h"

enum class LossReason : uint8_t {
    WRITE,    // a write failed: the disk is full
    QUEUE,    // the queue was full
    ROTATION, // the file has no room, and no new one could be made
    SYNC,     // the disk did not confirm that it has the message, which may be there all the same
};
inline constexpr size_t LOSS_REASONS = 4;

// Losses of one medium, the text log or the log data file, by reason and severity.
struct LossCounts {
    static constexpr size_t SEVERITIES = SEV_APP_END + 1; // the last one stands for all debug levels

    time_t since = 0; // when the first message was lost; 0: none was
    std::array<std::array<uint64_t, SEVERITIES>, LOSS_REASONS> by = {};

    uint64_t of(LossReason reason) const;
    uint64_t total() const;
};

// Any thread may call any function.
class LossLedger {
public:
    // One message of a logical severity (MessageBuilder::logical_sev) is lost. Calls nobody, takes no lock.
    void note(LossReason reason, int logical_sev);

    // Whether there is something to tell. One load.
    bool is_due() const { return _since.load(std::memory_order_relaxed) != 0; }

    // All losses that were not taken before; the caller tells them, or puts them back.
    LossCounts take();
    void put_back(const LossCounts& untold);

    uint64_t total() const { return _total.load(std::memory_order_relaxed); } // told or not

private:
    std::atomic<uint64_t> _counts[LOSS_REASONS][LossCounts::SEVERITIES] = {};
    std::atomic<int64_t> _since{0}; // of the first loss that is not told; 0: there is none
    std::atomic<uint64_t> _total{0};
};

// Of one log. A line and a record are counted apart, each where it is missing: the text log tells how many
// lines it lacks, the log data file how many records. So a message without line and record counts in both.
//
// Any thread may call note() and the totals; take() and put_back() belong to the log, under its lock.
class LogLoss {
public:
    // A message of which nothing was written: a line is lost, and a record unless it is a debug message.
    void note(LossReason reason, int logical_sev);

    uint64_t lines_lost() const { return lines.total(); }
    uint64_t records_lost() const { return records.total(); }

    bool is_due() const { return lines.is_due() || records.is_due(); }

    LossLedger lines;
    LossLedger records;
};
