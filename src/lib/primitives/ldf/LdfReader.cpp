// Positioning, filtering and handing out of records.
#include "primitives/ldf/LdfReader.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "primitives/values/HashTable.h"
#include "primitives/values/VList.h"

inline namespace taq_1 {

namespace {

constexpr int32_t OFFSET_MAX = std::numeric_limits<int32_t>::max();
constexpr size_t VERSION_OFFSET = 4;

int64_t record_end(int64_t pos, uint32_t data_size) {
    return pos + static_cast<int64_t>(LDF_RECORD_HEADER_SIZE) + data_size;
}

enum class Verdict { ACCEPT, REJECT, ASK_NAMES };

// Judges a record by its fixed part. ASK_NAMES: only the names filter can tell.
inline Verdict judge_header(const LdfFilter& f, const ldf_msg_header_t& m) {
    const bool any = (f.flags & LDF_MATCH_ANY) != 0;
    bool given = false;
    const auto settles = [&](int wanted, int anything, int found) {
        if (wanted == anything) return false;
        given = true;
        return (wanted == found) == any;
    };
    if (settles(f.sev, LDF_ANY_CODE, static_cast<uint8_t>(m.sev)) ||
        settles(f.msgid, LDF_ANY_ID, static_cast<int>(m.msgcat_id & 0xFFFF)) ||
        settles(f.catid, LDF_ANY_ID, static_cast<int>(m.msgcat_id >> 16)) ||
        settles(f.otype, LDF_ANY_CODE, static_cast<uint8_t>(m.obj_type)))
        return any ? Verdict::ACCEPT : Verdict::REJECT;
    if (f.onames) return Verdict::ASK_NAMES;
    return any && given ? Verdict::REJECT : Verdict::ACCEPT;
}

bool is_named(const LdfFilter& f, std::string_view arg) {
    return (f.hints == nullptr || f.hints->may_hold(arg)) && f.onames->inquire(arg) != nullptr;
}

// The caller has compared the whole argument already, so an argument without ":" has no other piece.
bool some_piece_named(const LdfFilter& f, std::string_view arg) {
    size_t colon = arg.find(':');
    if (colon == std::string_view::npos) return false;
    for (; colon != std::string_view::npos; colon = arg.find(':')) {
        if (colon > 0 && is_named(f, arg.substr(0, colon))) return true;
        arg.remove_prefix(colon + 1);
    }
    return !arg.empty() && is_named(f, arg);
}

// One search over all arguments: most records have no ":" in any.
bool has_colon(const LdfRecordView& view) {
    if (view.argc() == 0) return false;
    const std::string_view last = view.rest.empty() ? view.pieces[view.piece_count - 1] : view.rest;
    const char* const first = view.argv()->data();
    return std::memchr(first, ':', static_cast<size_t>(last.data() + last.size() - first)) != nullptr;
}

bool names_match(const LdfFilter& f, const LdfRecordView& view) {
    const bool pieces = (f.flags & LDF_MATCH_PIECES) != 0 && has_colon(view);
    const auto matches = [&](std::string_view arg) {
        return is_named(f, arg) || (pieces && some_piece_named(f, arg));
    };
    for (size_t i = 0; i < view.argc(); ++i)
        if (matches(view.argv()[i])) return true;
    std::string_view rest = view.rest, arg;
    while (ldf_next_piece(rest, arg))
        if (matches(arg)) return true;
    return false;
}

void copy_piece(std::string_view piece, char (&to)[LDF_TEXT_MAX]) {
    if (!piece.data()) return;
    const size_t n = std::min(piece.size(), sizeof to - 1);
    std::memcpy(to, piece.data(), n);
    to[n] = '\0';
}

} // namespace

int LdfReader::rewind() {
    if (!_fp) return LDF_EFAIL;
    _window.invalidate();
    _msg_ndx = 0;
    _curr_offset = 0;
    return LDF_OK;
}

int LdfReader::jumpto(int msg_ndx) {
    if (!_fp) return LDF_EFAIL;
    if (msg_ndx <= 0) return rewind();
    if (msg_ndx >= _ldf_header.total_msgs) return LDF_EFAIL;
    if (_msg_ndx > msg_ndx) (void)rewind(); // the file is open: cannot fail

    _curr_offset = _msg_ndx > 0 ? _curr_offset : static_cast<int32_t>(LDF_HEADER_SIZE);
    while (_msg_ndx < msg_ndx) {
        const unsigned char* bytes;
        if (_window.want(_curr_offset, sizeof(uint32_t), bytes) < sizeof(uint32_t)) return LDF_EFAIL;
        if (!_pass_records(msg_ndx, bytes, _window.rest(_curr_offset))) return LDF_EFAIL;
    }
    return LDF_OK;
}

// Passes over the records up to msg_ndx that start within these bytes. False: one is damaged; the position is
// that record. Each record waits for the size of the one before, so what leads from one to the next stays
// short.
bool LdfReader::_pass_records(int msg_ndx, const unsigned char* bytes, size_t size) {
    const int64_t start = _curr_offset;
    size_t at = 0;
    int ndx = _msg_ndx;
    bool is_good = true;
    while (ndx < msg_ndx && at + sizeof(uint32_t) <= size) {
        const uint32_t data_size = get_be32(bytes + at);
        const size_t end = at + LDF_RECORD_HEADER_SIZE + data_size;
        is_good = data_size <= LDF_TEXT_MAX && start + static_cast<int64_t>(end) <= OFFSET_MAX;
        if (!is_good) break;
        at = end;
        ++ndx;
    }
    _msg_ndx = ndx;
    _curr_offset = static_cast<int32_t>(start + static_cast<int64_t>(at));
    return is_good;
}

int LdfReader::tail(int msgs_from_end) {
    if (!_fp || msgs_from_end < 1) return LDF_EFAIL;
    return jumpto(std::max(_ldf_header.total_msgs, 0) - msgs_from_end);
}

int LdfReader::next_record(const LdfFilter& filter, LdfRecordView& view) {
    if (!_fp) return LDF_EFAIL;
    if (_msg_ndx == 0) _curr_offset = static_cast<int32_t>(LDF_HEADER_SIZE);
    while (_msg_ndx < _ldf_header.total_msgs) {
        const int64_t pos = _curr_offset;
        const unsigned char* bytes;
        const size_t got = _window.want(pos, LDF_RECORD_HEADER_SIZE, bytes);
        if (got < LDF_RECORD_HEADER_SIZE) return _short_read(bytes, got);
        ldf_decode_record(bytes, view.header);
        const uint32_t data_size = view.header.data_size;
        if (static_cast<uint8_t>(view.header.version) != LDF_RECORD_VERSION) return LDF_EVERSION;
        if (data_size > LDF_TEXT_MAX || record_end(pos, data_size) > OFFSET_MAX) return LDF_EFAIL;

        Verdict verdict = judge_header(filter, view.header);
        if (verdict != Verdict::REJECT) {
            const size_t size = LDF_RECORD_HEADER_SIZE + data_size;
            if (_window.want(pos, size, bytes) < size) return _end_or_failure();
            ldf_split_text(reinterpret_cast<const char*>(bytes) + LDF_RECORD_HEADER_SIZE, data_size, view);
            if (verdict == Verdict::ASK_NAMES && !names_match(filter, view)) verdict = Verdict::REJECT;
        }
        ++_msg_ndx;
        _curr_offset = static_cast<int32_t>(record_end(pos, data_size));
        if (verdict != Verdict::REJECT) return LDF_OK;
    }
    return LDF_EEND;
}

// The result when only `got` bytes of a fixed part exist. An error that those bytes show comes first.
int LdfReader::_short_read(const unsigned char* bytes, size_t got) const {
    if (got > VERSION_OFFSET && bytes[VERSION_OFFSET] != LDF_RECORD_VERSION) return LDF_EVERSION;
    if (got >= VERSION_OFFSET && get_be32(bytes) > LDF_TEXT_MAX) return LDF_EFAIL;
    return _end_or_failure();
}

int LdfReader::_end_or_failure() const {
    if (_window.no_memory()) return LDF_ENOMEM;
    return _window.failed() ? LDF_EFAIL : LDF_EEND;
}

int LdfReader::get_next(int catid, int msgid, char sev, char otype, HashTable* oname_hashp,
                        ldf_msg_header_t* headerp, ldf_dbg_info_t* dbg, VList** vargsp, int flags) {
    const LdfFilter filter = {.catid = catid,
                              .msgid = msgid,
                              .sev = static_cast<unsigned char>(sev),
                              .otype = static_cast<unsigned char>(otype),
                              .onames = oname_hashp,
                              .flags = flags,
                              .hints = nullptr};
    LdfRecordView view;
    if (int rc = next_record(filter, view)) return rc;
    if (headerp) *headerp = view.header;
    if (dbg) {
        dbg->line_no = view.header.line_no;
        dbg->seq = view.header.seq;
        copy_piece(view.filename(), dbg->filename);
        copy_piece(view.function(), dbg->function);
    }
    if (vargsp) {
        auto args = std::make_unique<VList>();
        view.for_each_arg([&](std::string_view arg) { args->append_copy(arg.data(), arg.size()); });
        *vargsp = args.release();
    }
    return LDF_OK;
}

} // namespace taq_1
