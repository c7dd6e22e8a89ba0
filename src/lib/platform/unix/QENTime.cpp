// The local time as text.
#include "platform/unix/QENBoundedCopy.h"
#include "platform/unix/QENPlatform.h"

#include <ctime>
#include <sys/time.h>

inline namespace taq_1 {

int QENTime(char* bufp, size_t size) {
    timeval now;
    tm local;
    if (bufp == nullptr || size == 0) return -1;
    if (gettimeofday(&now, nullptr) != 0 || localtime_r(&now.tv_sec, &local) == nullptr) return -1;
    char text[64];
    if (std::strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S ", &local) == 0) return -1;
    QENBoundedCopy(bufp, text, size); // strftime leaves unknown bytes in a buffer that is too short
    return 0;
}

} // namespace taq_1
