#include "support/SystemCalls.h"
#include "support/Prelude.h"

#include <sys/syscall.h>

SystemCallPlan system_call_plan;

namespace {

// The bytes to transfer, 0 for a call on a path, or -1 with errno set.
ssize_t ask(const SystemCall& call) {
    if (!system_call_plan) return static_cast<ssize_t>(call.size);
    const ssize_t answer = system_call_plan(call);
    if (answer >= 0) return std::min(answer, static_cast<ssize_t>(call.size));
    errno = static_cast<int>(-answer);
    return -1;
}

} // namespace

void plan(std::string_view name, std::vector<ssize_t> steps) {
    system_call_plan = [=](const SystemCall& call) mutable {
        if (call.name != name || steps.empty()) return PASS;
        const ssize_t step = steps.front();
        steps.erase(steps.begin());
        return step;
    };
}

extern "C" {

ssize_t pread(int fd, void* buf, size_t size, off_t offset) {
    const ssize_t n = ask({"pread", "", size});
    return n < 0 ? n : syscall(SYS_pread64, fd, buf, n, offset);
}

ssize_t pwrite(int fd, const void* buf, size_t size, off_t offset) {
    const ssize_t n = ask({"pwrite", "", size});
    return n < 0 ? n : syscall(SYS_pwrite64, fd, buf, n, offset);
}

ssize_t write(int fd, const void* buf, size_t size) {
    const ssize_t n = ask({"write", "", size});
    return n < 0 ? n : syscall(SYS_write, fd, buf, n);
}

int fdatasync(int fd) {
    return ask({"fdatasync", "", 0}) < 0 ? -1 : static_cast<int>(syscall(SYS_fdatasync, fd));
}

int fsync(int fd) {
    return ask({"fsync", "", 0}) < 0 ? -1 : static_cast<int>(syscall(SYS_fsync, fd));
}

int rename(const char* from, const char* to) {
    return ask({"rename", from, 0}) < 0 ? -1 : renameat(AT_FDCWD, from, AT_FDCWD, to);
}

int link(const char* from, const char* to) noexcept {
    return ask({"link", from, 0}) < 0 ? -1 : linkat(AT_FDCWD, from, AT_FDCWD, to, 0);
}

int unlink(const char* path) noexcept {
    return ask({"unlink", path, 0}) < 0 ? -1 : unlinkat(AT_FDCWD, path, 0);
}

int remove(const char* path) noexcept {
    if (ask({"remove", path, 0}) < 0) return -1;
    const int done = unlinkat(AT_FDCWD, path, 0);
    return done == 0 || errno != EISDIR ? done : unlinkat(AT_FDCWD, path, AT_REMOVEDIR);
}

int rmdir(const char* path) noexcept {
    return ask({"rmdir", path, 0}) < 0 ? -1 : unlinkat(AT_FDCWD, path, AT_REMOVEDIR);
}

} // extern "C"
