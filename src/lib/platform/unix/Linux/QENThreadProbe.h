// Judges thread ids before they are joined.
#pragma once

#include <pthread.h>

inline namespace taq_1 {

// Whether the id can be that of a thread: not null, aligned, and its control block readable. The C library
// takes ids at their word and would crash on any other; it recognises ended threads itself.
bool QENThreadMayExist(pthread_t tid);

} // namespace taq_1
