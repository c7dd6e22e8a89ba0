// Directories by the C library's directory streams, whose descriptors are closed on exec.
#include "platform/unix/QENDirectory.h"

#include <dirent.h>

inline namespace taq_1 {

QENDirectory::QENDirectory(const char* path) : _stream(opendir(path)) {}

QENDirectory::~QENDirectory() {
    if (_stream != nullptr) (void)closedir(static_cast<DIR*>(_stream)); // only read
}

bool QENDirectory::next() {
    const dirent* entry = readdir(static_cast<DIR*>(_stream));
    if (entry == nullptr) return false;
    _name = entry->d_name;
    _is_known_file = entry->d_type == DT_REG;
    return true;
}

} // namespace taq_1
