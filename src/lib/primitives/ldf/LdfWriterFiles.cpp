// Registry, opening, setting aside and rotation of LdfWriter's files.
#include "primitives/ldf/LdfWriter.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "platform/unix/QENFork.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/ldf/LdfBatch.h"
#include "primitives/ldf/LdfPaths.h"
#include "primitives/ldf/LdfRegistry.h"
#include "primitives/ldf/LdfWindow.h"
#include "primitives/utils/QENUtils.h"

inline namespace taq_1 {

namespace {

LdfRegistry writers;

constexpr int SYSLOG_ERROR = 1;

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

LdfWriter::LdfWriter() = default;

LdfWriter::~LdfWriter() {
    write_gathered();
    _close();
    _unregister();
    if (_debug_fp) std::fclose(_debug_fp);
}

void LdfWriter::_unregister() {
    writers.remove(_namep.get(), this);
    _lock.release();
    _namep.reset();
    _dirp.reset();
}

void LdfWriter::_close() {
    if (_fp) std::fclose(_fp);
    _fp = nullptr;
    _opened = 0;
}

int LdfWriter::open(const char* namep, int flags) {
    PathText name(namep != nullptr ? file_join({namep}) : nullptr);
    if (namep != nullptr && name == nullptr) return LDF_ENOMEM;
    if (int rc = writers.add(name.get(), this)) return rc;
    if (std::strchr(namep, '/')) { // NOLINT(clang-analyzer-core.NonNullParamChecker): add refuses a null name
        writers.remove(name.get(), this);
        return LDF_EFAIL;
    }
    write_gathered();
    _close();
    _unregister();
    _flags = flags;
    _namep = std::move(name);
    _forks = QENForkCount();
    _pause.succeeded();
    int rc = _locate(_namep.get());
    if (rc == LDF_OK) rc = _take_name();
    if (rc != LDF_OK) {
        _unregister();
        return rc;
    }
    _files.mend();
    if (_prepare_ldf() != LDF_OK && _recover() != LDF_OK) return LDF_EFAIL;
    set_maxlen(LDF_DEFAULT_MAXLEN);
    return LDF_OK;
}

// Finds or makes the directory and builds the paths.
int LdfWriter::_locate(const char* namep) {
    char root[LDF_ROOT_SIZE];
    ldf_data_root(root);
    if (!QENCheckDir(root)) return LDF_EROOT;
    _dirp = file_join({root, LDF_SUBDIR});
    if (!_dirp || !_files.locate(_dirp.get(), namep, LDF_EXTENSION)) return LDF_ENOMEM;
    if (!QENCheckDir(_dirp.get()) && (QENMakeDir(_dirp.get()) != 0 || !QENCheckDir(_dirp.get())))
        return LDF_EFAIL;
    return LDF_OK;
}

// Keeps other processes from this log. Within the process the registry does.
int LdfWriter::_take_name() {
    const NameLock::Answer answer = _lock.take(_dirp.get(), _namep.get());
    if (answer.holder != NameLock::Holder::OTHER_PROCESS) return LDF_OK;
    QENSyslog(SYSLOG_ERROR, "Process %ld writes %s", static_cast<long>(answer.pid), _files.current());
    return LDF_EREGISTERED;
}

// Makes file A ready for appending. On failure no file is open; the caller then moves a file aside that
// cannot be continued.
int LdfWriter::_prepare_ldf() {
    QENFileState file;
    const int fd = file_open_regular(_files.current(), QENAccess::UPDATE, file);
    if (fd >= 0 && file.size >= static_cast<int64_t>(LDF_HEADER_SIZE)) return _continue_file(fd, file.size);
    if (fd >= 0) QENCloseDescriptor(fd); // too short to hold anything
    if (fd >= 0 || errno == ENOENT) return _install_new(&Generations::install);
    QENSyslog(SYSLOG_ERROR, "Could not open %s with mode r+b", _files.current());
    return LDF_EFAIL;
}

void LdfWriter::_use(FILE* fp, int64_t size) {
    constexpr int64_t READERS_LIMIT = INT32_MAX;
    constexpr int64_t RECORD = LDF_RECORD_MAX;
    _fp = fp;
    _opened = 1;
    _files.expect_sync();
    _count = _starting_filesize = QENSaturatedFileSize(size);
    const int64_t limit = std::min(QENFileSizeLimit(), READERS_LIMIT);
    _last_start = static_cast<uint32_t>(std::max(limit, RECORD) - RECORD);
}

int LdfWriter::_continue_file(int fd, int64_t size) {
    FILE* fp = QENStreamOver(fd, "r+b");
    if (!fp) return LDF_EFAIL;
    _use(fp, size);
    if (_read_header() == LDF_OK) return LDF_OK;
    _close();
    return LDF_EFAIL;
}

int LdfWriter::_read_header() {
    unsigned char bytes[LDF_HEADER_SIZE];
    if (!QENReadAt(fileno(_fp), bytes, sizeof bytes, 0)) return LDF_EFAIL;
    if (int rc = ldf_decode_header(bytes, _starting_filesize, _ldf_header)) return rc;
    // A reader accepts what a writer must not continue: it would overwrite the header or add records that
    // nobody sees.
    return _ldf_header.total_msgs >= 0 && _reaches_end() ? LDF_OK : LDF_EFAIL;
}

// Whether a reader gets past the last record, and not into the header. A power cut may leave a hole in front
// of it, and nobody would see what is written behind a hole.
bool LdfWriter::_reaches_end() const {
    LdfWindow window;
    window.attach(fileno(_fp), _starting_filesize);
    int64_t pos = LDF_HEADER_SIZE;
    while (pos < _ldf_header.offset_end) {
        const unsigned char* bytes;
        ldf_msg_header_t record;
        if (window.want(pos, LDF_RECORD_HEADER_SIZE, bytes) < LDF_RECORD_HEADER_SIZE)
            return window.no_memory(); // nobody knows
        ldf_decode_record(bytes, record);
        if (record.version != LDF_RECORD_VERSION || record.data_size > LDF_TEXT_MAX) return false;
        pos += static_cast<int64_t>(LDF_RECORD_HEADER_SIZE + record.data_size);
    }
    return pos == _ldf_header.offset_end;
}

// Makes an empty file and puts it in place of A, whole, so that a reader never meets half a header. On
// failure the file that was open stays open, and the first failure in a row is reported.
int LdfWriter::_install_new(bool (Generations::*way)() const) {
    ldf_header_t header;
    FILE* fresh = _make_new_file(header);
    const char* report = "Could not open %s with mode w+b: %s";
    if (fresh && !(_files.*way)()) {
        const int why = errno;
        report = "Could not replace %s: %s";
        std::fclose(fresh);
        fresh = nullptr;
        errno = why;
    }
    if (!fresh) {
        const int why = errno;
        if (_pause.failed()) QENSyslog(SYSLOG_ERROR, report, _files.current(), std::strerror(why));
        return LDF_EFAIL;
    }
    _close();
    _use(fresh, LDF_HEADER_SIZE);
    _ldf_header = header;
    _pause.succeeded();
    return LDF_OK;
}

// Writes an empty log data file under a name that no reader takes for one. Null with errno set when that
// fails.
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
    const int fd = _files.make_new({reinterpret_cast<const char*>(bytes), sizeof bytes}, QENAccess::UPDATE);
    return fd < 0 ? nullptr : QENStreamOver(fd, "r+b"); // the next new file takes the place of a failed one
}

// Moves a file A that cannot be continued aside and starts anew. The new file is made first: a process short
// of descriptors, or a full disk, must not cost the one that is there.
int LdfWriter::_recover() {
    _close();
    return _install_new(&Generations::install_beside);
}

// Rotates the generations. While that fails, file A stays open as it is.
void LdfWriter::_next() {
    // What is not waited for may lag behind a header that is on the disk already. Nobody mends file B later.
    if (_synced_sev >= 0 && _opened != 0) (void)QENSyncData(fileno(_fp)); // no promise covers these records
    (void)_install_new(&Generations::rotate);
}

} // namespace taq_1
