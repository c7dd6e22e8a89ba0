// The last step of a compilation: the encoded catalogs become files.
#include "StagedFiles.h"

#include "i18n/unix/i18n_file.h"

#include <cerrno>
#include <cstring>

namespace gencat {

namespace {

constexpr unsigned MAX_NAME_TRIES =
    100000; // killed runs leave their temporary files, thousands for a large module

// A name in the target's folder, so that the rename never crosses file systems. It does not contain the
// target's name, which may be as long as a name can be.
std::string temporary_name(const std::string& target, unsigned number) {
    return target.substr(0, target.rfind('/') + 1) + ".taqgencat-" + std::to_string(number);
}

} // namespace

bool write_and_close(std::FILE* stream, std::string_view bytes, StagedFiles::Mode mode) {
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size() &&
                         (mode == StagedFiles::Mode::PLAIN || i18n_flush_to_disk(stream));
    const int write_errno = errno;
    if (std::fclose(stream) != 0) return false;
    errno = write_errno;
    return written;
}

StagedFiles::~StagedFiles() {
    for (const Entry& entry : _entries)
        if (!entry.temporary.empty())
            (void)std::remove(entry.temporary.c_str()); // nothing to do about a failure
}

bool StagedFiles::_fail(const std::string& path) {
    _error = path + ": " + std::strerror(errno);
    return false;
}

std::FILE* StagedFiles::_create_beside(const std::string& target, std::string& name) {
    for (unsigned tries = 0; tries < MAX_NAME_TRIES; ++tries) {
        name = temporary_name(target, _number++);
        std::FILE* stream =
            std::fopen(name.c_str(), "wbxe"); // x: never a file that exists, nor through a link
        if (stream != nullptr || errno != EEXIST) return stream;
    }
    return nullptr;
}

bool StagedFiles::stage(const std::string& path, std::string_view bytes) {
    Entry entry{{}, path};
    std::FILE* const stream = _create_beside(path, entry.temporary);
    if (stream == nullptr) return _fail(path);
    _entries.push_back(std::move(entry));
    return write_and_close(stream, bytes, _mode) || _fail(path);
}

bool StagedFiles::Entry::take_effect() const {
    if (!temporary.empty()) return std::rename(temporary.c_str(), target.c_str()) == 0;
    return std::remove(target.c_str()) == 0 || errno == ENOENT;
}

bool StagedFiles::commit() {
    size_t done = 0;
    while (done < _entries.size() && _entries[done].take_effect()) ++done;
    const bool complete = done == _entries.size() || _fail(_entries[done].target);
    _entries.erase(_entries.begin(), _entries.begin() + static_cast<std::ptrdiff_t>(done));
    return complete;
}

} // namespace gencat
