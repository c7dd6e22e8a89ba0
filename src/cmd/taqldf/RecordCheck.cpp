// Judges headers and records by what every writer keeps to.
#include "RecordCheck.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "VisibleText.h"
#include "primitives/ldf/QENObjTags.h"
#include "primitives/message/severity.h"

namespace {

constexpr size_t VERSION_OFFSET = 4, SYSTEM_OFFSET = 12, PLATFORM_OFFSET = 45, CREATED_OFFSET = 49,
                 TYPES_OFFSET = HEADER_COUNTERS_OFFSET + 4 * (1 + SEVERITIES_COUNTED), FLAGS_OFFSET = 109;
static_assert(TYPES_OFFSET + 4 * TYPES_COUNTED == FLAGS_OFFSET && FLAGS_OFFSET + 4 == LDF_END_OFFSET);

// In the order of the file.
constexpr struct {
    int32_t ldf_header_t::*counter;
    const char* name;
} counter_rows[HEADER_COUNTERS] = {
    {&ldf_header_t::total_msgs, "messages"},    {&ldf_header_t::total_critical, "critical ones"},
    {&ldf_header_t::total_error, "errors"},     {&ldf_header_t::total_warning, "warnings"},
    {&ldf_header_t::total_notice, "notices"},   {&ldf_header_t::total_info, "informations"},
    {&ldf_header_t::total_res_msg, "type RES"}, {&ldf_header_t::total_agt_msg, "type AGT"},
    {&ldf_header_t::total_grp_msg, "type GRP"}, {&ldf_header_t::total_sys_msg, "type SYS"},
    {&ldf_header_t::total_clu_msg, "type CLU"}, {&ldf_header_t::total_hmx_msg, "type HMX"},
    {&ldf_header_t::total_qen_msg, "type QEN"}};

constexpr int SEVERITIES = int{SEV_APP_END} + int{DBG_LEV_END};

template <class... Values>
std::string text_of(const char* format, Values... values) {
    char out[120];
    (void)std::snprintf(out, sizeof out, format, values...);
    return out;
}

// "node1" and NULs to the end. A host without name is one, too.
bool is_host_name(const unsigned char* name) {
    size_t size = 0;
    while (size < LDF_SYSTEM_SIZE && name[size] > ' ' && name[size] < 0x7F) ++size;
    return size < LDF_SYSTEM_SIZE &&
           std::all_of(name + size, name + LDF_SYSTEM_SIZE, [](unsigned char c) { return c == '\0'; });
}

struct Sum {
    int64_t total = 0;
    bool has_negative = false;
};
Sum sum_of(const ldf_header_t& h, size_t first, size_t count) {
    Sum sum;
    for (size_t i = first; i < first + count; ++i) {
        sum.total += h.*counter_rows[i].counter;
        sum.has_negative |= h.*counter_rows[i].counter < 0;
    }
    return sum;
}

} // namespace

std::vector<HeaderFault> check_header(const unsigned char* raw, int64_t filesize) {
    std::vector<HeaderFault> faults;
    const auto require = [&faults](bool is_sound, size_t offset, std::string text) {
        if (!is_sound) faults.push_back({offset, std::move(text)});
    };
    ldf_header_t h;
    const int rc = ldf_decode_header(raw, INT64_MAX, h);
    require(rc != LDF_EFAIL, 0, text_of("no log data file (signature %d)", h.signature));
    require(rc != LDF_EVERSION, VERSION_OFFSET,
            text_of("written by another version (%d.%d)", static_cast<int>(get_be32(raw + VERSION_OFFSET)),
                    static_cast<int>(get_be32(raw + VERSION_OFFSET + 4))));
    if (!faults.empty()) return faults;

    require(is_host_name(raw + SYSTEM_OFFSET), SYSTEM_OFFSET, "the host is no printable name");
    require(h.platform >= 0 && static_cast<size_t>(h.platform) < std::size(platform_id_names),
            PLATFORM_OFFSET, text_of("platform %d", h.platform));
    require(h.datetime_create >= 0, CREATED_OFFSET, text_of("created at %d", h.datetime_create));
    require(h.total_msgs >= 0, HEADER_COUNTERS_OFFSET, text_of("the header counts %d records", h.total_msgs));
    const Sum severities = sum_of(h, 1, SEVERITIES_COUNTED),
              types = sum_of(h, 1 + SEVERITIES_COUNTED, TYPES_COUNTED);
    require(!severities.has_negative && severities.total <= h.total_msgs, HEADER_COUNTERS_OFFSET + 4,
            text_of("the severities sum to %lld of %d records", static_cast<long long>(severities.total),
                    h.total_msgs));
    require(!types.has_negative && types.total == h.total_msgs, TYPES_OFFSET,
            text_of("the object types sum to %lld of %d records", static_cast<long long>(types.total),
                    h.total_msgs));
    require(h.flags == 0 || h.flags == LDF_HEADER_FLAG_SEQ, FLAGS_OFFSET, text_of("flags %d", h.flags));
    require(h.offset_end >= LDF_HEADER_SIZE, LDF_END_OFFSET,
            text_of("the records end at %u, in the header", h.offset_end));
    require(
        filesize < 0 || h.offset_end <= filesize, LDF_END_OFFSET,
        text_of("the header ends at %u, the file at %lld", h.offset_end, static_cast<long long>(filesize)));
    return faults;
}

