// Registry, opening, setting aside and rotation of LdfWriter's files.
#include "primitives/ldf/LdfWriter.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <limits>
#include <string>
#include <unistd.h>

#include "platform/unix/QENPlatform.h"
#include "primitives/ldf/LdfFileIo.h"
#include "primitives/ldf/LdfPaths.h"
#include "primitives/ldf/LdfRegistry.h"
#include "primitives/utils/QENUtils.h"

namespace {

LdfRegistry writers;

constexpr int SYSLOG_ERROR = 1;
constexpr char ERR_SUFFIX[] = ".err";
constexpr char NEW_SUFFIX[] = ".new";

int32_t saturated(int64_t size) {
    return static_cast<int32_t>(std::min<int64_t>(size, std::numeric_limits<int32_t>::max()));
}

} // namespace

void LdfWriter::init(const char*) {
    writers.create();
}
void LdfWriter::destroy() {
    writers.destroy();
}

LdfWriter* Ldf_obj(const char* name) {
    return static_cast<LdfWriter*>(writers.find(name));
}

LdfWriter::~LdfWriter() {
    _unregister();
    _close();
    if (_debug_fp) std::fclose(_debug_fp);
}

void LdfWriter::_unregister() {
    writers.remove(_namep.get(), this);
    _namep.reset();
    _dirp.reset();
}

void LdfWriter::_close() {
    if (_fp) std::fclose(_fp);
    _fp = nullptr;
    _opened = 0;
}

int LdfWriter::open(const char* namep, int flags) {
    if (int rc = writers.add(namep, this)) return rc;
    if (std::strchr(namep, '/')) {
        writers.remove(namep, this);
        return LDF_EFAIL;
    }
    _unregister();
    _close();
    _initialized = _rotation_failed = 0;
    _flags = flags;
    _namep = ldf_join(namep);
    if (int rc = _locate(namep)) {
        _unregister();
        return rc;
    }
    _initialized = 1;
    if (_prepare_ldf() != LDF_OK && _recover() != LDF_OK) return LDF_EFAIL;
    set_maxlen(LDF_DEFAULT_MAXLEN);
    return LDF_OK;
}

// Finds or makes the directory and builds the paths.
int LdfWriter::_locate(const char* namep) {
    char root[LDF_ROOT_SIZE];
    ldf_data_root(root);
    if (!QENCheckDir(root)) return LDF_EROOT;
    _dirp = ldf_join(root, LDF_SUBDIR);
    if (!QENCheckDir(_dirp.get()) && (QENMakeDir(_dirp.get()) != 0 || !QENCheckDir(_dirp.get())))
        return LDF_EFAIL;
    _pathAp = ldf_join(_dirp.get(), namep, "_A", LDF_EXTENSION);
    _pathBp = ldf_join(_dirp.get(), namep, "_B", LDF_EXTENSION);
    _pathCp = ldf_join(_dirp.get(), namep, "_C", LDF_EXTENSION);
    return LDF_OK;
}

// Makes file A ready for appending. On failure no file is open, and what cannot be continued is left to the
// caller.
int LdfWriter::_prepare_ldf() {
    _close();
    const LdfOccupant occupant = ldf_occupant(_pathAp.get());
    const bool anew = occupant == LdfOccupant::NOTHING || occupant == LdfOccupant::SHORT_FILE;
    const int rc = anew ? _create_file() : _continue_file();
    if (rc == LDF_OK) _rotation_failed = 0; // the next failure is a new one, worth its own report
    return rc;
}

int LdfWriter::_continue_file() {
    int64_t size = 0;
    const int fd = ldf_occupant(_pathAp.get()) == LdfOccupant::LONG_FILE
                       ? ldf_open_for_update(_pathAp.get(), size)
                       : -1; // opening a device may have effects of its own
    if (fd >= 0 && !(_fp = fdopen(fd, "r+b"))) ::close(fd);
    if (!_fp) {
        if (!_rotation_failed) QENSyslog(SYSLOG_ERROR, "Could not open %s with mode r+b", _pathAp.get());
        return LDF_EFAIL;
    }
    _opened = 1;
    _count = _starting_filesize = saturated(size);
    if (_read_header() == LDF_OK) return LDF_OK;
    _close();
    return LDF_EFAIL;
}

