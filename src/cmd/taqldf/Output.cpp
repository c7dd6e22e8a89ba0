// Writes the lines of show and export, and tells when that fails.
#include "Output.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "primitives/files/FileIo.h"

Output::~Output() {
    if (_file == nullptr) return;
    (void)std::fclose(_file);
    if (!_unfinished.empty()) (void)QENRemoveName(_unfinished.c_str()); // it was given up
}

// A device or a pipe takes the bytes itself: a file in its place would take /dev/null from everybody. A link
// stays, and what it leads to is replaced.
bool Output::_open_file() {
    QENFileState state;
    const bool exists = QENStateOfPath(_path.c_str(), state);
    if (exists && !state.is_regular()) {
        _file = std::fopen(_path.c_str(), "wbe");
        return _file != nullptr;
    }
    std::error_code failure;
    if (exists) _path = std::filesystem::canonical(_path, failure).string();
    _unfinished = _path + ".unfinished";
    const int fd = file_create(_unfinished.c_str(), "", QENAccess::UPDATE);
    if (fd >= 0) _file = QENStreamOver(fd, "wb");
    return _file != nullptr;
}

bool Output::open(const std::string& path) {
    if (!path.empty()) {
        _path = path;
        if (!_open_file()) {
            _problems.failure((_unfinished.empty() ? _path : _unfinished) + ": " + std::strerror(errno));
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
    if (std::fclose(file) == 0 &&
        (_unfinished.empty() || std::rename(_unfinished.c_str(), _path.c_str()) == 0))
        return;
    _problems.failure(_path + ": " + std::strerror(errno));
    if (!_unfinished.empty()) (void)QENRemoveName(_unfinished.c_str()); // it is of no use
}
