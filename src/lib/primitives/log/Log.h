// The log: one destination of messages, and the process-wide state that all logs share.
#pragma once

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "primitives/files/NameLock.h"
#include "primitives/ldf/LdfWriter.h"
#include "primitives/log/ILog.h"
#include "primitives/log/LocalTimeText.h"
#include "primitives/log/LogCatalog.h"
#include "primitives/log/LogLock.h"
#include "primitives/log/LogText.h"
#include "primitives/log/LoggerThread.h"
#include "primitives/log/TextLogFile.h"
#include "primitives/memory/Pooled.h"
#include "primitives/utils/QENVaList.h"

class DList;
class FFDC;
class LineBuffer;
class NVList;
class PackedMessage;
class RecordDisplay;
class VElem;
struct LogMessage;
struct ShownRecord;
struct vlog_msg_t;

inline constexpr int LOG_DEFAULT_MAXLEN = 33554432; // bytes at which a text log is rotated
inline constexpr int LOG_MIN_MAXLEN = 65536;
inline constexpr int LOG_CACHE_MAX = 1024;    // messages kept by a log's cache
inline constexpr size_t LOG_TEXT_SIZE = 4096; // room for one composed text, NUL included

// Bits of a debug level's flag word.
inline constexpr int LOG_DBG_ENABLED = 1;
inline constexpr int LOG_DBG_FLUSH = 2; // flush the stream after each message of the level

// A file log writes root/log/<name>_A.log, with _B and _C as the two generations before, and a copy of each
// application message as a record of the log data file of the same name. A log on a given stream (standard
// output, say) writes there only; on standard output and standard error in the user's language.
//
//     Log::init("QEN", "K-16", nullptr);
//     auto* log = new Log;
//     if (log->open("engine", /*fp=*/nullptr, /*flags=*/0, nullptr) != ULOG_OK) ...
//
// Threads: any number of threads may write to a log. Without the logger thread each call waits for the one in
// progress. After start_logger a call appends to a queue and returns, and one thread writes. Either way the
// messages of a thread keep their order. A message that is logged from within the write of the same log, by a
// stream of the program's for instance, is dropped. Debug levels and first-failure capture may be switched
// and asked at any time. init and destroy are called while no other thread logs. Logs are opened and deleted
// by one thread at a time, not within the write of a log, and a log is deleted after the last call of other
// threads.
//
// The end: what was queued is written before a log is deleted and when the program calls exit; not before
// _exit or a fatal signal. A class derived from Log that overrides write_log is deleted after stop_logger.
//
// Forks: a forked child has no logger thread until it starts one, and the parent's queue is the parent's. The
// child may write to the logs that it inherits: lines are appended to the current file, but no record is
// written and nothing is rotated. For a log of its own it opens another name. A log that a thread of the
// parent had been writing to for more than a second at the fork is closed in the child.
//
// Logging never stops the program: what cannot be written is dropped.
class Log : public ILog, public Pooled<MEM_LOG> {
public:
    // --- The process ---

    // Creates the registry of logs and stores copies of the mnemonic that starts every line ("QEN" when
    // null) and of the originator of message identifiers ("K-16" when null). modulep: identity for the
    // system log, null for the program's name. May be called again to change them.
    static void init(const char* mnemp, const char* origIDp, const char* modulep);

    // Deletes what init made and the first-failure capture object. Logs that still live can be deleted.
    static void destroy();

    // Verify mode drops every application message that does not carry ULOG_MERGE, and all admin messages.
    static std::atomic<bool> _verify_mode;

    // --- The log ---

    // Reads TAQ_ENABLE_LDF, TAQ_DEBUG_LOG_TAGS and QEN_LOG_MAXLEN.
    Log();
    // Flushes; closes the stream of a file log, never a given one.
    ~Log() override;
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    // Opens the log under a name that no other open log of the process has (compared ignoring case).
    // fp null: a file log; a name with "/" is refused (ULOG_EFAIL). fp not null: that stream, which stays the
    // caller's and must outlive the log. flags: ULOG_HIDDEN_FILE, and the write flags of messages that bring
    // none. func is not used. Opening anew with another name closes what was open before.
    // ULOG_EREGISTERED, ULOG_ENONAME, ULOG_ENOINIT, and ULOG_EFAIL for the refused name: nothing was changed.
    // ULOG_EREGISTERED also: another process writes the files; the system log says which. Then, and on
    // ULOG_EROOT and ULOG_ENOMEM, the log is closed and the name free. ULOG_EFAIL otherwise: the name stays
    // taken; a log whose directory could not be made drops what is written, one whose file could not be
    // opened tries again with each write.
    int open(const char* namep, FILE* fp, int flags, int (*func)()) override;

