// The records beside the lines of a text log: each application message is also a record of the log data file
// of the same name. A log hands its classified messages on to here, LdfWriter writes them.
#pragma once

#include <memory>

#include "primitives/ldf/LdfWriter.h"
#include "primitives/log/LogLoss.h"

inline namespace taq_1 {

struct LogMessage;

// Messages whose records are lost are counted in a ledger. One thread at a time.
class LdfCopy {
public:
    explicit LdfCopy(LossLedger& losses) : _losses(losses) {}

    void sync_up_to(int sev) { _synced_sev = sev; } // as LdfWriter's, before open
    void enable(bool is_enabled) { _ldf_enabled = is_enabled; }

    // Opens the writer under the log's name unless there is one. When that fails, the administrator is told,
    // and no record is written until enable().
    void open(const char* namep) {
        if (_ldf_enabled && _ldfp == nullptr) _open(namep);
    }
    void close() { _ldfp.reset(); }

    // is_counted: its loss is. False: it is lost.
    bool add(const LogMessage& m, bool is_counted = true) {
        return !_writes() || _put(m, &LdfWriter::append, is_counted);
    }
    // The same later, by write_gathered(): see LdfWriter.
    void gather(const LogMessage& m) {
        if (_writes()) (void)_put(m, &LdfWriter::gather, /*is_counted=*/true);
    }
    void write_gathered() {
        if (_writes()) _ldfp->write_gathered();
    }
    bool is_enabled() const { return _ldf_enabled; }
    bool is_open() const { return _writes(); }
    bool is_full() const { return _writes() && _ldfp->is_full(); } // the next record begins a new file

private:
    void _open(const char* namep);
    bool _writes() const { return _ldf_enabled && _ldfp != nullptr && _ldfp->is_opened(); }
    bool _put(const LogMessage& m, decltype(&LdfWriter::append) put, bool is_counted);
    static void _count(void* losses, LdfAppend why, int sev);

    LossLedger& _losses;
    int _synced_sev = -1;

    std::unique_ptr<LdfWriter> _ldfp; // null when no copy is written
    bool _ldf_enabled = false;
};

} // namespace taq_1
