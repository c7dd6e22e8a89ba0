// What a program sees of a log, and the words of its interface: result codes, write flags, message numbers.
#pragma once

#include <cstdio>
#include <ctime>

#include "i18n/common/i18n_id.h"
#include "primitives/message/severity.h"

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

inline constexpr int ULOG_MAX_ARGS = 6; // arguments that a message's text can use

// Message numbers of structures that logs know, beside MSG_LOG_ADD (msg_log_add.h), which brings severity,
// time, object type and identifier itself.
inline constexpr int ULOG_MSG_PLAIN = 0;     // identifier and severity of the call
inline constexpr int ULOG_MSG_TEXT_A = 3332; // these four bring their identifier; the severity is the call's
inline constexpr int ULOG_MSG_TEXT_B = 3335;
inline constexpr int ULOG_MSG_TEXT_C = 3586;
inline constexpr int ULOG_MSG_TEXT_D = 3588;

// One named log of a process. Log.h has the only implementation and describes each operation. The order is
// fixed: programs built against an earlier library call by slot.
class ILog {
public:
    virtual int open(const char* namep, FILE* fp, int flags, int (*func)()) = 0;
    virtual int is_enabled(ulog_dbg_lev lev) = 0;
    virtual void get_all_set_dbg_tags(char* set_dbgtag, int size_setdbgtag) = 0;
    virtual void set_maxlen(int count) = 0;
    virtual void reset_debug_tags() = 0;
    virtual void enable_debug(const char* tagp) = 0;
    virtual void init_eventlog(const char* modulep) = 0;
    virtual void disable_debug(const char* tagp) = 0;
    virtual void set_flush_debug(const char* tagp) = 0;
    virtual void set_cache_enabled() = 0;
    virtual void set_cache_disabled() = 0;
    virtual void set_registry(RegDb* registry_db) = 0;
    virtual void reset_cache() = 0;
    virtual VList* cache_vlistp() = 0;
    virtual char* pathAp() = 0;
    virtual int set_lang(const char* lang) = 0;
    virtual void set_debug_flag(int dbg, int flag) = 0;
    virtual void clear_debug_flag(int dbg, int flag) = 0;
    virtual void write_app(ulog_app_sev sev, const char* whop, const char* filep, int line, int flags,
                           int cat, int id, MsgStruct* ipm_msg_in) = 0;
    virtual void write_dbg(ulog_dbg_lev lev, const char* whop, const char* filep, int line, int flags,
                           int cat, int id, const char* en_msgp) = 0;
    virtual void write_log(time_t timet, int sev, const char* whop, const char* filep, int line, int flags,
                           int cat, int id, const char* msgp, MsgStruct* msg_structp) = 0;
    virtual void display_ldf_entry(int sev, int obj_tag, time_t time_stamp, int msgcat_id, VList* vlistp,
                                   int flags) = 0;
    virtual ~ILog() = default;
};

// The process's current output log and error log; null until a program sets them. Refer only.
extern ILog* _unified_log_function__;
extern ILog* _unified_logerr_function__;
