// Writes the lines of show and export, and tells when that fails.
#include "Output.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "primitives/files/FileIo.h"

Output::~Output() {
    if (_file == nullptr) return;
    (void)std::fclose(_file);
    (void)QENRemoveName(_unfinished.c_str()); // it was given up
}

bool Output::open(const std::string& path) {
    if (!path.empty()) {
        _path = path;
        _unfinished = path + ".unfinished";
        const int fd = file_create(_unfinished.c_str(), "", QENAccess::UPDATE);
        if (fd >= 0) _file = QENStreamOver(fd, "wb");
        if (_file == nullptr) {
            _problems.failure(_unfinished + ": " + std::strerror(errno));
            return false;
        }
    }
    _room = raw_room<char>(ROOM);
    _lines =
        std::make_unique<LineBuffer>(_file != nullptr ? _file : stdout, std::span<char>(_room.get(), ROOM));
    return true;
}

// Always false. What made the stream fail is still in errno: only memory was used since.
bool Output::_give_up() {
    if (!_is_told && errno != EPIPE)
        _problems.failure((_path.empty() ? "standard output" : _path) + ": " + std::strerror(errno));
    _is_told = true;
    return false;
}

void Output::finish() {
    (void)_lines->send();
    if (!takes_more() || _file == nullptr) return;
    FILE* const file = std::exchange(_file, nullptr);
    if (std::fclose(file) == 0 && std::rename(_unfinished.c_str(), _path.c_str()) == 0) return;
    _problems.failure(_path + ": " + std::strerror(errno));
    (void)QENRemoveName(_unfinished.c_str()); // it is of no use
}
