// Appends records: builds the bytes, writes the records, then the header. LdfWriterFiles.cpp opens and
// rotates.
#include "primitives/ldf/LdfWriter.h"

#include <ctime>
#include <iterator>
#include <limits>
#include <span>

#include "platform/unix/QENAssert.h"
#include "platform/unix/QENFork.h"
#include "primitives/ldf/LdfBatch.h"
#include "primitives/ldf/LdfTrace.h"
#include "primitives/ldf/QENObjTags.h"

inline namespace taq_1 {

namespace {

constexpr int32_t COUNT_MAX = std::numeric_limits<int32_t>::max();

// The counters of severities 0 to 4 and of object types 0 to 6.
constexpr int32_t ldf_header_t::*severity_totals[] = {
    &ldf_header_t::total_critical, &ldf_header_t::total_error, &ldf_header_t::total_warning,
    &ldf_header_t::total_notice, &ldf_header_t::total_info};
constexpr int32_t ldf_header_t::*object_totals[] = {
    &ldf_header_t::total_qen_msg, &ldf_header_t::total_hmx_msg, &ldf_header_t::total_clu_msg,
    &ldf_header_t::total_grp_msg, &ldf_header_t::total_sys_msg, &ldf_header_t::total_agt_msg,
    &ldf_header_t::total_res_msg};
static_assert(std::size(object_totals) == OBJTAG_RES + 1);

std::string_view view_of(const char* s) {
    return s != nullptr ? std::string_view(s) : std::string_view();
}

// Counters come from a file and may stand anywhere.
void count_one(int32_t& total) {
    if (total < COUNT_MAX) ++total;
}

void count_record(ldf_header_t& h, unsigned char sev, unsigned char obj_tag) {
    if (sev < std::size(severity_totals)) count_one(h.*severity_totals[sev]);
    count_one(h.*object_totals[obj_tag]);
    count_one(h.total_msgs);
}

// Encodes into room for LDF_RECORD_MAX bytes.
LdfPart encode(ldf_msg_header_t& fixed, std::string_view file, std::string_view func, LdfArgs args,
               unsigned char* record) {
    char* text = reinterpret_cast<char*>(record) + LDF_RECORD_HEADER_SIZE;
    fixed.data_size = static_cast<uint32_t>(ldf_encode_text(file, func, args, text, LDF_TEXT_MAX) + 1);
    fixed.version = LDF_RECORD_VERSION;
    ldf_encode_record(fixed, record);
    return {static_cast<uint32_t>(LDF_RECORD_HEADER_SIZE) + fixed.data_size, fixed.sev, fixed.obj_type};
}

} // namespace

void LdfWriter::write(char sev, int time_stamp, char obj_tag, unsigned msgcatID, const char* filep,
                      int line_no, unsigned seq, const char* func, const char* arg1, const char* arg2,
                      const char* arg3, const char* arg4, const char* arg5, const char* arg6) {
    const std::string_view args[] = {view_of(arg1), view_of(arg2), view_of(arg3),
                                     view_of(arg4), view_of(arg5), view_of(arg6)};
    (void)append({.data_size = 0,
                  .version = 0,
                  .sev = static_cast<int8_t>(sev),
                  .timestamp = time_stamp,
                  .msgcat_id = msgcatID,
                  .obj_type = static_cast<int8_t>(obj_tag),
                  .line_no = static_cast<uint32_t>(line_no),
                  .seq = seq},
                 view_of(filep), view_of(func), args);
}

// Whether a record may be written now. Then a write is in progress.
bool LdfWriter::_begin(int8_t obj_tag) {
    if (_active || !_opened) return false;
    QEN_CHECK(obj_tag >= OBJTAG_QEN && obj_tag <= OBJTAG_RES);
    if (_forks != QENForkCount()) return false;
    _active = 1;
    return true;
}

LdfAppend LdfWriter::append(ldf_msg_header_t fixed, std::string_view file, std::string_view func,
                            LdfArgs args) {
    if (!_begin(fixed.obj_type)) return LdfAppend::DONE;
    _put_gathered();
    LdfAppend result = LdfAppend::NO_ROOM;
    if (_make_room()) {
        unsigned char bytes[LDF_RECORD_MAX];
        const LdfPart record = encode(fixed, file, func, args, bytes);
        result = _put(bytes, &record, 1);
    }
    _active = 0;
    return result;
}

LdfAppend LdfWriter::gather(ldf_msg_header_t fixed, std::string_view file, std::string_view func,
                            LdfArgs args) {
    if (_batch == nullptr) _batch.reset(new (std::nothrow) LdfBatch);
    if (_batch == nullptr) return append(fixed, file, func, args);
    if (!_begin(fixed.obj_type)) return LdfAppend::DONE;
    if (!_batch->has_room() || !_has_room()) _put_gathered();
    const bool has_room = _make_room();
    if (has_room) _batch->add(encode(fixed, file, func, args, _batch->room()));
    _active = 0;
    return has_room ? LdfAppend::DONE : LdfAppend::NO_ROOM;
}

// A forked child leaves them to its parent.
void LdfWriter::write_gathered() {
    if (_batch == nullptr || _active || !_opened || _forks != QENForkCount()) return;
    _active = 1;
    _put_gathered();
    _active = 0;
}

void LdfWriter::_put_gathered() {
    if (_batch == nullptr || _batch->parts().empty()) return;
    if (_put(_batch->bytes(), _batch->parts().data(), _batch->parts().size()) != LdfAppend::DONE) {
        const unsigned char* bytes = _batch->bytes();
        for (const LdfPart& record : _batch->parts()) {
            const LdfAppend result = _put(bytes, &record, 1); // the next one may be shorter
            if (result != LdfAppend::DONE && _lost != nullptr) _lost(_lost_context, result, record.sev);
            bytes += record.size;
        }
    }
    _batch->clear();
}

// Whether one more record fits behind those that wait: the file is below its size limit, and the record ends
// where readers and the system still allow it.
bool LdfWriter::_has_room() const {
    const size_t waiting = _batch != nullptr ? _batch->size() : 0;
    return static_cast<int64_t>(_count) + static_cast<int64_t>(waiting) < _maxlen &&
           _ldf_header.offset_end + waiting <= _last_start;
}

// Starts a new file if the next record belongs there. False: it fits nowhere. No records wait when there is
// no room.
bool LdfWriter::_make_room() {
    if (!_has_room() && _pause.is_due()) _next();
    return _ldf_header.offset_end <= _last_start;
}

// Records first, header after: whatever happens in between, the header describes whole records only. The
// header in memory changes last, so after a failure the next record takes the place of these.
LdfAppend LdfWriter::_put(const unsigned char* bytes, const LdfPart* records, size_t count) {
    ldf_header_t updated = _ldf_header;
    uint32_t size = 0;
    bool sync = false;
    for (const LdfPart& record : std::span(records, count)) {
        count_record(updated, static_cast<unsigned char>(record.sev),
                     static_cast<unsigned char>(record.obj_tag));
        size += record.size;
        sync |= static_cast<uint8_t>(record.sev) <= _synced_sev;
    }
    const int fd = fileno(_fp);
    if (!QENWriteAllAt(fd, bytes, size, _ldf_header.offset_end)) return LdfAppend::WRITE_FAILED;
    if (sync && !(QENSyncData(fd) && _files.sync_names())) return LdfAppend::NOT_SYNCED;

    updated.offset_end += size;
    const LdfAppend result = _put_header(updated, sync);
    if (result == LdfAppend::DONE)
        _count =
            _count > COUNT_MAX - static_cast<int32_t>(size) ? COUNT_MAX : _count + static_cast<int32_t>(size);
    return result;
}

LdfAppend LdfWriter::_put_header(ldf_header_t& updated, bool sync) {
    LdfAppend result = LdfAppend::DONE;
    if (_write_header(updated) != LDF_OK)
        result = LdfAppend::WRITE_FAILED;
    else if (sync && !QENSyncData(fileno(_fp)))
        result = LdfAppend::NOT_SYNCED;
    if (result == LdfAppend::DONE) {
        _ldf_header = updated;
    } else {
        ldf_header_t old = _ldf_header;
        (void)_write_header(old); // the failed write may have reached the file, in part or whole
    }
    return result;
}

int LdfWriter::_write_header(ldf_header_t& header) {
    if (!_opened) return LDF_EFAIL;
    header.datetime_modify = static_cast<int32_t>(std::time(nullptr));
    unsigned char bytes[LDF_HEADER_SIZE];
    ldf_encode_header(header, bytes);
    return QENWriteAllAt(fileno(_fp), bytes, sizeof bytes, 0) ? LDF_OK : LDF_EFAIL;
}

void LdfWriter::set_maxlen(int maxlen) {
    if (_opened) _maxlen = maxlen < LDF_MIN_MAXLEN ? LDF_MIN_MAXLEN : maxlen;
}

void LdfWriter::XXDEBUG_OPEN(const char* name) {
    _debug_fp = ldf_trace_open(_debug_fp, name, "-ldfw");
}
void LdfWriter::XXDEBUG(const char* text) {
    ldf_trace(_debug_fp, text);
}

} // namespace taq_1
