#include "platform/unix/QENAssert.h"

#include "platform/unix/QENPlatform.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

constexpr int SEV_ERROR = 1; // of the system log

const char* text_of(const char* text) {
    return text != nullptr ? text : "(null)";
}

// Past stdio, whose locks and buffers may be what is broken.
void write_stderr(const char* text) {
    (void)QENWriteAll(STDERR_FILENO, text, std::strlen(text)); // nobody is left to hear of a failure
}

} // namespace

void QENAssert(const char* expr, const char* file, unsigned line, const char* reason) {
    if (reason != nullptr) {
        QENSyslog(SEV_ERROR, "%s", reason);
        write_stderr(reason);
        write_stderr("\n");
    }
    char report[4096];
    std::snprintf(report, sizeof report, "ASSERTION FAILED: file %s, line %u, expression (%s)\n",
                  text_of(file), line, text_of(expr));
    QENSyslog(SEV_ERROR, "%s", report);
    write_stderr(report);
    std::abort();
}
