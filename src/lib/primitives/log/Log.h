// The log: one destination of messages, under the names that programs use. The headers that are named beside
// the operations describe them, and so does the manual: taq-log, taq-message, taq-logger and taq-capture (3).
// Those of MessageBuilder are inherited.
#pragma once

#include <atomic>
#include <memory>

#include "../memory/Pooled.h"
#include "ILog.h"
#include "LogDebugTags.h"
#include "LogLoss.h"
#include "MessageBuilder.h"

inline namespace taq_1 {

class DList;
class LogCore;
struct vlog_msg_t;

// A file log writes root/log/<name>_A.log, with _B and _C as the two generations before, and a copy of each
// application message as a record of the log data file of the same name. A log on a given stream (standard
// output, say) writes there only; on standard output and standard error in the user's language.
//     Log::init("QEN", "K-16", nullptr);
//     auto* log = new Log;
//     if (log->open("engine", /*fp=*/nullptr, /*flags=*/0, nullptr) != ULOG_OK) ...
//
// Threads: without the logger thread each write waits for the one in progress, and a message is in the files
// when its call returns. After start_logger a call queues its message, and one thread writes, up to 64
// together (LoggerThread.h). The messages of a thread keep their order. One from within the write of the same
// log, by a stream of the program's, is dropped.
//
// The end: what was queued is written before a log is deleted and when a thread calls exit: LoggerThread.h. A
// class derived from Log that overrides write_log is deleted after stop_logger.
//
// Forks: a child appends lines to the logs that it inherits and writes no records: LogFork.h.
// Logging never stops the program. What cannot be written is dropped, counted and told: LogLoss.h.
class Log : public ILog, public MessageBuilder, public Pooled<MEM_LOG> {
public:
    // --- The process: LogIdentity.h. init also names the process in the system log: modulep, or null for the
    // program's name. destroy also deletes what capture and LdfWriter hold. No other thread logs meanwhile.
    static void init(const char* mnemp, const char* origIDp, const char* modulep);
    static void destroy();
    static std::atomic<bool>& _verify_mode;

    // --- One log: ILog.h. The constructor reads TAQ_ENABLE_LDF, TAQ_DEBUG_LOG_TAGS and QEN_LOG_*.
    Log();
    ~Log() override;
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;
    int open(const char* namep, FILE* fp, int flags, int (*func)()) override;
    char* pathAp() override;
    void set_registry(RegDb*) override {}
    void set_maxlen(int count) override;
    void rotate(); // lets the next write of a file log start a new file
    int set_lang(const char* lang) override;
    // The word for a severity in the log's language, valid until set_lang or open; "" outside 0 to 4.
    const char* get_sev(ulog_app_sev sev);
    void init_eventlog(const char* modulep) override;

    // --- Debug tags: LogDebugTags.h.
    static int get_dbgtag_ndx(const char* tagp) { return LogDebugTags::level_of(tagp); }
    void enable_debug(const char* tagp) override { _tags.set(get_dbgtag_ndx(tagp), LOG_DBG_ENABLED); }
    void disable_debug(const char* tagp) override { _tags.clear(get_dbgtag_ndx(tagp), LOG_DBG_ENABLED); }
    void set_flush_debug(const char* tagp) override { _tags.set(get_dbgtag_ndx(tagp), LOG_DBG_FLUSH); }
    void clear_flush_debug(const char* tagp) { _tags.clear(get_dbgtag_ndx(tagp), LOG_DBG_FLUSH); }
    void set_debug_flag(int dbg, int flag) override { _tags.set(dbg, flag); }
    void clear_debug_flag(int dbg, int flag) override { _tags.clear(dbg, flag); }
    void reset_debug_tags() override { _tags.reset(); }
    int is_enabled(ulog_dbg_lev lev) final { // a level that is off costs a few instructions
        return _enabled.load(std::memory_order_relaxed) != 0 && _tags.has(lev, LOG_DBG_ENABLED);
    }
    void get_all_set_dbg_tags(char* set_dbgtag, int size_setdbgtag) override;

    // --- Writing: ILog.h. write_buf: as write_app, from a text and arguments up to the first null one.
    void write_app(ulog_app_sev sev, const char* whop, const char* filep, int line, int flags, int cat,
                   int id, MsgStruct* ipm_msg_in) override;
    void write_dbg(ulog_dbg_lev lev, const char* whop, const char* filep, int line, int flags, int cat,
                   int id, const char* en_msgp) override;
    void write_buf(const char* whop, const char* filep, int line, int sev, int flags, int cat, int id,
                   const char* buffer, const char* arg1 = nullptr, const char* arg2 = nullptr,
                   const char* arg3 = nullptr, const char* arg4 = nullptr, const char* arg5 = nullptr,
                   const char* arg6 = nullptr);
    void write_log(time_t timet, int sev, const char* whop, const char* filep, int line, int flags, int cat,
                   int id, const char* msgp, MsgStruct* msg_structp) override;

    // --- Lost messages, and what their listener may do: LogLoss.h. A null listener: none.
    const LogLoss& losses() const;
    void on_loss(LossListener listener, void* context);

    // --- Messages for the administrator: LogAdmin.h. admin_msg takes the message over.
    static void admin_msg(int sev, const char* whop, const char* filep, int line, int cat, int id,
                          MsgStruct* msg_structp);
    static void write_admin(time_t timet, int sev, const char* whop, const char* filep, int line, int cat,
                            int id, const MsgStruct* msgp);
    static void set_adminlog_facility(int facility);
    static int get_adminlog_facility();
    static int verify_facility(const char* facility);

    // --- The cache: LogCache.h. notify_add is called after each addition; a place for a breakpoint.
    void set_cache_enabled() override;
    void set_cache_disabled() override;
    void reset_cache() override;
    VList* cache_vlistp() override;
    void notify_add(MsgStruct*) {}

    // --- Showing records: ILog.h.
    void display_ldf_entry(int sev, int obj_tag, time_t time_stamp, int msgcat_id, VList* vlistp,
                           int flags) override;

    // --- The logger thread and its queue: LoggerThread.h. Start it after the main thread captures.
    // finish_queue returns when all that was queued before has been written: before a plugin that has logged
    // is unloaded, whose texts the queue refers to.
    static void start_logger();
    static void stop_logger();
    static void finish_queue();
    static bool run_thread();
    static void enq(vlog_msg_t* msgp);
    static DList* deq(int ms);

    // --- First-failure capture: Capture.h. Off until enable_ffdc.
    static bool is_ffdc_enabled();
    static void enable_ffdc();
    static void disable_ffdc();
    static void register_for_ffdc(int role, const char* module, const char* logdir, char print_seqno);
    static void unregister_for_ffdc();
    static void dump_ffdc(int role, bool sig_handler);
    static void write_ffdc(int sev, const char* whop, const char* filep, int line, int flags, int cat, int id,
                           const char* msgp);
    static void write_ffdc(int sev, const char* whop, const char* filep, int line, int flags, int cat, int id,
                           const MsgStruct* msgp);

private:
    friend class LogCore;
    friend class RecordWriter;
    friend struct LogFork;
    bool _is_queued() const;

    LogDebugTags _tags;           // needs no lock
    std::atomic<int> _enabled{0}; // 1 once opened
    const std::unique_ptr<LogCore> _core;
};

Log* Log_obj(const char* name); // the open log of that name, or null

} // namespace taq_1
