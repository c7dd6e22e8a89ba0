// Registry, opening and closing of LdfReader.
#include "primitives/ldf/LdfReader.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/unix/QENPlatform.h"
#include "primitives/ldf/LdfPaths.h"
#include "primitives/ldf/LdfRegistry.h"
#include "primitives/ldf/LdfTrace.h"

namespace {
LdfRegistry readers;
} // namespace

void LdfReader::init(const char*) {
    readers.create();
}
void LdfReader::destroy() {
    readers.destroy();
}

LdfReader* LdfReader_obj(const char* name) {
    return static_cast<LdfReader*>(readers.find(name));
}

LdfReader::~LdfReader() {
    _unregister();
    _close();
    if (_debug_fp) std::fclose(_debug_fp);
}

void LdfReader::_unregister() {
    readers.remove(_namep.get(), this);
    _namep.reset();
    _dirp.reset();
}

void LdfReader::_close() {
    if (_fp) std::fclose(_fp);
    _fp = nullptr;
    _opened = 0;
    _msg_ndx = _curr_offset = 0;
}

int LdfReader::open(const char* pathp, const char* namep) {
    if (int rc = readers.add(namep, this)) return rc;
    _unregister();
    _close();
    _namep = ldf_join(namep);
    int rc = _locate(pathp, namep);
    if (!rc) rc = _open_file();
    if (!rc) rc = _read_header();
    if (rc) _unregister();
    return rc;
}

// Finds the directory and builds _dirp and _pathp.
int LdfReader::_locate(const char* pathp, const char* namep) {
    if (pathp) {
        _dirp = ldf_join(pathp);
        _pathp = ldf_join(pathp, "/", namep, LDF_EXTENSION);
    } else {
        char root[LDF_ROOT_SIZE];
        ldf_data_root(root);
        if (!QENCheckDir(root)) return LDF_EROOT;
        _dirp = ldf_join(root, LDF_SUBDIR);
        _pathp = ldf_join(_dirp.get(), namep, LDF_EXTENSION);
    }
    return QENCheckDir(_dirp.get()) ? LDF_OK : LDF_EFAIL;
}

// Opens the file for the window and learns its size. A FIFO must not make us wait for its writer.
int LdfReader::_open_file() {
    const int fd = ::open(_pathp.get(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) return LDF_EFAIL;
    struct stat st;
    const bool regular = fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    const bool long_enough = regular && st.st_size >= static_cast<off_t>(LDF_HEADER_SIZE);
    if (regular && !long_enough) _delete_short_file(fd);
    if (long_enough) _fp = fdopen(fd, "rb");
    if (!_fp) {
        ::close(fd);
        return long_enough && errno == ENOMEM ? LDF_ENOMEM : LDF_EFAIL;
    }
    _opened = 1;
    _starting_filesize =
        static_cast<int32_t>(std::min<off_t>(st.st_size, std::numeric_limits<int32_t>::max()));
    _window.attach(fd, st.st_size);
    return LDF_OK;
}

// Deletes the regular file behind `fd` if the path itself, not a link, still leads to it and it still is too
// short: a writer may have put a whole file in its place, or filled it, since it was opened.
void LdfReader::_delete_short_file(int fd) {
    struct stat opened, named;
    if (lstat(_pathp.get(), &named) != 0 || fstat(fd, &opened) != 0) return;
    const bool same = named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
    if (same && opened.st_size < static_cast<off_t>(LDF_HEADER_SIZE))
        (void)QENDeleteFile(_pathp.get(), nullptr); // the result of open is the same either way
}

int LdfReader::_read_header() {
    _ldf_header = {};
    unsigned char bytes[LDF_HEADER_SIZE];
    if (pread(fileno(_fp), bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes)) return LDF_EFAIL;
    return ldf_decode_header(bytes, _starting_filesize, _ldf_header);
}

void LdfReader::XXDEBUG_OPEN(const char* name) {
    _debug_fp = ldf_trace_open(_debug_fp, name, "-ldfr");
}
void LdfReader::XXDEBUG(const char* text) {
    ldf_trace(_debug_fp, text);
}
