// Writing the rings to files. The same code serves a request of the program and a signal handler, so it is
// written for the handler: system calls only, no stdio, no allocation. Only a request locks and reports.
#include "primitives/log/FFDC.h"

#include "platform/unix/QENAssert.h"
#include "platform/unix/QENDumpFile.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/log/FixedText.h"
#include "primitives/message/severity.h"
#include "primitives/values/CList.h"

#include <cerrno>
#include <cstring>

inline namespace taq_1 {

namespace {

// Collects entries, which are some hundred bytes each, into fewer writes.
class Output {
public:
    explicit Output(int fd) : _fd(fd) {}

    bool put(const char* text, size_t size) {
        if (size > sizeof _buffer - _used && !flush()) return false;
        if (size > sizeof _buffer) return QENWriteAll(_fd, text, size);
        std::memcpy(_buffer + _used, text, size);
        _used += size;
        return true;
    }
    bool flush() {
        const size_t size = _used;
        _used = 0;
        return QENWriteAll(_fd, _buffer, size);
    }

private:
    int _fd;
    size_t _used = 0;
    char _buffer[8192];
};

bool put_entries(Output& output, const CList& ring) {
    const CElem* cell = ring.head();
    for (int32_t left = ring.count(); left > 0 && cell != nullptr; --left, cell = cell->next()) {
        if (cell->value()->vtype() != VTYPE_STR) continue;
        const char* entry = cell->value()->getstr();
        if (entry != nullptr && !output.put(entry, std::strlen(entry))) return false;
    }
    return true;
}

// Holds the lock, except in a signal handler, where the holder may be the very thread that was interrupted: a
// torn ring is better than a process that never ends.
class MaybeLocked {
public:
    MaybeLocked(QENLock* lockp, bool sig_recd) : _lockp(sig_recd ? nullptr : lockp) {
        if (_lockp != nullptr) QENLockAcquire(_lockp);
    }
    ~MaybeLocked() {
        if (_lockp != nullptr) QENLockRelease(_lockp);
    }
    MaybeLocked(const MaybeLocked&) = delete;
    MaybeLocked& operator=(const MaybeLocked&) = delete;

private:
    QENLock* _lockp;
};

// While it lives, entries that are displaced stay readable: see _free_displaced.
class Reading {
public:
    Reading(std::atomic<int>& readers, bool sig_recd) : _readers(sig_recd ? &readers : nullptr) {
        if (_readers != nullptr) _readers->fetch_add(1, std::memory_order_acq_rel);
    }
    ~Reading() {
        if (_readers != nullptr) _readers->fetch_sub(1, std::memory_order_acq_rel);
    }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

private:
    std::atomic<int>* _readers;
};

} // namespace

void FFDC::stop_capture() {
    _dying.store(true, std::memory_order_release);
}

int FFDC::FFDC_DumpLogs(FFDCRoleT role, bool sig_recd) {
    QEN_CHECK((role > FFDC_ROLE_MIN) && (role <= FFDC_ROLE_MAX));
    const Reading reading(_readers, sig_recd);
    if (role == FFDC_ROLE_MAX) return _dump_all(sig_recd);
    if (_ring_of(role) != nullptr) return _dump_role(role, sig_recd);
    if (!sig_recd) QENSyslog(SEV_INFO, "FFDC_DumpLogs: Invalid buffer for %s role", ubo_FFDCRoleName[role]);
    return FFDC_FAILURE;
}

FFDCBufPropT* FFDC::_ring_of(int role) const {
    FFDCBufPropT* descriptor = RoleToBuf[role].load(std::memory_order_acquire);
    return descriptor != nullptr && descriptor->buffer != nullptr ? descriptor : nullptr;
}

int FFDC::_dump_all(bool sig_recd) {
    for (int role = FFDC_ROLE_MIN + 1; role < FFDC_ROLE_MAX; ++role)
        if (_ring_of(role) != nullptr && _dump_role(static_cast<FFDCRoleT>(role), sig_recd) != FFDC_SUCCESS)
            return FFDC_FAILURE;
    return FFDC_SUCCESS;
}

int FFDC::_dump_role(FFDCRoleT role, bool sig_recd) {
    if (FFDC_DumpLogToFile(_ring_of(role), role, sig_recd) == FFDC_SUCCESS) return FFDC_SUCCESS;
    if (!sig_recd)
        QENSyslog(SEV_INFO, "FFDC_DumpLogs: Error in dumping log to file for %s role",
                  ubo_FFDCRoleName[role]);
    return FFDC_FAILURE;
}

// A handler's dump makes a file of its own, so that a dump in progress cannot write into it.
int FFDC::_open_dump(const char* path, bool sig_recd) const {
    if (sig_recd) return QENCreateDumpFile(path);
    if (_dying.load()) return -1;
    const int fd = QENOpenDumpFile(path);
    if (fd < 0) return -1;
    // Asked again: by now the file may be that of a handler's dump.
    if (!_dying.load() && QENEmptyOwnFile(fd)) return fd;
    (void)QENCloseDumpFile(fd); // nothing was written
    return -1;
}

int FFDC::FFDC_DumpLogToFile(FFDCBufPropT* bufpropp, FFDCRoleT role, bool sig_recd) {
    FixedText<3 * FFDC_NAME_SIZE> path;
    path << ffdc_dir << "/FFDC_" << ubo_FFDCRoleName[role] << "_" << pid << "_" << processname << ".log";
    const MaybeLocked guard(&bufpropp->_rdwr_lock, sig_recd);
    const int fd = _open_dump(path.text(), sig_recd);
    if (fd < 0) {
        if (!sig_recd) QENSyslog(SEV_INFO, "FFDC_DumpLogToFile: Could not open file %s", path.text());
        return FFDC_FAILURE;
    }
    FixedText<8 * FFDC_NAME_SIZE> header;
    header << "#\n# Log File Name:     " << path.text() << "\n# System:       " << hostname
           << "\n# SysInfo:      " << sysinfo << "\n# Created:      ";
    {
        const MaybeLocked time_guard(&_seq_lock, sig_recd);
        header << std::string_view(lastlogtime, strnlen(lastlogtime, sizeof lastlogtime)); // may be torn
    }
    header << "\n#\n";

    Output output(fd);
    const bool written = output.put(header.text(), header.size()) && put_entries(output, *bufpropp->buffer);
    const bool flushed = written && output.flush();
    const int error = errno;
    const bool closed = QENCloseDumpFile(fd);
    if (flushed && closed) return FFDC_SUCCESS;
    if (!sig_recd)
        QENSyslog(SEV_INFO,
                  written ? "FFDC_DumpLogToFile: Could not flush file %s, errno = %d"
                          : "FFDC_DumpLogToFile: Could not write to file %s, errno = %d",
                  path.text(), flushed ? errno : error);
    return FFDC_FAILURE;
}

} // namespace taq_1