    // Path of the current file; null for a log on a given stream.
    char* pathAp() override { return _file.path(); }

    // Stored without effect.
    void set_registry(RegDb* registry_db) override { _reg_db = registry_db; }

    // Rotate when the file has reached count bytes; at least LOG_MIN_MAXLEN.
    void set_maxlen(int count) override;

    // Lets the next write of a file log start a new file.
    void rotate();

    // Language of the texts on standard output and standard error; the first one is settled at open. ULOG_OK
    // or ULOG_EFAIL, with the former language still in use.
    int set_lang(const char* lang) override;

    // QENInitEventLog and LdfWriter::init.
    void init_eventlog(const char* modulep) override;

    // --- Debug tags: names of debug levels, with or without "DBG_", in any case. Unknown ones are ignored.

    static int get_dbgtag_ndx(const char* tagp); // the level, or -1
    void enable_debug(const char* tagp) override;
    void disable_debug(const char* tagp) override;
    void set_flush_debug(const char* tagp) override;
    void clear_flush_debug(const char* tagp);
    void set_debug_flag(int dbg, int flag) override; // LOG_DBG_ENABLED, LOG_DBG_FLUSH
    void clear_debug_flag(int dbg, int flag) override;
    void reset_debug_tags() override;

    // 1 when messages of the level are wanted. Ask before building one: the answer "no" costs a few
    // instructions.
    int is_enabled(ulog_dbg_lev lev) final {
        const auto ndx = static_cast<unsigned>(lev);
        return ndx < DBG_LEV_END && _enabled.load(std::memory_order_relaxed) != 0 &&
               (_debug[ndx].load(std::memory_order_relaxed) & LOG_DBG_ENABLED) != 0;
    }

    // Appends the name of each enabled level and a blank to the string in set_dbgtag, size_setdbgtag bytes.
    void get_all_set_dbg_tags(char* set_dbgtag, int size_setdbgtag) override;

    // --- Writing. whop and filep (function and source file) are not copied: they must be literals. cat and
    // id are catalog and number; a message that has an identifier of its own (element 23) goes by that.

    // An application message: element 21 is its English text, elements 22 are the arguments for the text in
    // another language. With ULOG_HAND_OVER the message becomes the log's, else it stays the caller's.
    void write_app(ulog_app_sev sev, const char* whop, const char* filep, int line, int flags, int cat,
                   int id, MsgStruct* ipm_msg_in) override;

    // As write_app with the message's structure, which is built only when something asks for it.
    void write_packed(ulog_app_sev sev, const char* whop, const char* filep, int line, int flags, int cat,
                      int id, const PackedMessage& message);

    // A debug text. With ULOG_HAND_OVER it was made with new[] and becomes the log's. Does not ask
    // is_enabled.
    void write_dbg(ulog_dbg_lev lev, const char* whop, const char* filep, int line, int flags, int cat,
                   int id, const char* en_msgp) override;

    // As write_app, from a text and up to six arguments, which end at the first null one.
    void write_buf(const char* whop, const char* filep, int line, int sev, int flags, int cat, int id,
                   const char* buffer, const char* arg1 = nullptr, const char* arg2 = nullptr,
                   const char* arg3 = nullptr, const char* arg4 = nullptr, const char* arg5 = nullptr,
                   const char* arg6 = nullptr);

    // Writes at once, on the caller's thread; what the above end in. sev: severity, or with ULOG_DEBUG the
    // debug level. msgp: the debug text. msg_structp: the message, of a type that logs know:
    // 0, 2056 (which carries severity, time and object type itself), 3332, 3335, 3586 or 3588.
    // Nothing is written while the log is closed or busy, or when an element is missing or out of range.
    void write_log(time_t timet, int sev, const char* whop, const char* filep, int line, int flags, int cat,
                   int id, const char* msgp, MsgStruct* msg_structp) override;

    // --- Messages for the administrator, in the system log.

