// What a log has lost: counted where a message is dropped, told by the log in front of the next message that
// it can write (LogTell.cpp).
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <ctime>

#include "../message/severity.h"

inline namespace taq_1 {

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
    using OfReason = std::array<uint64_t, SEVERITIES>;

    time_t since = 0; // when the first message was lost; 0: none was
    std::array<OfReason, LOSS_REASONS> by = {};

    const OfReason& of(LossReason reason) const { return by[static_cast<size_t>(reason)]; }
    uint64_t total() const;
};

// Counts until they are told. Any thread may call any function; told() one at a time.
class LossLedger {
public:
    // One message of a logical severity (MessageBuilder::logical_sev) is lost. Calls nobody, takes no lock.
    void note(LossReason reason, int logical_sev);

    bool is_due() const { return _since.load(std::memory_order_relaxed) != 0; } // there is something to tell
    LossCounts due() const;

    // These counts have been told. is_all: they are all that was due before, so what is left came since.
    void told(const LossCounts& counts, bool is_all);

    uint64_t total() const { return _total.load(std::memory_order_relaxed); } // told or not

private:
    using Count = std::atomic<uint64_t>;
    std::array<std::array<Count, LossCounts::SEVERITIES>, LOSS_REASONS> _counts = {};
    std::atomic<int64_t> _since{0}; // of the first loss that is not told; 0: nothing is due
    Count _total{0};
};

// What a program hears. is_told false: messages are being lost; it hears that once until they are told.
// is_told true: the log has told these losses. The listener is called by the thread that writes, which is the
// logger thread in logger mode, while the log is locked. So it returns soon, opens, closes and deletes no
// log, and what it writes to this log is dropped. It may write to another log, make room on the disk, or wake
// a thread.
struct LossNews {
    bool is_told;
    LossCounts lines;
    LossCounts records;
};
using LossListener = void (*)(const LossNews& news, void* context);

// Of one log. A line and a record are counted apart, each where it is missing: the text log tells how many
// lines it lacks, the log data file how many records. So a message without line and record counts in both,
// and every message is either in a file or in a count that the file tells. On a given stream only lines count
// that a full queue cost; records count while the log has a log data file. Not lost is a message that the log
// never takes: from within a write of the same log, of a level that is off, or, as a record, from a forked
// child.
//
// Any thread may call note(), lines_lost() and records_lost(). The rest is the log's, under its lock.
class LogLoss {
public:
    // A message of which nothing was written: its line is lost, and its record unless it is a debug message.
    void note(LossReason reason, int logical_sev);

    // Since the log was made.
    uint64_t lines_lost() const { return lines.total(); }
    uint64_t records_lost() const { return records.total(); }

    bool is_due() const { return lines.is_due() || records.is_due(); }
    // Whether the losses should be told now. Those of a queue that stays full: once a second.
    bool wants_telling() const;
    void forget(); // what is due belongs to another log: it was opened anew, or is that of a parent

    void listen(LossListener listener, void* context);
    void announce();                       // that messages are being lost, if nobody has heard it yet
    void announce_told(const LossNews& n); // and starts over when nothing is due any more

    LossLedger lines;
    LossLedger records;

private:
    LossListener _listener = nullptr;
    void* _context = nullptr;
    bool _is_announced = false;
    time_t _told_at = 0;
};

} // namespace taq_1
