// Keeps the process-wide words and the registry of logs. Log::init fills it, each line shows it.
#include "primitives/log/LogIdentity.h"

#include <cstring>

#include "primitives/log/Log.h"
#include "primitives/values/NVList.h"

inline namespace taq_1 {

ILog* _unified_log_function__ = nullptr;
ILog* _unified_logerr_function__ = nullptr;

namespace {

char* copy_of(const char* s) {
    const size_t size = strlen(s) + 1;
    return static_cast<char*>(memcpy(new char[size], s, size));
}

} // namespace

// Null stands for the default, which is never freed.
void LogIdentity::_set_words(const char* mnemp, const char* origIDp) {
    ++_version;
    const char* old_mnemp = _mnemp;
    const char* old_origIDp = _origIDp;
    _mnemp = mnemp != nullptr ? copy_of(mnemp) : DEFAULT_MNEMONIC;
    _mnem_len = static_cast<int>(strlen(_mnemp));
    _origIDp = origIDp != nullptr ? copy_of(origIDp) : DEFAULT_ORIGINATOR;
    _origID_len = strlen(_origIDp);
    if (old_mnemp != DEFAULT_MNEMONIC) delete[] old_mnemp;
    if (old_origIDp != DEFAULT_ORIGINATOR) delete[] old_origIDp;
}

void LogIdentity::init(const char* mnemp, const char* origIDp) {
    if (_log_nvlistp == nullptr) _log_nvlistp = new NVList;
    _set_words(mnemp, origIDp);
}

void LogIdentity::destroy() {
    delete _log_nvlistp;
    _log_nvlistp = nullptr;
    _set_words(nullptr, nullptr);
}

Log* LogIdentity::find(const char* name) {
    if (_log_nvlistp == nullptr || name == nullptr) return nullptr;
    const NVElem* entry = _log_nvlistp->inquire(name);
    return entry != nullptr ? static_cast<Log*>(entry->getptr()) : nullptr;
}

void LogIdentity::add(const char* name, Log* log) {
    _log_nvlistp->append(name, static_cast<void*>(log), /*ref=*/1);
}

void LogIdentity::remove(const char* name, const Log* log) {
    if (find(name) == log) _log_nvlistp->remove(name);
}

Log* Log_obj(const char* name) {
    return LogIdentity::find(name);
}

} // namespace taq_1
