// Local time as text, and tests for plain ASCII.
#include "primitives/utils/QENUtils.h"

#include <clocale>
#include <ctime>

inline namespace taq_1 {

namespace {

constexpr int FIRST_ASCII = 32;
constexpr int LAST_ASCII = 127;

} // namespace

char* QENUtils::i18n_localtime(const long* t, char* time_buf, int len) {
    if (time_buf == nullptr || len <= 0) return nullptr;
    (void)std::setlocale(LC_ALL, ""); // a locale that the system lacks leaves the one in force
    const time_t when = t != nullptr ? *t : std::time(nullptr);
    tm local;
    // A failed strftime leaves the buffer without NUL; a year beyond an int has no local time at all.
    if (localtime_r(&when, &local) == nullptr ||
        std::strftime(time_buf, static_cast<size_t>(len), "%c", &local) == 0)
        time_buf[0] = '\0';
    return time_buf;
}

int QENUtils::is_ascii(int c) {
    return c >= FIRST_ASCII && c <= LAST_ASCII;
}

int QENUtils::is_ascii_str(const char* s) {
    if (s == nullptr) return 1;
    for (; *s != '\0'; ++s)
        if (!is_ascii(static_cast<unsigned char>(*s))) return 0;
    return 1;
}

} // namespace taq_1
