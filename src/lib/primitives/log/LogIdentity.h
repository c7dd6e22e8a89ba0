// What all logs of the process share: the words in their lines, the registry of open logs and verify mode.
#pragma once

#include <atomic>
#include <cstddef>
#include <string_view>

inline namespace taq_1 {

class Log;
class NVList;

// init and destroy are called while no other thread logs; logs are opened and deleted by one thread at a
// time.
class LogIdentity {
public:
    // Creates the registry. Stores copies of the mnemonic that starts every line ("QEN" when null) and of the
    // originator of message identifiers ("K-16" when null). May be called again to change them.
    static void init(const char* mnemp, const char* origIDp);
    // Back to the state before init. Logs that still live are only forgotten.
    static void destroy();

    static std::string_view mnemonic() { return {_mnemp, static_cast<size_t>(_mnem_len)}; }
    static std::string_view originator() { return {_origIDp, _origID_len}; } // a NUL follows
    // Changes with the two words. What is made of them is made again then.
    static unsigned version() { return _version; }

    // The open logs by name, compared ignoring case.
    static bool has_registry() { return _log_nvlistp != nullptr; }
    static Log* find(const char* name); // null: none; also for a null name and without a registry
    static void add(const char* name, Log* log);
    static void remove(const char* name, const Log* log); // only if the name is that log's

    // Verify mode drops every application message without ULOG_MERGE, and all messages for the administrator.
    static inline std::atomic<bool> verify_mode{false};
    static bool is_verifying() { return verify_mode.load(std::memory_order_relaxed); }

private:
    static constexpr char DEFAULT_MNEMONIC[] = "QEN";
    static constexpr char DEFAULT_ORIGINATOR[] = "K-16";

    static void _set_words(const char* mnemp, const char* origIDp);

    static inline unsigned _version = 0;
    static inline const char* _mnemp = DEFAULT_MNEMONIC; // owned unless it is the default
    static inline int _mnem_len = sizeof DEFAULT_MNEMONIC - 1;
    static inline const char* _origIDp = DEFAULT_ORIGINATOR; // likewise
    static inline size_t _origID_len = sizeof DEFAULT_ORIGINATOR - 1;
    static inline NVList* _log_nvlistp = nullptr; // name to Log (as a pointer); null before init
};

} // namespace taq_1