    // Writes element 21. Takes the message over.
    static void admin_msg(int sev, const char* whop, const char* filep, int line, int cat, int id,
                          MsgStruct* msg_structp);
    // The same at once, on the caller's thread; the message stays the caller's.
    static void write_admin(time_t timet, int sev, const char* whop, const char* filep, int line, int cat,
                            int id, const MsgStruct* msgp);

    // Facility of these messages, the system log's value times 256; 0 at first.
    static void set_adminlog_facility(int facility);
    static int get_adminlog_facility();
    // The code of "LOG_LOCAL0" to "LOG_LOCAL7" in any case; 0 for null and "", -1 for any other name.
    static int verify_facility(const char* facility);

    // --- The cache of the latest LOG_CACHE_MAX application messages, of type 2056, oldest first.

    void set_cache_enabled() override { _cache_enabled = true; }
    void set_cache_disabled() override;
    void reset_cache() override; // empties it
    VList* cache_vlistp() override { return _cache_vlistp.get(); }
    void notify_add(MsgStruct*) {} // called after each addition; a place for a breakpoint

    // --- Showing records of log data files. Severity logical_sev; text in the user's language. Writes one
    // line, or with ULOG_DISPLAY_DELIMITED one delimited record; nothing while the log is closed or busy or
    // the severity is outside its scale. The stream is not flushed, write errors are ignored. On a terminal
    // control characters of the arguments are shown as "\x1b" (TerminalText.h).

    // The arguments are the list's strings; the list stays the caller's.
    void display_ldf_entry(int sev, int obj_tag, time_t time_stamp, int msgcat_id, VList* vlistp,
                           int flags) override;

    // The same without a list: argc views, which need no NUL and hold none; one with null data ends them, as
    // a null pointer would. The line goes to `out`, which the caller sends to the log's stream: many lines
    // leave together. Whatever else goes to that stream meanwhile must go through `out` as well. A changed
    // time zone or locale shows with the next record of another second.
    void display_ldf_record(int sev, int obj_tag, time_t time_stamp, uint32_t msgcat_id,
                            const std::string_view* argv, size_t argc, int flags, LineBuffer& out);

    // --- Composition ---

    // "K-16-25-30001 ", or "K-16-30001 " for ULOG_CAT_NONE, cut to bufsize bytes with its NUL. Returns the
    // uncut length.
    static int create_umi(char* buffer, int bufsize, int catID, int msgID);

    // Names of severities and levels; the empty string outside their scales.
    static const char* app_sev_name(ulog_app_sev sev) { return ulog_app_sev_name(sev); }
    static const char* dbg_lev_name(ulog_dbg_lev lev) { return ulog_dbg_lev_name(lev); }
    // The word for a severity in the log's language, valid until set_lang or open; "" outside 0 to 4.
    const char* get_sev(ulog_app_sev sev);

    // One scale for both, 0 to 57: what records of log data files carry.
    static constexpr int logical_sev(ulog_app_sev sev) { return sev; }
    static constexpr int logical_sev(ulog_dbg_lev lev) { return static_cast<int>(lev) + SEV_APP_END; }
    // The logical severity of a tag 'A' to 'Z'; SEV_INFO for any other character.
    static constexpr int log_tag_to_sev(char tag) { return tag >= 'A' && tag <= 'Z' ? tag - 'A' : SEV_INFO; }

    // Appends the arguments up to the first null one, a blank before each, to the string in bufferp of
    // bufsize bytes (at most LOG_TEXT_SIZE). When they do not fit, all are cut to the same share, "..."
    // marking each cut. A null bufferp is fatal.
    void _mk_msg_buffer(char* bufferp, int bufsize, const char* arg1, const char* arg2, const char* arg3,
                        const char* arg4, const char* arg5, const char* arg6);
    // Writes the text that stands for a message which no catalog has, with the arguments, cut in that way.
    void _mk_badID_msg(const char* umi_buf, char* bufferp, int bufsize, const char* arg1, const char* arg2,
                       const char* arg3, const char* arg4, const char* arg5, const char* arg6);

    // A new message, the caller's, with the formatted text (at most 4,095 bytes) as element 21 and its
    // arguments as elements 22. For the conversions see PackedMessage.h.
    static MsgStruct* process_args(const char* fmtp, ...) __attribute__((format(printf, 1, 2)));
    static MsgStruct* process_va_args(const char* fmtp, QENVaList& args);
    // The formatted text (at most 4,095 bytes) in a new array, which the caller frees with delete[].
    static char* process_dbg_args(const char* fmtp, ...) __attribute__((format(printf, 1, 2)));
    static char* process_va_dbg_args(const char* fmtp, QENVaList& args);

