// Asks the kernel whether a thread's control block can be read, without reading it.
#include "platform/unix/Linux/QENThreadProbe.h"

#include <cerrno>
#include <cstdint>
#include <sys/syscall.h>
#include <unistd.h>

inline namespace taq_1 {

namespace {

constexpr uintptr_t ALIGNMENT = 16;            // of a thread's control block, at least
constexpr uintptr_t CONTROL_BLOCK_SIZE = 1024; // up to the fields that joining reads
constexpr size_t KERNEL_SIGSET_SIZE = 8;

// The kernel reads the signal set before it looks at the operation, which is an invalid one: EFAULT tells an
// unreadable address, and nothing ever changes.
bool is_readable(uintptr_t address) {
    const int saved = errno;
    const long rc = syscall(SYS_rt_sigprocmask, ~0, address, nullptr, KERNEL_SIGSET_SIZE);
    const bool readable = rc == 0 || errno != EFAULT;
    errno = saved;
    return readable;
}

} // namespace

bool QENThreadMayExist(pthread_t tid) {
    static_assert(sizeof(pthread_t) == sizeof(uintptr_t));
    const auto address = static_cast<uintptr_t>(tid);
    if (address == 0 || address % ALIGNMENT != 0 || address > UINTPTR_MAX - CONTROL_BLOCK_SIZE) return false;
    return is_readable(address) && is_readable(address + CONTROL_BLOCK_SIZE - KERNEL_SIGSET_SIZE);
}

} // namespace taq_1
