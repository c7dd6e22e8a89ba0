// The optional trace file of a reader or writer.
#pragma once

#include <cstdio>

inline namespace taq_1 {

// Opens the trace file name + suffix + ".debug" for writing in place of `fp`, which is closed when set. Null
// when it cannot be opened. The composed name is cut at 254 characters.
FILE* ldf_trace_open(FILE* fp, const char* name, const char* suffix);

// Writes text and a newline and flushes; nothing when fp or text is null.
void ldf_trace(FILE* fp, const char* text);

} // namespace taq_1
