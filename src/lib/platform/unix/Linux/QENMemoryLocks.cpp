// Releases memory locks by a bare system call.
#include "platform/unix/Linux/QENMemoryLocks.h"

#include <sys/syscall.h>
#include <unistd.h>

inline namespace taq_1 {

// The bare call: sanitizers replace munlockall() by one that may take locks.
bool QENReleaseMemoryLocks() {
    return syscall(SYS_munlockall) == 0;
}

} // namespace taq_1
