// Identity of the process and of the host, and aligned memory, as Linux tells them.
#include "platform/unix/QENBoundedCopy.h"
#include "platform/unix/QENDescriptors.h"
#include "platform/unix/QENPlatform.h"

#include <cstdio>
#include <cstring>
#include <malloc.h>
#include <memory>
#include <sys/utsname.h>
#include <unistd.h>

inline namespace taq_1 {

namespace {

constexpr size_t NAME_SIZE = 4096;
constexpr char LOOPBACK_NAME[] = "localhost";
constexpr char UNKNOWN_PROCESS[] = "unknown";
constexpr char NAME_KEY[] = "Name:";

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};

char* new_copy(const char* text, size_t length) {
    char* copy = new char[length + 1];
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

} // namespace

int QENGetPid() {
    return getpid();
}

char* QENGetProcName() {
    char line[NAME_SIZE];
    std::snprintf(line, sizeof line, "/proc/%d/status", getpid());
    const std::unique_ptr<FILE, FileCloser> file(QENOpenStream(line, "r"));
    while (file != nullptr && std::fgets(line, sizeof line, file.get()) != nullptr) {
        if (std::strncmp(line, NAME_KEY, sizeof NAME_KEY - 1) != 0) continue;
        const char* name = line + sizeof NAME_KEY - 1;
        name += std::strspn(name, " \t");
        return new_copy(name, std::strcspn(name, "\n"));
    }
    return new_copy(UNKNOWN_PROCESS, sizeof UNKNOWN_PROCESS - 1);
}

char* QENGetSystemName(char* buf, size_t size) {
    if (buf == nullptr) {
        buf = new char[NAME_SIZE];
        size = NAME_SIZE;
    }
    utsname host;
    QENBoundedCopy(buf, uname(&host) == 0 ? host.nodename : LOOPBACK_NAME, size);
    return buf;
}

void QENGetSysInfo(char* sysinfo, size_t size) {
    utsname host;
    char text[NAME_SIZE];
    if (uname(&host) == 0)
        std::snprintf(text, sizeof text, "Linux:%s,%s,%s,%s", host.nodename, host.version, host.release,
                      host.machine);
    else
        std::snprintf(text, sizeof text, "Linux:%s,?,?,?", LOOPBACK_NAME);
    QENBoundedCopy(sysinfo, text, size);
}

void* QENMemAlign(size_t align, size_t size) {
    return memalign(align, size);
}

} // namespace taq_1