    // Adds to ipm_msg, or to a new message, and returns: the formatted text (with dosprintf 0 the format
    // itself) as element 21, the identifier as 23, err_msg (-1 for none) as 9, and the arguments as 22.
    static MsgStruct* mk_log_msg_vararg_msgstruct(int cat, int id, int err_msg, int dosprintf,
                                                  const char* fmtp, QENVaList& args, MsgStruct* ipm_msg);
    static MsgStruct* mk_log_msg_vararg_msgstruct(int cat, int id, int dosprintf, const char* fmtp,
                                                  QENVaList& args, MsgStruct* ipm_msg);
    static MsgStruct* mk_log_msg_msgstruct(MsgStruct* ipm_msg, int cat, int id, const char* fmtp, ...)
        __attribute__((format(printf, 4, 5)));
    static MsgStruct* mk_log_msg_msgstruct(int cat, int id, const char* fmtp, ...)
        __attribute__((format(printf, 3, 4)));

    // --- The logger thread; see LoggerThread.h. A program that uses first-failure capture registers its main
    // thread before: see register_for_ffdc.

    static void start_logger() { logger_thread().start(); }
    // Returns when everything that was queued has been written and the thread has ended. Producers that come
    // meanwhile wait for that and then write by themselves. start_logger may be called again.
    static void stop_logger() { logger_thread().stop(); }
    static bool run_thread() { return LoggerThread::is_running(); }

    // Appends a record, which the queue owns from now on.
    static void enq(vlog_msg_t* msgp) { logger_thread().append(msgp); }
    // Takes all records, in order; the caller deletes list and records. Null when there are none within ms
    // milliseconds; ms negative waits until there is one.
    static DList* deq(int ms) { return logger_thread().take(ms); }

    // --- First-failure capture. Off until enable_ffdc.

    static bool is_ffdc_enabled() { return _enable_ffdc.load(std::memory_order_relaxed); }
    static void enable_ffdc() { _enable_ffdc.store(true, std::memory_order_relaxed); }
    static void disable_ffdc() { _enable_ffdc.store(false, std::memory_order_relaxed); }

    // The calling thread captures from now on into the ring of its role (FFDCRoleT; 7 in dump_ffdc: all).
    // The first call makes the capture object: module names the dump files, logdir holds them. Later calls
    // ignore both. The logger thread registers too, with neither, so register the main thread before
    // start_logger(): else dumps land in the current directory.
    static void register_for_ffdc(int role, const char* module, const char* logdir, char print_seqno);
    static void unregister_for_ffdc();
    // sig_handler: the call comes from a signal handler. When that returns, capture and later dumps go on.
    static void dump_ffdc(int role, bool sig_handler);
    // For the handler of a fatal signal: ends capturing and dumps all roles.
    static void dump_ffdc_and_stop();
    // Offers a message to the capture: its text, or element 21. The message stays the caller's.
    static void write_ffdc(int sev, const char* whop, const char* filep, int line, int flags, int cat, int id,
                           const char* msgp);
    static void write_ffdc(int sev, const char* whop, const char* filep, int line, int flags, int cat, int id,
                           const MsgStruct* msgp);

private:
    friend Log* Log_obj(const char* name);
    friend void write_record(vlog_msg_t* record); // LogQueue.cpp
    friend struct LogFork;                        // LogFork.cpp
    friend class RecordDisplay;

    // LogInit.cpp
    static void _set_identity(const char* mnemp, const char* origIDp);
    static std::string_view _mnemonic() { return {_mnemp, static_cast<size_t>(_mnem_len)}; }
    static std::string_view _originator() { return {_origIDp, _origID_len}; }

    // Log.cpp
    void _release();
    int _open_as(PathText name, FILE* fp, int flags);
    void _open_stream(FILE* fp);
    int _open_file_log();
    int _make_paths();
    int _lock_name(const char* directory, bool hidden);
    void _open_ldf();
    bool _on_standard_stream() const { return _fp == stdout || _fp == stderr; }

    // LogFile.cpp
    bool _has_stream();
    void _next();