int LdfWriter::_read_header() {
    unsigned char bytes[LDF_HEADER_SIZE];
    if (pread(fileno(_fp), bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes)) return LDF_EFAIL;
    if (int rc = ldf_decode_header(bytes, _starting_filesize, _ldf_header)) return rc;
    // A reader can live with these; a writer would overwrite its own header or add records never shown.
    return _ldf_header.offset_end >= LDF_HEADER_SIZE && _ldf_header.total_msgs >= 0 ? LDF_OK : LDF_EFAIL;
}

int LdfWriter::_create_file() {
    ldf_header_t header;
    FILE* fresh = _make_new_file(header);
    return fresh ? _install_new_file(fresh, header) : LDF_EFAIL;
}

// Writes an empty log data file under a name that no reader takes for one. Null when that fails.
FILE* LdfWriter::_make_new_file(ldf_header_t& header) const {
    header = {};
    header.signature = LDF_SIGNATURE;
    header.ver_major = LDF_VER_MAJOR;
    header.ver_minor = LDF_VER_MINOR;
    const std::unique_ptr<char[]> system(QENUtils::get_system());
    if (system) std::memcpy(header.system, system.get(), strnlen(system.get(), LDF_SYSTEM_SIZE - 1));
    header.platform = LDF_PLATFORM_LINUX;
    header.datetime_create = header.datetime_modify = static_cast<int32_t>(std::time(nullptr));
    header.flags = _flags;
    header.offset_end = LDF_HEADER_SIZE;

    unsigned char bytes[LDF_HEADER_SIZE];
    ldf_encode_header(header, bytes);
    const auto path = ldf_join(_pathAp.get(), NEW_SUFFIX);
    const int fd = ldf_create(path.get(), bytes, sizeof bytes);
    FILE* fp = fd < 0 ? nullptr : fdopen(fd, "r+b");
    if (fd >= 0 && !fp) {
        ::close(fd);
        (void)QENDeleteFile(path.get());
    }
    if (!fp && !_rotation_failed) // one report, not one for every record that a full disk costs
        QENSyslog(SYSLOG_ERROR, "Could not open %s with mode w+b", _pathAp.get());
    return fp;
}

// Puts the new file in place of A, whole, so that a reader never meets half a header.
int LdfWriter::_install_new_file(FILE* fp, const ldf_header_t& header) {
    const auto path = ldf_join(_pathAp.get(), NEW_SUFFIX);
    if (std::rename(path.get(), _pathAp.get()) != 0) {
        std::fclose(fp);
        (void)QENDeleteFile(path.get());
        return LDF_EFAIL;
    }
    _fp = fp;
    _opened = 1;
    _ldf_header = header;
    _count = _starting_filesize = static_cast<int32_t>(LDF_HEADER_SIZE);
    return LDF_OK;
}

// Moves a file A that cannot be continued aside and starts anew.
int LdfWriter::_recover() {
    _close();
    const auto aside = ldf_join(_pathAp.get(), ERR_SUFFIX);
    (void)QENDeleteFile(aside.get());              // absent is fine
    (void)std::rename(_pathAp.get(), aside.get()); // when it stays, _prepare_ldf refuses it again
    return _initialized ? _prepare_ldf() : static_cast<int>(LDF_EFAIL);
}

namespace {

// Renames `newer` to `older`, whose file goes in the same instant. A `newer` that is missing, as a writer
// that died between two renames leaves it, or cannot be renamed at all must not cost the older generation.
void replace_generation(const char* newer, const char* older) {
    if (std::rename(newer, older) == 0 || (errno != EISDIR && errno != ENOTDIR)) return;
    (void)QENDeleteFile(older); // a directory and a file do not replace each other
    (void)std::rename(newer, older);
}

} // namespace

// Rotates the generations. The new file is made first: while that fails, for want of disk space say, file A
// stays open as it is and the next write tries again.
int LdfWriter::_next() {
    ldf_header_t header;
    FILE* fresh = _make_new_file(header);
    _rotation_failed = !fresh;
    if (!fresh) return LDF_EFAIL;
    _close();
    replace_generation(_pathBp.get(), _pathCp.get()); // either step may fail without stopping the next
    replace_generation(_pathAp.get(), _pathBp.get());
    int rc;
    if (ldf_occupant(_pathAp.get()) == LdfOccupant::NOTHING) {
        rc = _install_new_file(fresh, header);
    } else { // A could not be renamed: go on with it rather than lose it
        std::fclose(fresh);
        (void)QENDeleteFile(ldf_join(_pathAp.get(), NEW_SUFFIX).get());
        rc = _prepare_ldf();
    }
    _rotation_failed = rc != LDF_OK;
    return rc;
}
