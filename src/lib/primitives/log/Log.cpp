// The life of a log: construction, opening, closing, and what is configured meanwhile. LogWrite.cpp and
// LogDisplay.cpp use it.
#include "primitives/log/Log.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "platform/unix/QENDefaults.h"
#include "platform/unix/QENFork.h"
#include "platform/unix/QENPlatform.h"
#include "platform/unix/QENStreams.h"
#include "primitives/log/Capture.h"
#include "primitives/log/LogAdmin.h"
#include "primitives/log/LogCore.h"
#include "primitives/log/LogFork.h"
#include "primitives/log/LogIdentity.h"
#include "primitives/log/LogResult.h"
#include "primitives/log/LogText.h"
#include "primitives/log/LoggerThread.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/strings/QENString.h"

inline namespace taq_1 {

namespace {

constexpr char ENV_ENABLE_LDF[] = "TAQ_ENABLE_LDF";
constexpr char ENV_DEBUG_TAGS[] = "TAQ_DEBUG_LOG_TAGS";
constexpr char ENV_MAXLEN[] = "QEN_LOG_MAXLEN";
constexpr char ENV_SYNC[] = "QEN_LOG_SYNC";
constexpr size_t SETTING_SIZE = 255;
constexpr size_t PATH_SIZE = 4096;
constexpr size_t SYSTEM_NAME_SIZE = 256;
constexpr char TAG_SEPARATORS[] = " ,;:";
constexpr char LOG_SUBDIR[] = "/log/";

int int_value(const char* text) {
    return static_cast<int>(std::clamp<long>(strtol(text, nullptr, 10), INT_MIN, INT_MAX));
}

// Messages of which severities are waited for until the disk has them: up to this one.
int synced_severity(const char* word) {
    constexpr struct {
        const char* word;
        int sev;
    } LEVELS[] = {{"critical", SEV_CRIT}, {"error", SEV_ERR}, {"all", SEV_INFO}};
    for (const auto& level : LEVELS)
        if (strcasecmp(word, level.word) == 0) return level.sev;
    return -1; // "none"
}

// The folder of text logs under the data root, with a "/" behind it.
int log_directory(PathText& directory) {
    char root[PATH_SIZE];
    if (QENGetenv(QEN_ENV_LOG_ROOT, root, sizeof root) != 0)
        qenstrlcpy(root, QEN_DEFAULT_DATA_ROOT, sizeof root);
    if (QENCheckDir(root) == 0) return ULOG_EROOT;
    directory = file_join({root, LOG_SUBDIR});
    return directory != nullptr ? ULOG_OK : ULOG_ENOMEM;
}

} // namespace

Log::Log() : _core(new LogCore(*this)) {
    log_was_made(this);
    char value[SETTING_SIZE];
    _core->_copy.enable(QENGetenv(ENV_ENABLE_LDF, value, sizeof value) != 0 || int_value(value) != 0);
    if (QENGetenv(ENV_DEBUG_TAGS, value, sizeof value) == 0) {
        for (char* rest = value; char* tag = qenstrtok(&rest, TAG_SEPARATORS);) {
            enable_debug(tag);
            set_flush_debug(tag);
        }
    }
    set_maxlen(QENGetenv(ENV_MAXLEN, value, sizeof value) == 0 ? int_value(value) : LOG_DEFAULT_MAXLEN);
    if (QENGetenv(ENV_SYNC, value, sizeof value) == 0) {
        _core->_file.sync_up_to(synced_severity(value));
        _core->_copy.sync_up_to(synced_severity(value));
    }
}

Log::~Log() {
    logger_thread().finish(); // the records of this log, among others
    log_goes(this);
    if (!LoggerThread::is_running()) logger_thread().finish(); // a request to tell its losses
    _core->_release();
}

// Back to the state before open, the settings apart.
void LogCore::_release() {
    const LogLock::Guard inside(_lock);
    _write_gathered();
    if (_namep != nullptr) LogIdentity::remove(_namep.get(), &_log_of_program);
    _namep.reset();
    if (_fp != nullptr && !_is_file_log) (void)QENStreamFlush(_fp); // nobody to tell
    if (!_is_inherited()) (void)_file.settle(/*flush=*/true);
    if (!_is_inherited() && _loss.is_due()) _tell_losses(); // the last chance
    _loss.forget();
    _fp = nullptr;
    _file.close();
    _copy.close();
    _name_lock.release();
    _displayp.reset();
    _catalog.close();
    _enabled = 0;
}

int Log::open(const char* namep, FILE* fp, int flags, int (*)()) {
    if (!LogIdentity::has_registry()) return ULOG_ENOINIT;
    if (namep == nullptr) return ULOG_ENONAME;
    if (fp == nullptr && strchr(namep, '/') != nullptr) return ULOG_EFAIL; // would leave the log directory
    if (Log_obj(namep) != nullptr) return ULOG_EREGISTERED;
    PathText name = file_join({namep});
    if (name == nullptr) return ULOG_ENOMEM;
    if (_core->_namep != nullptr) logger_thread().finish();
    _core->_release();
    const int result = _core->_open_as(std::move(name), fp, flags);
    if (result == ULOG_EROOT) // also for programs that do not say why they have no log
        QENSyslog(SEV_ERR, "The log '%s' is not written: %s", namep, ulog_result_text(result));
    if (result == ULOG_EROOT || result == ULOG_ENOMEM || result == ULOG_EREGISTERED) _core->_release();
    return result;
}

int LogCore::_open_as(PathText name, FILE* fp, int flags) {
    const LogLock::Guard inside(_lock);
    LogIdentity::add(name.get(), &_log_of_program);
    _namep = std::move(name); // from here on _release takes the name out of the registry
    _open_flags = flags;
    _process = QENForkCount();
    if (fp == nullptr) return _open_file_log();
    _open_stream(fp);
    return ULOG_OK;
}

void LogCore::_open_stream(FILE* fp) {
    _is_file_log = false;
    _fp = fp;
    _enabled = 1;
    _line.settle(/*is_localized=*/_on_standard_stream(), QENIsTerminal(fp));
    if (_on_standard_stream())
        _catalog.settle();
    else
        _copy.open(_namep.get());
}

int LogCore::_open_file_log() {
    _is_file_log = true;
    _line.settle(/*is_localized=*/false, /*on_terminal=*/false);
    if (const int result = _make_paths(); result != ULOG_OK) return result;
    _enabled = 1;
    if (!_file.open()) return ULOG_EFAIL;
    _fp = _file.stream(); // null: the first write makes the file
    if (_fp != nullptr) _copy.open(_namep.get());
    return ULOG_OK;
}

// Works out directory and paths, makes the directory and takes the name.
int LogCore::_make_paths() {
    char system[SYSTEM_NAME_SIZE];
    PathText directory;
    if (const int result = log_directory(directory); result != ULOG_OK) return result;
    const bool hidden = (_open_flags & ULOG_HIDDEN_FILE) != 0;
    if (!_file.set_name(directory.get(), hidden, _namep.get(), QENGetSystemName(system, sizeof system)))
        return ULOG_ENOMEM;
    if (QENCheckDir(directory.get()) == 0)
        if (QENMakeDir(directory.get()) != 0 || QENCheckDir(directory.get()) == 0) return ULOG_EFAIL;
    return _lock_name(directory.get(), hidden);
}

// Keeps other processes from the files.
int LogCore::_lock_name(const char* directory, bool hidden) {
    const PathText stem = file_join({hidden ? "." : "", _namep.get()});
    if (stem == nullptr) return ULOG_ENOMEM;
    const NameLock::Answer answer = _name_lock.take(directory, stem.get());
    if (answer.holder == NameLock::Holder::NOBODY) return ULOG_OK;
    QENSyslog(SEV_ERR, "Process %ld writes %s", static_cast<long>(answer.pid), _file.path());
    return ULOG_EREGISTERED;
}

int Log::set_lang(const char* lang) {
    const LogLock::Guard inside(_core->_lock);
    const bool changed = _core->_catalog.change_language(lang);
    if (_core->_displayp != nullptr) _core->_displayp->forget();
    return changed ? ULOG_OK : ULOG_EFAIL;
}

void Log::set_maxlen(int count) {
    const LogLock::Guard inside(_core->_lock);
    _core->_file.set_maxlen(std::max(count, LOG_MIN_MAXLEN));
}

void Log::rotate() {
    const LogLock::Guard inside(_core->_lock); // or this thread is within its write
    if (_enabled != 0 && _core->_is_file_log) _core->_file.request_new();
}

void Log::set_cache_disabled() {
    const LogLock::Guard inside(_core->_lock);
    _core->_cache.disable();
}

void Log::reset_cache() {
    const LogLock::Guard inside(_core->_lock);
    _core->_cache.reset();
}

void Log::get_all_set_dbg_tags(char* set_dbgtag, int size_setdbgtag) {
    if (set_dbgtag == nullptr || size_setdbgtag <= 0 || _enabled == 0) return;
    _tags.append_enabled(set_dbgtag, static_cast<size_t>(size_setdbgtag));
}

const char* Log::get_sev(ulog_app_sev sev) {
    const LogLock::Guard inside(_core->_lock);
    return _core->_catalog.severity_word(sev).data();
}

// ---- What all logs share

void Log::init(const char* mnemp, const char* origIDp, const char* modulep) {
    LogIdentity::init(mnemp, origIDp);
    LogAdmin::install_hooks();
    QENInitEventLog(modulep);
    LdfWriter::init(modulep);
}

void Log::destroy() {
    logger_thread().finish(); // the records are composed with what goes here
    const bool capturing = Capture::is_enabled();
    LogAdmin::remove_hooks();
    Capture::disable(); // nothing may be offered to an object that goes
    LogIdentity::destroy();
    Capture::destroy();
    LdfWriter::destroy();
    if (capturing) Capture::enable();
}

void Log::init_eventlog(const char* modulep) {
    QENInitEventLog(modulep);
    LdfWriter::init(modulep);
}

void Log::admin_msg(int sev, const char* whop, const char* filep, int line, int cat, int id,
                    MsgStruct* msg_structp) {
    LogAdmin::send({time(nullptr), sev, whop, filep, line, /*flag_word=*/0, cat, id},
                   std::unique_ptr<MsgStruct>(msg_structp));
}

void Log::write_admin(time_t, int sev, const char*, const char*, int, int, int, const MsgStruct* msgp) {
    LogAdmin::write(sev, message_text(msgp));
}

void Log::write_ffdc(int sev, const char* whop, const char* filep, int line, int flags, int cat, int id,
                     const char* msgp) {
    if (msgp != nullptr && Capture::is_enabled())
        Capture::offer({time(nullptr), sev, whop, filep, line, flags, cat, id}, msgp);
}

void Log::write_ffdc(int sev, const char* whop, const char* filep, int line, int flags, int cat, int id,
                     const MsgStruct* msgp) {
    if (Capture::is_enabled())
        Capture::offer({time(nullptr), sev, whop, filep, line, flags, cat, id}, message_text(msgp));
}

} // namespace taq_1
