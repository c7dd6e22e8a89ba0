// Appends records: builds the bytes, writes the record, then the header. LdfWriterFiles.cpp opens and
// rotates.
#include "primitives/ldf/LdfWriter.h"

#include <ctime>
#include <iterator>
#include <limits>

#include "platform/unix/QENAssert.h"
#include "platform/unix/QENFork.h"
#include "primitives/ldf/LdfTrace.h"
#include "primitives/ldf/QENObjTags.h"

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

} // namespace

void LdfWriter::write(char sev, int time_stamp, char obj_tag, unsigned msgcatID, const char* filep,
                      int line_no, unsigned seq, const char* func, const char* arg1, const char* arg2,
                      const char* arg3, const char* arg4, const char* arg5, const char* arg6) {
    const std::string_view args[] = {view_of(arg1), view_of(arg2), view_of(arg3),
                                     view_of(arg4), view_of(arg5), view_of(arg6)};
    append({.data_size = 0,
            .version = 0,
            .sev = static_cast<int8_t>(sev),
            .timestamp = time_stamp,
            .msgcat_id = msgcatID,
            .obj_type = static_cast<int8_t>(obj_tag),
            .line_no = static_cast<uint32_t>(line_no),
            .seq = seq},
           view_of(filep), view_of(func), args);
}

void LdfWriter::append(ldf_msg_header_t fixed, std::string_view file, std::string_view func,
                       std::span<const std::string_view> args) {
    if (_active || !_opened) return;
    const int8_t obj_tag = fixed.obj_type;
    QEN_CHECK(obj_tag >= OBJTAG_QEN && obj_tag <= OBJTAG_RES);
    if (_forks != QENForkCount()) return;
    _active = 1;
    if (!_has_room() && _pause.is_due()) _next();
    if (_ldf_header.offset_end <= _last_start) {
        unsigned char record[LDF_RECORD_MAX];
        char* text = reinterpret_cast<char*>(record) + LDF_RECORD_HEADER_SIZE;
        fixed.data_size = static_cast<uint32_t>(ldf_encode_text(file, func, args, text, LDF_TEXT_MAX) + 1);
        fixed.version = LDF_RECORD_VERSION;
        ldf_encode_record(fixed, record);
        _put_record(record, LDF_RECORD_HEADER_SIZE + fixed.data_size, fixed.sev, obj_tag);
    }
    _active = 0;
}

// Whether one more record fits: the file is below its size limit, and the record ends where readers and the
// system still allow it.
bool LdfWriter::_has_room() const {
    return _count < _maxlen && _ldf_header.offset_end <= _last_start;
}

// Record first, header after: whatever happens in between, the header on disk describes whole records only.
// The header in memory changes last, so after a failure the next record takes the place of this one.
void LdfWriter::_put_record(const unsigned char* record, size_t size, int8_t sev, int8_t obj_tag) {
    if (!QENWriteAllAt(fileno(_fp), record, size, _ldf_header.offset_end)) return;

    ldf_header_t updated = _ldf_header;
    count_record(updated, static_cast<unsigned char>(sev), static_cast<unsigned char>(obj_tag));
    updated.offset_end += static_cast<uint32_t>(size);
    if (_write_header(updated) != LDF_OK) {
        ldf_header_t old = _ldf_header;
        (void)_write_header(old); // in case the failed write reached the disk in part
        return;
    }
    _ldf_header = updated;
    _count =
        _count > COUNT_MAX - static_cast<int32_t>(size) ? COUNT_MAX : _count + static_cast<int32_t>(size);
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