    // LogClassify.cpp
    bool _classify(LogMessage& m);
    bool _classify_plain(LogMessage& m);
    bool _classify_log_add(LogMessage& m);
    bool _classify_identified(LogMessage& m);
    int _line_flags(int flags) const;
    bool _has_debug_flag(int level, int flag) const;

    // LogWrite.cpp
    bool _accepts(int sev, int flags) const;
    void _log(LogMessage& m);
    void _write_message(LogMessage& m);
    bool _flushes(const LogMessage& m) const;
    void _write_line(const LogMessage& m);
    void _put_text(const LogMessage& m, LineBuffer& line);
    void _put_head(const LogMessage& m, LineBuffer& line);
    void _put_severity(const LogMessage& m, LineBuffer& line);
    bool _put_localized(const LogMessage& m, LineBuffer& line);
    static void _put_source(const LogMessage& m, LineBuffer& line);
    void _copy_to_ldf(const LogMessage& m);

    // LogCache.cpp
    void _cache_add(LogMessage& m, int16_t args_id);

    // LogDisplay.cpp
    bool _may_show(int sev);
    RecordDisplay& _shown();
    [[gnu::noinline]] void _show_fields(const ShownRecord& record, ArgViews args, VList* listp,
                                        LineBuffer& out);
    std::span<char> _line_room();

    // LogAdmin.cpp: what the platform layer calls through its table of hooks.
    static void _install_hooks();
    static void _remove_hooks();

    // Whether a message is queued: while the logger thread runs, unless it would be dropped as a nested one.
    bool _is_queued() const { return LoggerThread::is_on() && !_lock.is_mine(); }

    void _queue(vlog_msg_t* record); // LogQueue.cpp

    // LogFork.cpp
    void _continue_in_child(bool is_whole);
    bool _is_inherited() const; // by a forked child

    // LogFFDC.cpp
    static void _capture(int sev, const char* whop, const char* filep, int line, int flags, int cat, int id,
                         std::string_view text);
    static void _delete_ffdc();
    static void _ffdc_before_fork();
    static void _ffdc_after_fork(bool in_child);

    static constexpr char LOG_DEFAULT_MNEMONIC[] = "QEN";
    static constexpr char LOG_DEFAULT_ORIGINATOR[] = "K-16";

    LogLock _lock;         // held by each call that uses what follows
    unsigned _process = 0; // QENForkCount() when the log was opened
    FILE* _fp = nullptr;   // given stream, or that of _file; null until the first file is opened
    TextLogFile _file;     // of a file log; counts for a given stream as well
    NameLock _name_lock;   // of a file log
    std::unique_ptr<char[]> _namep;
    RegDb* _reg_db = nullptr;                              // refers only
    std::unique_ptr<VList> _cache_vlistp;                  // MsgStruct elements, owned by the list
    std::unique_ptr<LdfWriter> _ldfp;                      // null when no copy is written
    std::array<std::atomic<int>, DBG_LEV_END> _debug = {}; // flag word per debug level
    std::atomic<int> _enabled{0};                          // 1 once opened
    int _rewind_flag = 0;                                  // 0 for a file log, 1 for a given stream
    int _rewindallowed = 0;                                // 1 for a file log
    int _open_flags = 0;
    int _fp_specified = 0;     // 1 when open was given a stream
    bool _on_terminal = false; // asked at open
    bool _ldf_enabled = false;
    bool _cache_enabled = false;

    char _stamp_room[32];
    LocalTimeText _stamp{"%Y-%m-%d %H:%M:%S ", _stamp_room}; // of written lines
    LogCatalog _catalog;                                     // closed unless the stream is a standard one
    std::unique_ptr<char[]> _line_roomp;      // for the line in progress, made for the first one
    std::unique_ptr<RecordDisplay> _displayp; // made for the first record that is shown

    static unsigned _identity; // changes with the two that follow
    static const char* _mnemp; // owned by init unless it is the default
    static int _mnem_len;
    static const char* _origIDp; // likewise
    static size_t _origID_len;
    static NVList* _log_nvlistp; // name to Log (as a pointer); null before init
    static std::atomic<int> _syslog_facility;
    static std::atomic<bool> _enable_ffdc;
    static std::atomic<FFDC*> _ffdc_instance; // owned; null until the first registration
};

// The open log of that name, or null.
Log* Log_obj(const char* name);
