// Writing to a stream that may belong to somebody else: a pipe that is full, a terminal, a memory buffer.
#pragma once

#include <cstddef>
#include <cstdio>

inline namespace taq_1 {

// The C library throws bytes away when the descriptor under a stream is non-blocking and full. These
// functions send what the stream holds, and then their own bytes, through the descriptor themselves, and wait
// for room. A stream without a descriptor (fmemopen, fopencookie) and one that can also be read go through
// the C library. The stream is locked like in fwrite.

// Writes all bytes. at_once false: bytes that fit the stream's buffer may stay there, as with fwrite. Returns
// the bytes that were taken; fewer than size when the stream takes no more.
size_t QENStreamWrite(FILE* fp, const char* bytes, size_t size, bool at_once);

// Sends what the stream holds. False: it takes no more.
bool QENStreamFlush(FILE* fp);

// Drops what the stream holds.
void QENStreamPurge(FILE* fp);

// Whether the stream is a terminal. Leaves errno alone.
bool QENIsTerminal(FILE* fp);

} // namespace taq_1
