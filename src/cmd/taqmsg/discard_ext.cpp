// The name of a log data file without ".ldf": for the reader, and for -list.
#include "taqmsg.h"

#include <cstring>

const char* discard_ext(const char* file) {
    static char name[TAQMSG_TEXT_SIZE];
    const char* slash = std::strrchr(file, '/');
    const char* last = slash != nullptr ? slash + 1 : file;
    const char* dot = std::strrchr(last, '.');
    if (dot == nullptr) return last;
    const auto length = static_cast<size_t>(dot - file);
    const size_t kept = length < sizeof name ? length : sizeof name - 1;
    std::memcpy(name, file, kept);
    name[kept] = '\0';
    return name;
}
