// Registry, opening and closing of LdfReader.
#include "primitives/ldf/LdfReader.h"

#include <algorithm>
#include <cerrno>

#include "platform/unix/QENPlatform.h"
#include "primitives/files/FileIo.h"
#include "primitives/ldf/LdfPaths.h"
#include "primitives/ldf/LdfRegistry.h"
#include "primitives/ldf/LdfTrace.h"

inline namespace taq_1 {

namespace {

LdfRegistry readers;

bool is_short(const QENFileState& file) {
    return file.size < static_cast<int64_t>(LDF_HEADER_SIZE);
}

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
    PathText name(namep != nullptr ? file_join({namep}) : nullptr);
    if (namep != nullptr && name == nullptr) return LDF_ENOMEM;
    if (int rc = readers.add(name.get(), this)) return rc;
    _unregister();
    _close();
    _namep = std::move(name);
    int rc = _locate(pathp, namep);
    if (!rc) rc = _open_file();
    if (!rc) rc = _read_header();
    if (rc) _unregister();
    return rc;
}

// Finds the directory and builds _dirp and _pathp.
int LdfReader::_locate(const char* pathp, const char* namep) {
    if (pathp) {
        _dirp = file_join({pathp});
        _pathp = file_join({pathp, "/", namep, LDF_EXTENSION});
    } else {
        char root[LDF_ROOT_SIZE];
        ldf_data_root(root);
        if (!QENCheckDir(root)) return LDF_EROOT;
        _dirp = file_join({root, LDF_SUBDIR});
        _pathp = file_join({root, LDF_SUBDIR, namep, LDF_EXTENSION});
    }
    if (!_dirp || !_pathp) return LDF_ENOMEM;
    return QENCheckDir(_dirp.get()) ? LDF_OK : LDF_EFAIL;
}

int LdfReader::_open_file() {
    QENFileState file;
    const int fd = file_open_regular(_pathp.get(), QENAccess::READ, file);
    if (fd < 0) return LDF_EFAIL;
    if (is_short(file)) {
        _delete_short_file(fd);
        QENCloseDescriptor(fd);
        return LDF_EFAIL;
    }
    _fp = QENStreamOver(fd, "rb");
    if (!_fp) return errno == ENOMEM ? LDF_ENOMEM : LDF_EFAIL;
    _opened = 1;
    return LDF_OK;
}

// Deletes the regular file behind `fd` if the path itself, not a link, still leads to it and it still is too
// short: a writer may have put a whole file in its place, or filled it, since it was opened.
void LdfReader::_delete_short_file(int fd) {
    QENFileState opened, named;
    if (!QENStateOfName(_pathp.get(), named) || !QENStateOfOpen(fd, opened)) return;
    if (opened.is_same_file(named) && is_short(opened))
        (void)QENDeleteFile(_pathp.get(), nullptr); // the result of open is the same either way
}

// Beside a writer, a read may find the start of one header and the end of the next. When the parts do not fit
// together they are read again; after some attempts the header is taken as it is.
int LdfReader::_read_header() {
    constexpr int ATTEMPTS = 1 + 5;
    int rc = LDF_EFAIL;
    for (int i = 0; i < ATTEMPTS; ++i) {
        rc = _read_header_once();
        if (rc == LDF_OK ? ldf_adds_up(_ldf_header)
                         : _ldf_header.signature != LDF_SIGNATURE || rc == LDF_EVERSION)
            break;
    }
    _window.attach(fileno(_fp), _starting_filesize);
    return rc;
}

// Asks for the size after the header was read: it then covers every record that the header counts.
int LdfReader::_read_header_once() {
    _ldf_header = {};
    unsigned char bytes[LDF_HEADER_SIZE];
    QENFileState file;
    if (!QENReadAt(fileno(_fp), bytes, sizeof bytes, 0)) return LDF_EFAIL;
    if (!QENStateOfOpen(fileno(_fp), file)) return LDF_EFAIL;
    _starting_filesize = QENSaturatedFileSize(file.size);
    return ldf_decode_header(bytes, _starting_filesize, _ldf_header);
}

void LdfReader::XXDEBUG_OPEN(const char* name) {
    _debug_fp = ldf_trace_open(_debug_fp, name, "-ldfr");
}
void LdfReader::XXDEBUG(const char* text) {
    ldf_trace(_debug_fp, text);
}

} // namespace taq_1
