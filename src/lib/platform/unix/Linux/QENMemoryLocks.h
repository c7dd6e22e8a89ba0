// Memory locks, which a child that runs a command must not keep.
#pragma once

inline namespace taq_1 {

// Releases the memory locks of the process; callable between fork and exec.
bool QENReleaseMemoryLocks();

} // namespace taq_1
