// Files, environment, system log, identity of process and host, time and signals. Results are 0, -1 or null
// as noted, with errno as the C library left it; nothing here prints. Any thread may call any function.
#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

inline namespace taq_1 {

class MsgStruct;

// ---- Files and directories. A null path fails as a missing one does.

int QENCheckDir(const char* namep); // 1: a directory, or a link to one; 0: anything else or nothing

// Size in bytes; a larger file gives 2147483647, so that it is never taken for a short one. -1: null, or no
// such file.
int32_t QENGetFileSize(const char* namep);

// A size or offset as the 32-bit value that file formats hold; 2147483647 when it does not fit.
constexpr int32_t QENSaturatedFileSize(off_t size) {
    return size > INT32_MAX ? INT32_MAX : static_cast<int32_t>(size);
}

// Whether the descriptor is open on the file of that name.
bool QENIsSameFile(int fd, const char* namep);

// Removes a file or an empty directory: 0, or -1 and errno in *lperror when lperror is given.
int QENDeleteFile(const char* name, int* lperror = nullptr);

// Creates the directory and its missing parents by "mkdir -p" in a child process, and waits for it. 0: the
// child ran, whatever became of its work (ask QENCheckDir); -1: it could not be started or waited for.
int QENMakeDir(const char* namep);

// The last part of the path, as POSIX basename: may cut trailing slashes off `path` itself; the result
// points into `path` or to a constant.
char* QENCLIBasename(char* path);

// Writes all n bytes to the descriptor, across short writes and interruptions. false with errno set when the
// descriptor takes no more (EIO when it takes nothing without an error). Async-signal-safe.
bool QENWriteAll(int fd, const void* data, size_t n);

// Write a text to standard output or standard error without stdio, whose locks and buffers may be damaged. A
// failed write is ignored: there is nobody to report it to. Async-signal-safe.
void QENPutOutput(const char* text);
void QENPutError(const char* text);

// ---- Environment

// Copies the variable's value into str (size bytes with the NUL; a longer value is cut) and returns 0; -1 and
// an empty string when it is unset.
int QENGetenv(const char* env, char* str, size_t size);

// ---- System log and events

// Names the process in the system log (facility daemon, with process id, console as fallback). The text is
// copied; null means the program's name, also after another one was set. The copy in use before is not freed:
// other threads may be writing.
void QENInitEventLog(const char* module);

// From now on a fork waits for the line that another thread is sending, so that a forked child can send its
// own. After a second it no longer waits; then the child's system log is silent.
void QENKeepSyslogAcrossForks();

// Formats a line of at most 4094 bytes and sends it to the system log. Low byte of sev: 0 critical, 1 error,
// 2 warning, 3 notice, 4 information, others debug. Second byte: a facility code, e.g. LOG_LOCAL0 << 8.
void QENSyslog(int sev, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Severities, as logs number them, of events: messages that are serious enough for the administrator.
inline constexpr int QEN_EVENT_CRITICAL = 0;
inline constexpr int QEN_EVENT_ERROR = 1;
inline constexpr int QEN_EVENT_DEBUG = 41; // the debug level DBG_NTEVENT

constexpr bool QENIsEvent(int logical_sev) {
    return logical_sev == QEN_EVENT_CRITICAL || logical_sev == QEN_EVENT_ERROR ||
           logical_sev == QEN_EVENT_DEBUG;
}

// Mirrors a message to the administrator's log when it is an event, through the hook
// that the logging framework provides (QENHooks.h). Without hook or text it does nothing. The message stays
// the caller's.
void QENReportEvent(int logical_sev, uint32_t dwEventID, MsgStruct* msg_structp);

// ---- Process and host

int QENGetPid();

// The process's name, "unknown" when the system does not tell. Owned by the caller: delete[].
char* QENGetProcName();

// The host's node name in buf (size bytes with the NUL), or, when buf is null, in a new 4096-byte array that
// the caller frees with delete[]. "localhost" when the system does not tell.
char* QENGetSystemName(char* buf, size_t size);

// "Linux:<node>,<version>,<release>,<machine>", cut at 4095 bytes and at size - 1; unknown fields read "?".
void QENGetSysInfo(char* sysinfo, size_t size);

// The local time as "%Y/%m/%d %H:%M:%S " (20 characters), cut at size - 1. -1 with bufp untouched when the
// clock cannot be read, or bufp has no room for anything.
int QENTime(char* bufp, size_t size);

// ---- Memory

// size bytes aligned to a power of two, or null; freed with free().
void* QENMemAlign(size_t align, size_t size);

// ---- Signals

int QENSigignore(int signal); // ignores the signal; 0, or -1 for one that cannot be ignored

// Gives the calling thread a stack of its own for handlers of fatal signals, so that they also run after an
// overflow of the normal stack. Released when the thread ends. A sufficient one that it has already is kept.
// 0, or -1.
int QENInstallSignalStack();

// Installs a signal stack for the calling thread and handlers for SIGSEGV, SIGBUS and SIGABRT. The first
// fatal signal of the process calls the hook dump_first_failure once; then the default action ends the
// process by that signal. A dump that hangs or fails itself is cut short after at most 5 seconds, for which
// the handler takes over SIGALRM and alarm(). 0, or -1.
int QENInstallFatalSignalHandlers();

} // namespace taq_1
