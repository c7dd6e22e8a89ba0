// Bounded copying, formatting, tokens and escapes.
#include "primitives/strings/QENString.h"

#include "platform/unix/QENBoundedCopy.h"
#include "platform/unix/QENNullText.h"
#include "platform/unix/QENPlatform.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

inline namespace taq_1 {

size_t qenstrlcpy(char* dst, const char* src, size_t size) {
    return QENBoundedCopy(dst, src, size);
}

size_t qenstrlcat(char* dst, const char* src, size_t size) {
    const size_t used = dst != nullptr ? strnlen(dst, size) : 0;
    return used + QENBoundedCopy(dst + used, src, size - used);
}

namespace {

struct Freer {
    void operator()(char* p) const { std::free(p); }
};

// Formats into dst and terminates it, also when the C library fails half-way.
int format(char* dst, size_t maxlen, const char* fmt, va_list args) {
    dst[0] = '\0';
    const int length = std::vsnprintf(dst, maxlen, fmt, args);
    dst[maxlen - 1] = '\0';
    return length;
}

} // namespace

int qensnprintf(char* dst, size_t maxlen, const char* fmt, ...) {
    if (maxlen == 0) return -1;
    const std::unique_ptr<char, Freer> text(static_cast<char*>(qenmalloc(maxlen, __FILE__, __LINE__)));
    va_list args;
    va_start(args, fmt);
    const int length = format(text.get(), maxlen, fmt, args);
    va_end(args);
    qenstrlcpy(dst, text.get(), maxlen);
    return length;
}

int qensnprintf2(char* dst, size_t maxlen, const char* fmt, ...) {
    if (maxlen == 0) return -1;
    va_list args;
    va_start(args, fmt);
    const int length = format(dst, maxlen, fmt, args);
    va_end(args);
    return length;
}

void* qenmalloc(size_t size, const char* file, unsigned line) {
    if (void* p = std::malloc(size != 0 ? size : 1)) return p; // malloc(0) may give null without a failure
    char report[1024];
    std::snprintf(report, sizeof report,
                  "malloc() FAILED at file %s, line %u, memory could not be allocated. "
                  "QEN engine dumping core deliberately!",
                  QENTextOf(file), line);
    QENSyslog(/*sev=*/1, "%s", report);
    QENPutError(report);
    std::abort();
}

char* qenstrtok(char** sp, const char* delims) {
    char* token = *sp;
    if (token == nullptr) return nullptr;
    char* end = token + std::strcspn(token, delims);
    *sp = *end != '\0' ? end + 1 : nullptr;
    *end = '\0';
    return token;
}

char* qenstrtoupper(const char* s) {
    if (s == nullptr) return nullptr;
    const size_t size = std::strlen(s) + 1;
    char* upper = new char[size];
    for (size_t i = 0; i < size; ++i)
        upper[i] = s[i] >= 'a' && s[i] <= 'z' ? static_cast<char>(s[i] - 'a' + 'A') : s[i];
    return upper;
}

int qenescfmt(char* dst, const char* src, size_t size) {
    if (dst == nullptr || src == nullptr || size == 0) return ESC_EINVAL;
    size_t used = 0;
    int result = ESC_OK;
    for (; *src != '\0'; ++src) {
        const size_t wanted = *src == '%' ? 2 : 1;
        if (size - used <= wanted) { // the NUL must fit as well
            if (*src != '%') result = ESC_ECUT;
            break;
        }
        if (*src == '%') dst[used++] = '%';
        dst[used++] = *src;
    }
    dst[used] = '\0';
    return result;
}

char* eat_escape_character(const char* src) {
    if (src == nullptr) return nullptr;
    constexpr char OPENING[] = "^@{";
    const char* last_brace = std::strrchr(src, '}');
    char* copy = new char[std::strlen(src) + 1];
    char* to = copy;
    for (; *src != '\0'; ++src) {
        const bool escape =
            last_brace != nullptr && src < last_brace && std::strncmp(src, OPENING, sizeof OPENING - 1) == 0;
        if (!escape) *to++ = *src;
    }
    *to = '\0';
    return copy;
}

} // namespace taq_1
