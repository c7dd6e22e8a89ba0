// What a program sees of a log, and the words of its interface: result codes, write flags, message numbers.
#pragma once

#include <cstdio>
#include <ctime>

#include "../../i18n/common/i18n_id.h"
#include "../message/severity.h"

inline namespace taq_1 {

class MsgStruct;
class RegDb;
class VList;

// Results of Log::open and Log::set_lang.
enum ulog_result {
    ULOG_OK = 0,
    ULOG_EREGISTERED = 1, // a log of that name is open already, in this process or in another one
    ULOG_ENONAME = 2,     // no name given
    ULOG_EROOT = 5,       // the log root directory does not exist
    ULOG_EFAIL = 7,       // no log directory, or the file could not be opened; set_lang: no such language
    ULOG_ENOMEM = 8,
    ULOG_ENOINIT = 9, // Log::init has not been called
};

// Write flags. The first eight say what a line leaves out; when they are all 0 the log's open flags apply.
inline constexpr int ULOG_NO_NEWLINE = 0x1;
inline constexpr int ULOG_NO_TIME = 0x2;
inline constexpr int ULOG_NO_SEVERITY = 0x4;
inline constexpr int ULOG_NO_UMI = 0x8;
inline constexpr int ULOG_NO_EVENT = 0x10;    // do not report the message to the administrator
inline constexpr int ULOG_SOURCE = 0x20;      // add the source position to application messages too
inline constexpr int ULOG_NO_SOURCE = 0x40;   // never add the source position
inline constexpr int ULOG_NO_MNEMONIC = 0x80; // no mnemonic
inline constexpr int ULOG_LINE_PARTS = 0xFF;  // all of the above
// These are taken from the call alone, never from the open flags.
inline constexpr int ULOG_DEBUG = 0x4000;         // the severity is a debug level; set by write_dbg
inline constexpr int ULOG_HAND_OVER = 0x8000;     // the message (text) becomes the log's, which deletes it
inline constexpr int ULOG_HIDDEN_FILE = 0x10000;  // open flag: the file names begin with "."
inline constexpr int ULOG_ERROR_LOG = 0x20000;    // open flag: marks a log for errors; without effect
inline constexpr int ULOG_FORCE_DEBUG = 0x800000; // write a debug message though its tag is off
inline constexpr int ULOG_MERGE = 0x1000000;      // or the open flags in; also passes in verify mode
inline constexpr int ULOG_BARE_TEXT =
    ULOG_NO_TIME | ULOG_NO_SEVERITY | ULOG_NO_UMI | ULOG_NO_EVENT | ULOG_NO_MNEMONIC;

// Catalogs with a meaning of their own, and the catalog of the command and the platform layer.
inline constexpr int ULOG_CAT_NONE = I18N_CATEGORY_NONE;         // a message without category
inline constexpr int ULOG_CAT_SEVERITY = I18N_CATEGORY_SEVERITY; // messages 0 to 4: the severity words
inline constexpr int ULOG_CAT_LIBRARY = 1;                       // messages of this library
inline constexpr int ULOG_CAT_COMMAND = 25;

// Display flag of display_ldf_entry: records for programs instead of lines for people.
inline constexpr int ULOG_DISPLAY_DELIMITED = 8;

inline constexpr int LOG_MIN_MAXLEN = 65536; // bytes; smallest size at which a file log rotates
inline constexpr int ULOG_MAX_ARGS = 6;      // arguments that a message's text can use

// Message numbers of structures that logs know, beside MSG_LOG_ADD (msg_log_add.h), which brings severity,
// time, object type and identifier itself.
inline constexpr int ULOG_MSG_PLAIN = 0;     // identifier and severity of the call
inline constexpr int ULOG_MSG_TEXT_A = 3332; // these four bring their identifier; the severity is the call's
inline constexpr int ULOG_MSG_TEXT_B = 3335;
inline constexpr int ULOG_MSG_TEXT_C = 3586;
inline constexpr int ULOG_MSG_TEXT_D = 3588;

// One named log of a process; Log.h has the only implementation, and the constructor. The order of the
// functions is fixed: programs built against an earlier library call by slot.
//
// Threads: any number of threads may write, show, and ask or switch debug levels. Logs are opened and deleted
// by one thread at a time, not within the write of a log, and deleted after the last call of other threads.
class ILog {
public:
    // Opens the log under a name that no other open log of the process has (compared ignoring case).
    // fp null: a file log; a name with "/" is refused (ULOG_EFAIL). fp not null: that stream, which stays the
    // caller's and must outlive the log. flags: ULOG_HIDDEN_FILE, and the write flags of messages that bring
    // none. func is not used. Opening anew with another name closes what was open before.
    // ULOG_EREGISTERED, ULOG_ENONAME, ULOG_ENOINIT, and ULOG_EFAIL for the refused name: nothing was changed.
    // ULOG_EREGISTERED also: another process writes the files; the system log says which. Then, and on
    // ULOG_EROOT and ULOG_ENOMEM, the log is closed and the name free. ULOG_EFAIL otherwise: the name stays
    // taken; a log whose directory could not be made drops what is written, one whose file could not be
    // opened tries again with each write.
    virtual int open(const char* namep, FILE* fp, int flags, int (*func)()) = 0;

    // 1 when messages of the level are wanted. Ask before building one.
    virtual int is_enabled(ulog_dbg_lev lev) = 0;
    // Appends the name of each enabled level and a blank to the string in set_dbgtag, size_setdbgtag bytes.
    virtual void get_all_set_dbg_tags(char* set_dbgtag, int size_setdbgtag) = 0;

    // Rotate when the file has reached count bytes; at least LOG_MIN_MAXLEN.
    virtual void set_maxlen(int count) = 0;

    // Debug tags: names of debug levels, with or without "DBG_", in any case. Unknown ones are ignored.
    virtual void reset_debug_tags() = 0; // all off
    virtual void enable_debug(const char* tagp) = 0;
    // Names the process in the system log and prepares the writers of log data files.
    virtual void init_eventlog(const char* modulep) = 0;
    virtual void disable_debug(const char* tagp) = 0;
    virtual void set_flush_debug(const char* tagp) = 0; // flush after each message of the level

    // The cache of the latest LOG_CACHE_MAX application messages (LogCache.h). Off at first.
    virtual void set_cache_enabled() = 0;
    virtual void set_cache_disabled() = 0;             // and empties it
    virtual void set_registry(RegDb* registry_db) = 0; // without effect
    virtual void reset_cache() = 0;                    // empties it
    virtual VList* cache_vlistp() = 0;

    // Path of the current file; null for a log on a given stream.
    virtual char* pathAp() = 0;

    // Language of the texts on standard output and standard error; the first one is settled at open. ULOG_OK,
    // or ULOG_EFAIL with the former language still in use.
    virtual int set_lang(const char* lang) = 0;

    // The same as the debug tags, by level: LOG_DBG_ENABLED, LOG_DBG_FLUSH (LogDebugTags.h).
    virtual void set_debug_flag(int dbg, int flag) = 0;
    virtual void clear_debug_flag(int dbg, int flag) = 0;

    // Writing; MessageSite.h has the usual way. whop and filep (function and source file) are not copied:
    // they must be literals, of code that stays loaded (Log::finish_queue). cat and id are catalog and
    // number; a message that has an identifier of its own (element 23) goes by that.
    //
    // An application message: element 21 is its English text, elements 22 are the arguments for the text in
    // another language. With ULOG_HAND_OVER the message becomes the log's, else it stays the caller's.
    virtual void write_app(ulog_app_sev sev, const char* whop, const char* filep, int line, int flags,
                           int cat, int id, MsgStruct* ipm_msg_in) = 0;
    // A debug text. With ULOG_HAND_OVER it was made with new[] and becomes the log's. Does not ask
    // is_enabled.
    virtual void write_dbg(ulog_dbg_lev lev, const char* whop, const char* filep, int line, int flags,
                           int cat, int id, const char* en_msgp) = 0;
    // Writes at once, on the caller's thread; what the above end in. sev: severity, or with ULOG_DEBUG the
    // debug level. msgp: the debug text. msg_structp: the message, of a type that logs know (ULOG_MSG_PLAIN
    // and so on). Nothing is written while the log is closed or busy, or when an element is missing or out of
    // range.
    virtual void write_log(time_t timet, int sev, const char* whop, const char* filep, int line, int flags,
                           int cat, int id, const char* msgp, MsgStruct* msg_structp) = 0;

    // Shows a record of a log data file: logical severity (Log::logical_sev), text in the user's language,
    // the list's strings as arguments; the list stays the caller's. Writes one line, or with
    // ULOG_DISPLAY_DELIMITED one delimited record; nothing while the log is closed or busy or the severity is
    // outside its scale. The stream is not flushed, write errors are ignored. On a terminal control
    // characters of the arguments are shown as "\x1b" (TerminalText.h).
    virtual void display_ldf_entry(int sev, int obj_tag, time_t time_stamp, int msgcat_id, VList* vlistp,
                                   int flags) = 0;

    // Writes what was queued for the log and flushes; closes the stream of a file log, never a given one.
    virtual ~ILog() = default;
};

// The process's current output log and error log; null until a program sets them. Refer only.
extern ILog* _unified_log_function__;
extern ILog* _unified_logerr_function__;

} // namespace taq_1
