// The records beside the lines of a text log: each application message is also a record of the log data file
// of the same name. A log hands its classified messages on to here, LdfWriter writes them.
#pragma once

#include <memory>

#include "primitives/ldf/LdfWriter.h"

struct LogMessage;

// One thread at a time.
class LdfCopy {
public:
    void enable(bool is_enabled) { _ldf_enabled = is_enabled; }

    // Opens the writer under the log's name unless there is one. When that fails, the administrator is told,
    // and no record is written until enable().
    void open(const char* namep) {
        if (_ldf_enabled && _ldfp == nullptr) _open(namep);
    }
    void close() { _ldfp.reset(); }

    void add(const LogMessage& m) {
        if (_writes()) _put(m, &LdfWriter::append);
    }
    // The same later, by write_gathered(): see LdfWriter.
    void gather(const LogMessage& m) {
        if (_writes()) _put(m, &LdfWriter::gather);
    }
    void write_gathered() {
        if (_writes()) _ldfp->write_gathered();
    }
    bool is_full() const { return _writes() && _ldfp->is_full(); } // the next record begins a new file

private:
    void _open(const char* namep);
    bool _writes() const { return _ldf_enabled && _ldfp != nullptr && _ldfp->is_opened(); }
    void _put(const LogMessage& m, decltype(&LdfWriter::append) put);

    std::unique_ptr<LdfWriter> _ldfp; // null when no copy is written
    bool _ldf_enabled = false;
};
