// What all logs of the process share: identity, registry of named logs, reports to the administrator.
#include <cstring>

#include "platform/unix/QENPlatform.h"
#include "primitives/log/Log.h"
#include "primitives/values/NVList.h"

ILog* _unified_log_function__ = nullptr;
ILog* _unified_logerr_function__ = nullptr;

std::atomic<bool> Log::_verify_mode{false};
unsigned Log::_identity = 0;
const char* Log::_mnemp = LOG_DEFAULT_MNEMONIC;
int Log::_mnem_len = sizeof LOG_DEFAULT_MNEMONIC - 1;
const char* Log::_origIDp = LOG_DEFAULT_ORIGINATOR;
size_t Log::_origID_len = sizeof LOG_DEFAULT_ORIGINATOR - 1;
NVList* Log::_log_nvlistp = nullptr;

namespace {

char* copy_of(const char* s) {
    const size_t size = strlen(s) + 1;
    return static_cast<char*>(memcpy(new char[size], s, size));
}

} // namespace

// Null stands for the default, which is never freed.
void Log::_set_identity(const char* mnemp, const char* origIDp) {
    ++_identity;
    const char* old_mnemp = _mnemp;
    const char* old_origIDp = _origIDp;
    _mnemp = mnemp != nullptr ? copy_of(mnemp) : LOG_DEFAULT_MNEMONIC;
    _mnem_len = static_cast<int>(strlen(_mnemp));
    _origIDp = origIDp != nullptr ? copy_of(origIDp) : LOG_DEFAULT_ORIGINATOR;
    _origID_len = strlen(_origIDp);
    if (old_mnemp != LOG_DEFAULT_MNEMONIC) delete[] old_mnemp;
    if (old_origIDp != LOG_DEFAULT_ORIGINATOR) delete[] old_origIDp;
}

void Log::init(const char* mnemp, const char* origIDp, const char* modulep) {
    if (_log_nvlistp == nullptr) _log_nvlistp = new NVList;
    _set_identity(mnemp, origIDp);
    _install_hooks();
    QENInitEventLog(modulep);
    LdfWriter::init(modulep);
}

void Log::destroy() {
    logger_thread().finish(); // the records are composed with what goes here
    const bool capturing = is_ffdc_enabled();
    _remove_hooks();
    disable_ffdc(); // nothing may be offered to an object that goes
    delete _log_nvlistp;
    _log_nvlistp = nullptr;
    _set_identity(nullptr, nullptr);
    _delete_ffdc();
    LdfWriter::destroy();
    if (capturing) enable_ffdc();
}

void Log::init_eventlog(const char* modulep) {
    QENInitEventLog(modulep);
    LdfWriter::init(modulep);
}

Log* Log_obj(const char* name) {
    if (Log::_log_nvlistp == nullptr || name == nullptr) return nullptr;
    const NVElem* entry = Log::_log_nvlistp->inquire(name);
    return entry != nullptr ? static_cast<Log*>(entry->getptr()) : nullptr;
}
