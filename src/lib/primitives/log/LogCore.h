// What a log is made of, and how it opens, writes and shows. Log.h shows programs none of this, so that it
// can change while they need not be compiled again.
#pragma once

#include <atomic>
#include <cstdio>
#include <memory>
#include <span>
#include <typeinfo>

#include "primitives/files/FileIo.h"
#include "primitives/files/NameLock.h"
#include "primitives/log/LdfCopy.h"
#include "primitives/log/Log.h"
#include "primitives/log/LogCache.h"
#include "primitives/log/LogCatalog.h"
#include "primitives/log/LogLine.h"
#include "primitives/log/LogLock.h"
#include "primitives/log/LogLoss.h"
#include "primitives/log/RecordDisplay.h"
#include "primitives/log/TextLogFile.h"
#include "primitives/memory/RawRoom.h"

inline namespace taq_1 {

class PackedMessage;
struct LogCall;
struct LogMessage;

// The class of a log. Null when it was compiled without run-time type information, which the compiler here
// does not expect. Of Log itself there are as many as copies of the library in the process.
inline const std::type_info* class_of(const ILog& log) {
    const std::type_info* type = &typeid(log);
    asm("" : "+r"(type));
    return type;
}

// The inside of one Log, which owns it and calls it.
class LogCore {
public:
    explicit LogCore(Log& log) : _tags(log._tags), _enabled(log._enabled), _log_of_program(log) {}
    LogCore(const LogCore&) = delete;
    LogCore& operator=(const LogCore&) = delete;

    // Writes or queues a message that a site packed.
    static void write_packed(Log& log, const LogCall& call, const PackedMessage& message);

    // Tells what is due, by the thread that writes, when no message may follow.
    void tell_losses();

    // As Log::display_ldf_entry, from views, of which one with null data ends the arguments. The line goes to
    // `out`, which the caller sends to the log's stream; whatever else goes there meanwhile must go through
    // `out` as well. A changed time zone or locale shows with another second.
    static void display(Log& log, const ShownRecord& record, ArgViews args, int flags, LineBuffer& out);

private:
    friend class Log;
    friend class RecordWriter;
    friend struct LogFork;
    void _continue_in_child(bool is_whole);
    bool _is_inherited() const; // by a forked child
    void _release();            // this and the next ones in Log.cpp
    int _open_as(PathText name, FILE* fp, int flags);
    void _open_stream(FILE* fp);
    int _open_file_log();
    int _make_paths();
    int _lock_name(const char* directory, bool hidden);
    bool _on_standard_stream() const { return _fp == stdout || _fp == stderr; }
    // LogWrite.cpp
    void _queue(vlog_msg_t* record);
    bool _accepts(int sev, int flags) const;
    void _log(LogMessage& m, bool may_gather);
    bool _has_stream();
    void _next();
    void _write_message(LogMessage& m, bool gathers);
    void _write_at_once(const LogMessage& m, bool is_recorded);
    bool _put_line(const LogMessage& m, bool is_counted = true);
    void _tell_losses();
    bool _gather(const LogMessage& m, bool is_recorded);
    void _write_gathered();
    // LogDisplay.cpp
    RecordDisplay* _display_for(int sev);
    RecordDisplay* _make_display();
    std::span<char> _line_room();

    LogDebugTags& _tags;
    std::atomic<int>& _enabled; // 1 once opened
    Log& _log_of_program;

    LogLock _lock;                  // held by each call that uses what follows
    unsigned _process = 0;          // QENForkCount() when the log was opened
    FILE* _fp = nullptr;            // given stream, or that of _file; null until the first file is opened
    LogLoss _loss;                  // counted without the lock
    TextLogFile _file{_loss.lines}; // of a file log; counts for a given stream as well
    NameLock _name_lock;            // of a file log
    LdfCopy _copy{_loss.records};   // the records beside the lines
    bool _is_file_log = false;      // else on a given stream
    int _open_flags = 0;
    std::unique_ptr<char[]> _namep;
    LogCache _cache;
    LogCatalog _catalog; // closed unless the stream is a standard one
    LogLine _line{_catalog};
    RawRoom<char> _line_roomp; // for the line in progress; this and the next made when needed
    std::unique_ptr<RecordDisplay> _displayp;
};

} // namespace taq_1
