// The start and the end that all commands of the product share.
#pragma once

#include "../primitives/log/ILog.h"

inline namespace taq_1 {

inline constexpr int CMD_STDOUT_FLAGS = ULOG_NO_TIME | ULOG_NO_EVENT; // open flags
inline constexpr int CMD_STDERR_FLAGS = CMD_STDOUT_FLAGS | ULOG_ERROR_LOG;

// Ignores SIGIO, sets the locale from the environment, starts the log framework and makes the command's pair
// of logs, cmdname on standard output and cmdname + "-err" on standard error.
void initialization(const char* cmdname);

// Makes a pair of logs on the standard streams the current one (_unified_log_function__ and
// _unified_logerr_function__). A pair that was current is deleted.
void use_log_pair(const char* name, const char* err_name);

// Deletes the current pair.
void drop_log_pair();

// Converts the command's arguments into the internal encoding. 1: out_argv, which has room for argc pointers,
// holds converted copies made with new[], which the caller uses and frees. Here arguments are used as the
// system delivers them: nothing is written and the result is 0.
int l10nconversion(char** out_argv, int argc, char** argv);

} // namespace taq_1
