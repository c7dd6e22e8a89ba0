// The texts of a log in the user's language: for lines on standard output and standard error, and for records
// that are shown.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "i18n/common/i18n.h"
#include "primitives/log/LogLock.h"
#include "primitives/message/severity.h"

inline namespace taq_1 {

// Catalogs of one language. One thread at a time uses an object; all objects together share texts and files,
// which lock() guards.
class LogCatalog {
public:
    LogCatalog() = default;
    ~LogCatalog() { close(); }
    LogCatalog(const LogCatalog&) = delete;
    LogCatalog& operator=(const LogCatalog&) = delete;

    // Settles root, language and codeset from environment and locale. The files are read when a text is first
    // needed: most runs of a program never need one on one of the two streams.
    void settle();
    // No texts from now on.
    void close();

    // False: the former language is still in use, or there are no catalogs.
    bool change_language(const char* lang);

    static LogLock& lock();

    // The handle of the catalogs; null when there are none. Used within lock().
    void** handle() { return _handle != nullptr || _open() ? &_handle : nullptr; }

    // The word for a severity, valid until settle, close or change_language; "" outside 0 to 4. A NUL
    // follows.
    std::string_view severity_word(int sev);

    // Writes a message's text with the arguments up to the first null one, at most six, to `out` of `cap`
    // bytes. False: no catalog has it.
    bool format(uint32_t msgcat_id, const std::string_view* argv, size_t argc, char* out, size_t cap,
                size_t* lenp);

private:
    bool _open();

    void* _handle = nullptr;  // owned
    bool _is_pending = false; // settled and not opened yet
    i18nSettings _settings;
    std::array<std::string, SEV_APP_END> _words; // "" until asked for
};

} // namespace taq_1
