// Consistency checks. What a file, a user or the system can cause is a result code; a failed check means a
// mistake of our own, and the process ends with a report and a core image.
#pragma once

inline namespace taq_1 {

// Reports a failed check and ends the process as abort() does. The report, "ASSERTION FAILED: file %s,
// line %u, expression (%s)\n", goes to the system log (error level) and to standard error, cut at 4095
// bytes; a reason goes there first. Null texts read "(null)". Callable from any thread.
[[noreturn]] void QENAssert(const char* expr, const char* file, unsigned line, const char* reason = nullptr);

// Ends the process through QENAssert with the text of the expression and the caller's position unless the
// expression holds. Always compiled in; the expression is evaluated once.
#define QEN_CHECK(expr) QEN_CHECK_AS(expr, #expr)

// The same, reported with another text than the expression has in the source.
#define QEN_CHECK_AS(expr, text)                                                                             \
    (__builtin_expect(!(expr), 0) ? QENAssert(text, __FILE__, __LINE__) : (void)0)

} // namespace taq_1
