// Lets a process with one thread leave out locks and locked additions.
#pragma once

#include <sys/single_threaded.h>

inline namespace taq_1 {

// Whether the process has one thread. Costs one load. May stay false after the last other thread has ended.
inline bool QENIsSingleThreaded() {
    return __libc_single_threaded;
}

} // namespace taq_1