bool is_origin_sound(const std::vector<HeaderFault>& faults) {
    return faults.empty() || faults.front().offset >= HEADER_COUNTERS_OFFSET;
}

bool is_host_sound(const std::vector<HeaderFault>& faults) {
    return faults.empty() || faults.front().offset > SYSTEM_OFFSET;
}

namespace {

// Whether all bytes lie between ' ' and '~'.
bool is_plain(std::string_view text) {
    constexpr uint64_t ONES = 0x0101010101010101, HIGH = 0x80 * ONES;
    for (size_t at = 0; at < text.size(); at += sizeof(uint64_t)) {
        uint64_t bytes;
        if (text.size() - at >= sizeof bytes) {
            std::memcpy(&bytes, text.data() + at, sizeof bytes);
        } else {
            bytes = ' ' * ONES;
            std::memcpy(&bytes, text.data() + at, text.size() - at);
        }
        const uint64_t below = ~((bytes | HIGH) - ' ' * ONES);            // the high bit of a byte: below ' '
        if (((bytes | (bytes + ONES) | below) & HIGH) != 0) return false; // not ASCII, or DEL
    }
    return true;
}

// Source files may have names in UTF-8.
bool is_printable(std::string_view text) {
    if (is_plain(text)) return true;
    while (!text.empty()) {
        const char32_t c = next_character(text);
        if (c == INVALID_UTF8 || is_control(c)) return false;
    }
    return true;
}

} // namespace

RecordFault check_record(const unsigned char* bytes, size_t size, LdfRecordView& view) {
    if (size < LDF_RECORD_HEADER_SIZE) return RecordFault::CUT;
    ldf_decode_record(bytes, view.header);
    const size_t text_size = view.header.data_size;
    if (text_size < 1 || text_size > LDF_TEXT_MAX) return RecordFault::TEXT_SIZE;
    if (view.header.version != LDF_RECORD_VERSION) return RecordFault::VERSION;
    if (static_cast<uint8_t>(view.header.sev) >= SEVERITIES) return RecordFault::SEVERITY;
    if (static_cast<uint8_t>(view.header.obj_type) > OBJTAG_RES) return RecordFault::OBJECT_TYPE;
    if (size - LDF_RECORD_HEADER_SIZE < text_size) return RecordFault::CUT;

    const char* const text = reinterpret_cast<const char*>(bytes) + LDF_RECORD_HEADER_SIZE;
    if (text[text_size - 1] != '\0') return RecordFault::NO_END;
    view.piece_count = 0;
    view.rest = {};
    if (text_size == 1) return RecordFault::NONE; // what the writer makes of a text that has no room
    ldf_split_text(text, text_size, view);
    // The split stops at a NUL and leaves out empty pieces: only a sound text is made of all its pieces.
    size_t used = view.piece_count;
    for (size_t i = 0; i < view.piece_count; ++i) used += view.pieces[i].size();
    const bool is_ended = static_cast<unsigned char>(text[text_size - 2]) == LDF_SEPARATOR;
    if (used != text_size - 1 || !is_ended || view.piece_count < 2 || !view.rest.empty())
        return std::memchr(text, '\0', text_size - 1) != nullptr ? RecordFault::NUL_WITHIN
                                                                 : RecordFault::PIECES;
    return is_printable(view.pieces[0]) && is_printable(view.pieces[1]) ? RecordFault::NONE
                                                                        : RecordFault::POSITION;
}

std::string fault_text(RecordFault fault, const unsigned char* bytes) {
    ldf_msg_header_t record;
    ldf_decode_record(bytes, record);
    switch (fault) {
    case RecordFault::NONE: break;
    case RecordFault::CUT: return "the record is cut";
    case RecordFault::TEXT_SIZE:
        return record.data_size == 0 ? "data_size 0" : text_of("data_size %u exceeds 4096", record.data_size);
    case RecordFault::VERSION: return text_of("record version %d", static_cast<uint8_t>(record.version));
    case RecordFault::SEVERITY: return text_of("severity %d", static_cast<uint8_t>(record.sev));
    case RecordFault::OBJECT_TYPE: return text_of("object type %d", static_cast<uint8_t>(record.obj_type));
    case RecordFault::NO_END: return "the text has no NUL at its end";
    case RecordFault::NUL_WITHIN: return "the text holds a NUL";
    case RecordFault::PIECES: return "the text is not made of 2 to 8 pieces";
    case RecordFault::POSITION: return "the source position is not printable";
    }
    return {};
}

void RecordCounts::put_into(ldf_header_t& header) const {
    for (size_t i = 0; i < HEADER_COUNTERS; ++i) header.*counter_rows[i].counter = _counts[i];
}

bool RecordCounts::find_difference(const ldf_header_t& header, HeaderFault& fault) const {
    for (size_t i = 0; i < HEADER_COUNTERS; ++i) {
        const int32_t told = header.*counter_rows[i].counter;
        if (told == _counts[i]) continue;
        fault = {HEADER_COUNTERS_OFFSET + 4 * i,
                 text_of("the header counts %d %s, there are %d", told, counter_rows[i].name, _counts[i])};
        return true;
    }
    return false;
}
