// Catalogs behind a log: opened late, as they were settled early.
#include "primitives/log/LogCatalog.h"

#include <algorithm>

#include "i18n/unix/i18n_locale.h"
#include "platform/unix/QENDefaults.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/log/ILog.h"
#include "primitives/log/LogText.h"

inline namespace taq_1 {

namespace {

constexpr size_t ROOT_SIZE = 4096;

} // namespace

void LogCatalog::settle() {
    close();
    char root[ROOT_SIZE];
    const bool is_set = QENGetenv(QEN_ENV_MESSAGES_ROOT, root, sizeof root) == 0;
    _is_pending =
        i18nSettle(&_settings, is_set ? root : QEN_DEFAULT_MESSAGES_ROOT, /*langp=*/nullptr) == I18N_SOK;
}

LogLock& LogCatalog::lock() {
    static auto* lock = new LogLock; // static logs may use it to the very end
    return *lock;
}

void LogCatalog::close() {
    _is_pending = false;
    if (_handle != nullptr) {
        const LogLock::Guard inside(lock());
        (void)i18nClose(&_handle); // it is open
    }
    for (std::string& word : _words) word.clear();
}

// In the user's language, else in English. False: no catalogs; they are not looked for again.
bool LogCatalog::_open() {
    if (!_is_pending) return false;
    _is_pending = false;
    if (i18nOpenSettled(&_handle, _settings, QEN_MESSAGES_MODULE) == I18N_SOK) return true;
    _settings.lang = I18N_DEFAULT_LANG;
    return i18nOpenSettled(&_handle, _settings, QEN_MESSAGES_MODULE) == I18N_SOK;
}

bool LogCatalog::change_language(const char* lang) {
    const LogLock::Guard inside(lock());
    const bool changed = handle() != nullptr && i18nChangeLang(&_handle, lang) == I18N_SOK;
    for (std::string& word : _words) word.clear();
    return changed;
}

std::string_view LogCatalog::severity_word(int sev) {
    if (sev < SEV_CRIT || sev >= SEV_APP_END) return "";
    std::string& word = _words[static_cast<size_t>(sev)];
    if (word.empty()) {
        const LogLock::Guard inside(lock());
        char* text;
        int32_t size;
        if (handle() != nullptr &&
            i18nGetSafeMsg(&_handle, ULOG_CAT_SEVERITY, static_cast<uint32_t>(sev), &text, &size) == I18N_SOK)
            word.assign(text, static_cast<size_t>(size - 1));
        else
            word = ulog_app_sev_name(sev);
    }
    return word;
}

bool LogCatalog::format(uint32_t msgcat_id, const std::string_view* argv, size_t argc, char* out, size_t cap,
                        size_t* lenp) {
    const LogLock::Guard inside(lock());
    if (handle() == nullptr) return false;
    const ArgViews args = leading_args({argv, std::min<size_t>(argc, ULOG_MAX_ARGS)});
    return i18nFormatSafeTo(&_handle, i18n_category_of(msgcat_id), i18n_number_of(msgcat_id), args.data(),
                            args.size(), out, cap, lenp) == I18N_SOK;
}

} // namespace taq_1
