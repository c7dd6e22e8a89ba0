// Ends a process that found a mistake of its own: reports it, then aborts.
#include "platform/unix/QENAssert.h"

#include "platform/unix/QENNullText.h"
#include "platform/unix/QENPlatform.h"

#include <cstdio>
#include <cstdlib>

inline namespace taq_1 {

namespace {

constexpr int SEV_ERROR = 1; // of the system log

} // namespace

void QENAssert(const char* expr, const char* file, unsigned line, const char* reason) {
    if (reason != nullptr) {
        QENSyslog(SEV_ERROR, "%s", reason);
        QENPutError(reason);
        QENPutError("\n");
    }
    char report[4096];
    std::snprintf(report, sizeof report, "ASSERTION FAILED: file %s, line %u, expression (%s)\n",
                  QENTextOf(file), line, QENTextOf(expr));
    QENSyslog(SEV_ERROR, "%s", report);
    QENPutError(report);
    std::abort();
}

} // namespace taq_1
