// Bounded C-string functions. A size is that of the whole buffer with the NUL. A null source string counts
// as empty. No function touches a locale, except the formatting ones for what the format asks.
#pragma once

#include <cstddef>

inline namespace taq_1 {

// Copies at most size - 1 characters and terminates (nothing for size 0). Returns the length of src: the
// text was cut when that is not below size.
size_t qenstrlcpy(char* dst, const char* src, size_t size);

// Appends src to the string in dst. Returns the length of that string, counted at most to size, plus the
// length of src: the text was cut when that is not below size.
size_t qenstrlcat(char* dst, const char* src, size_t size);

// Formats at most maxlen - 1 characters (maxlen at least 1) and terminates. Returns the length of the whole
// text, or a negative value when the C library cannot format it. Arguments may point into dst: the text is
// composed apart and then copied.
int qensnprintf(char* dst, size_t maxlen, const char* fmt, ...) __attribute__((format(printf, 3, 4)));

// The same composed in place: faster, and no argument may point into dst.
int qensnprintf2(char* dst, size_t maxlen, const char* fmt, ...) __attribute__((format(printf, 3, 4)));

// malloc() that never fails: exhausted memory is reported with the position to the system log and standard
// error and ends the process with a core image. Freed with free().
[[nodiscard]] void* qenmalloc(size_t size, const char* file, unsigned line);

// Cuts the next token off *sp: the delimiter behind it becomes a NUL and *sp moves past it, or becomes null
// when there is none. Adjacent delimiters give empty tokens. Null when *sp is.
char* qenstrtok(char** sp, const char* delims);

char* qenstrtoupper(const char* s); // a copy with a to z in upper case: delete[]; null for null

enum qenescfmt_result { ESC_OK = 0, ESC_EINVAL = 1, ESC_ECUT = -1 };

// Copies src with every '%' doubled, so that printf gives the text back. ESC_EINVAL: a null pointer or size
// 0; ESC_ECUT: dst is full and the text was cut. A '%' that does not fit doubled ends the text early with
// ESC_OK.
int qenescfmt(char* dst, const char* src, size_t size);

// A copy without each '^' that stands before "@{" when a '}' follows somewhere: delete[]; null for null.
char* eat_escape_character(const char* src);

} // namespace taq_1
