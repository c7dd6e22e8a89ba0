// A plugin that logs: into a log of its host, or of another plugin, and into one that it opens for a host in
// C.
#include <taq/log.h>

extern "C" {

// Null when it cannot be opened.
void* plugin_open_log(const char* name) {
    Log::init("HOST", "K-99", nullptr);
    auto* log = new Log;
    if (log->open(name, nullptr, ULOG_NO_TIME | ULOG_NO_SOURCE, nullptr) == ULOG_OK) return log;
    delete log;
    return nullptr;
}

// A message and a debug message, as any part of the host logs them.
void plugin_log(void* log, const char* who) {
    auto* logp = static_cast<ILog*>(static_cast<Log*>(log));
    QEN_MESSAGE(logp, SEV_WARN, 0, 300, 7, "%s from a plugin, %d of %s", "hello", 1, who);
    QEN_DEBUG(logp, DBG_TIMER, 0, 300, 0, "%s", "a level that is off");
}

void plugin_close_log(void* log) {
    delete static_cast<Log*>(log);
    Log::destroy();
}

// Before it is unloaded.
void plugin_finish() {
    Log::finish_queue();
}
}
