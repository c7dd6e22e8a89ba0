// The life of a log: construction, opening, closing, and what is configured meanwhile.
#include "primitives/log/Log.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "platform/unix/QENDefaults.h"
#include "platform/unix/QENFork.h"
#include "platform/unix/QENPlatform.h"
#include "platform/unix/QENStreams.h"
#include "primitives/log/LogAdmin.h"
#include "primitives/log/LogFork.h"
#include "primitives/log/RecordDisplay.h"
#include "primitives/strings/QENString.h"
#include "primitives/values/NVList.h"
#include "primitives/values/VList.h"

namespace {

constexpr char ENV_ENABLE_LDF[] = "TAQ_ENABLE_LDF";
constexpr char ENV_DEBUG_TAGS[] = "TAQ_DEBUG_LOG_TAGS";
constexpr char ENV_MAXLEN[] = "QEN_LOG_MAXLEN";
constexpr size_t SETTING_SIZE = 255;
constexpr size_t PATH_SIZE = 4096;
constexpr size_t SYSTEM_NAME_SIZE = 256;
constexpr char TAG_SEPARATORS[] = " ,;:";
constexpr char LOG_SUBDIR[] = "/log/";
constexpr int MSG_LDF_OPEN_FAILED = 50878;

int int_value(const char* text) {
    return static_cast<int>(std::clamp<long>(strtol(text, nullptr, 10), INT_MIN, INT_MAX));
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

Log::Log() : _cache_vlistp(new VList) {
    log_was_made(this);
    char value[SETTING_SIZE];
    _ldf_enabled = QENGetenv(ENV_ENABLE_LDF, value, sizeof value) != 0 || int_value(value) != 0;
    if (QENGetenv(ENV_DEBUG_TAGS, value, sizeof value) == 0) {
        for (char* rest = value; char* tag = qenstrtok(&rest, TAG_SEPARATORS);) {
            enable_debug(tag);
            set_flush_debug(tag);
        }
    }
    set_maxlen(QENGetenv(ENV_MAXLEN, value, sizeof value) == 0 ? int_value(value) : LOG_DEFAULT_MAXLEN);
}

Log::~Log() {
    logger_thread().finish(); // the records of this log, among others
    log_goes(this);
    _release();
}

// Back to the state before open, the settings apart.
void Log::_release() {
    const LogLock::Guard inside(_lock);
    if (_namep != nullptr && Log_obj(_namep.get()) == this) _log_nvlistp->remove(_namep.get());
    _namep.reset();
    if (_fp != nullptr && _rewind_flag != 0) (void)QENStreamFlush(_fp); // nobody to tell
    _fp = nullptr;
    _file.close();
    _ldfp.reset();
    _name_lock.release();
    _displayp.reset();
    _catalog.close();
    _enabled = 0;
}

int Log::open(const char* namep, FILE* fp, int flags, int (*)()) {
    if (_log_nvlistp == nullptr) return ULOG_ENOINIT;
    if (namep == nullptr) return ULOG_ENONAME;
    if (fp == nullptr && strchr(namep, '/') != nullptr) return ULOG_EFAIL; // would leave the log directory
    if (Log_obj(namep) != nullptr) return ULOG_EREGISTERED;
    PathText name = file_join({namep});
    if (name == nullptr) return ULOG_ENOMEM;
    if (_namep != nullptr) logger_thread().finish();
    _release();
    const int result = _open_as(std::move(name), fp, flags);
    if (result == ULOG_EROOT || result == ULOG_ENOMEM || result == ULOG_EREGISTERED) _release();
    return result;
}

int Log::_open_as(PathText name, FILE* fp, int flags) {
    const LogLock::Guard inside(_lock);
    _log_nvlistp->append(name.get(), static_cast<void*>(this), /*ref=*/1);
    _namep = std::move(name); // from here on _release takes the name out of the registry
    _open_flags = flags;
    _process = QENForkCount();
    if (fp == nullptr) return _open_file_log();
    _open_stream(fp);
    return ULOG_OK;
}

void Log::_open_stream(FILE* fp) {
    _fp_specified = 1;
    _rewindallowed = 0;
    _rewind_flag = 1;
    _fp = fp;
    _enabled = 1;
    rotate();
    _on_terminal = QENIsTerminal(fp);
    if (_on_standard_stream()) {
        _catalog.settle();
    } else if (_ldf_enabled) {
        _open_ldf();
    }
}

int Log::_open_file_log() {
    _fp_specified = 0;
    _on_terminal = false;
    _rewindallowed = 1;
    _rewind_flag = 0;
    if (const int result = _make_paths(); result != ULOG_OK) return result;
    _enabled = 1;
    if (!_file.open()) return ULOG_EFAIL;
    _fp = _file.stream(); // null: the first write makes the file
    if (_fp != nullptr && _ldf_enabled) _open_ldf();
    return ULOG_OK;
}

// Works out directory and paths, makes the directory and takes the name.
int Log::_make_paths() {
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
int Log::_lock_name(const char* directory, bool hidden) {
    const PathText stem = file_join({hidden ? "." : "", _namep.get()});
    if (stem == nullptr) return ULOG_ENOMEM;
    const NameLock::Answer answer = _name_lock.take(directory, stem.get());
    if (answer.holder == NameLock::Holder::NOBODY) return ULOG_OK;
    QENSyslog(SEV_ERR, "Process %ld writes %s", static_cast<long>(answer.pid), _file.path());
    return ULOG_EREGISTERED;
}

// Opens the writer of the copy; on failure there is none from now on.
void Log::_open_ldf() {
    _ldfp.reset(new (std::nothrow) LdfWriter);
    if (_ldfp != nullptr && _ldfp->open(_namep.get(), /*flags=*/0) == LDF_OK) return;
    report_to_admin(SEV_ERR, __func__, __FILE__, __LINE__, ULOG_CAT_LIBRARY, MSG_LDF_OPEN_FAILED,
                    process_args("There is an error opening the LDF file for '%s'.", _namep.get()));
    _ldfp.reset();
    _ldf_enabled = false;
}

int Log::set_lang(const char* lang) {
    const LogLock::Guard inside(_lock);
    const bool changed = _catalog.change_language(lang);
    if (_displayp != nullptr) _displayp->forget();
    return changed ? ULOG_OK : ULOG_EFAIL;
}

void Log::set_maxlen(int count) {
    const LogLock::Guard inside(_lock);
    _file.set_maxlen(std::max(count, LOG_MIN_MAXLEN));
}
