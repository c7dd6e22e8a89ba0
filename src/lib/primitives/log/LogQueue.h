// The record in which a message travels from its site to the logger thread (LoggerThread.h).
#pragma once

#include <chrono>

#include "primitives/log/LogCall.h"
#include "primitives/log/PackedMessage.h"
#include "primitives/log/RecordPool.h"
#include "primitives/values/DList.h"

inline namespace taq_1 {

class ILog;
class Log;
class MsgStruct;
struct LogMessage;

// A call and what it says: a debug text, a structure, or packed bytes behind the record. Made by the producer
// with new; belongs to the queue, then to the logger thread, which writes and deletes it with what it owns.
struct vlog_msg_t : LogCall {
    vlog_msg_t(ILog* log, const LogCall& call, char* debug_text, MsgStruct* structp)
        : LogCall(call), en_msgp(debug_text), msg_structp(structp), logp(log) {}

    // Made by new (message), which makes room for its bytes behind the record.
    vlog_msg_t(ILog* log, const LogCall& call, const PackedMessage& message)
        : vlog_msg_t(log, call, /*debug_text=*/nullptr, /*structp=*/nullptr) {
        packed_args = message.view().count;
        message.copy_to(packed());
    }
    static void* operator new(size_t size) { return RecordPool::get(size); }
    static void* operator new(size_t size, const PackedMessage& message) {
        return RecordPool::get(size + message.size());
    }
    static void operator delete(void* p) noexcept { RecordPool::release(p); }
    static void operator delete(void* p, const PackedMessage&) noexcept { RecordPool::release(p); }
    char* packed() { return reinterpret_cast<char*>(this + 1); }

    char* en_msgp;          // debug text (new[]), owned, or null
    MsgStruct* msg_structp; // owned, or null
    ILog* logp;             // null: for the system log
    bool is_to_log = false; // logp is a Log of no derived class: no virtual call, which would read what a log
                            // changes at the start of its deletion
    bool only_tells = false; // no message: a Log tells what it has lost (LogTell.cpp)
    int packed_args = -1;    // arguments of the message in packed(); -1: there is none
    DLink link{this};        // in the queue
};
using vlog_msg = vlog_msg_t;

// Writes records to their logs, or to the system log, and deletes them. Those that come one after the other
// for one file log are written together: at most LineBatch::MESSAGES, or those of the time given. A record of
// another destination waits for that.
class RecordWriter {
public:
    using Clock = std::chrono::steady_clock;
    explicit RecordWriter(Clock::duration longest = std::chrono::milliseconds(1)) : _longest(longest) {}
    ~RecordWriter() { flush(); }
    RecordWriter(const RecordWriter&) = delete;
    RecordWriter& operator=(const RecordWriter&) = delete;

    void write(vlog_msg_t* record);
    void flush(); // afterwards all is written

private:
    void _gather(LogMessage& m, Log* log);

    const Clock::duration _longest; // that a message waits for others
    Log* _log = nullptr;            // whose messages wait
    unsigned _count = 0;            // of them
    Clock::time_point _deadline;
};

} // namespace taq_1
