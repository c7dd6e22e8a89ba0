// Encodes and decodes the header of a log data file, and encodes the text of a record.
#include "primitives/ldf/ldf_format.h"

#include <algorithm>
#include <cstring>
#include <iterator>

inline namespace taq_1 {

const char* ldf_platform_name(int32_t platform) {
    const auto code = static_cast<uint32_t>(platform);
    return platform_id_names[code < std::size(platform_id_names) ? code : 0];
}

namespace {

constexpr size_t SYSTEM_OFFSET = 12;
constexpr size_t WORDS_OFFSET = SYSTEM_OFFSET + LDF_SYSTEM_SIZE;

// The words from platform to flags, in file order.
constexpr int32_t ldf_header_t::*WORDS[] = {&ldf_header_t::platform,
                                            &ldf_header_t::datetime_create,
                                            &ldf_header_t::datetime_modify,
                                            &ldf_header_t::total_msgs,
                                            &ldf_header_t::total_critical,
                                            &ldf_header_t::total_error,
                                            &ldf_header_t::total_warning,
                                            &ldf_header_t::total_notice,
                                            &ldf_header_t::total_info,
                                            &ldf_header_t::total_res_msg,
                                            &ldf_header_t::total_agt_msg,
                                            &ldf_header_t::total_grp_msg,
                                            &ldf_header_t::total_sys_msg,
                                            &ldf_header_t::total_clu_msg,
                                            &ldf_header_t::total_hmx_msg,
                                            &ldf_header_t::total_qen_msg,
                                            &ldf_header_t::flags};
constexpr size_t OFFSET_END_OFFSET = WORDS_OFFSET + 4 * std::size(WORDS);
static_assert(OFFSET_END_OFFSET + 4 == LDF_HEADER_SIZE);

void put_int(unsigned char* out, int32_t v) {
    put_be32(out, static_cast<uint32_t>(v));
}
int32_t get_int(const unsigned char* in) {
    return static_cast<int32_t>(get_be32(in));
}

} // namespace

void ldf_encode_header(const ldf_header_t& h, unsigned char* out) {
    put_int(out, h.signature);
    put_int(out + 4, h.ver_major);
    put_int(out + 8, h.ver_minor);
    std::memcpy(out + SYSTEM_OFFSET, h.system, LDF_SYSTEM_SIZE);
    for (size_t i = 0; i < std::size(WORDS); ++i) put_int(out + WORDS_OFFSET + 4 * i, h.*WORDS[i]);
    put_be32(out + OFFSET_END_OFFSET, h.offset_end);
}

int ldf_decode_header(const unsigned char* in, int64_t filesize, ldf_header_t& h) {
    h = {};
    h.signature = get_int(in);
    if (h.signature != LDF_SIGNATURE) return LDF_EFAIL;
    h.ver_major = get_int(in + 4);
    if (h.ver_major != LDF_VER_MAJOR) return LDF_EVERSION;
    h.ver_minor = get_int(in + 8);
    if (h.ver_minor != LDF_VER_MINOR) return LDF_EVERSION;
    std::memcpy(h.system, in + SYSTEM_OFFSET, LDF_SYSTEM_SIZE);
    h.system[LDF_SYSTEM_SIZE - 1] = '\0';
    for (size_t i = 0; i < std::size(WORDS); ++i) h.*WORDS[i] = get_int(in + WORDS_OFFSET + 4 * i);
    h.offset_end = get_be32(in + OFFSET_END_OFFSET);
    return h.offset_end <= filesize ? LDF_OK : LDF_EFAIL;
}

bool ldf_adds_up(const ldf_header_t& h) {
    int64_t sum = 0;
    for (int32_t total : {h.total_res_msg, h.total_agt_msg, h.total_grp_msg, h.total_sys_msg, h.total_clu_msg,
                          h.total_hmx_msg, h.total_qen_msg})
        sum += total;
    return sum == h.total_msgs;
}

namespace {

// Whether one of the bytes is a separator.
template <class Word>
bool has_separator(Word bytes) {
    constexpr Word ONES = static_cast<Word>(~Word{0}) / 0xFF;
    const Word zero_for_separator = bytes ^ (ONES * LDF_SEPARATOR);
    return ((zero_for_separator - ONES) & ~zero_for_separator & (ONES << 7)) != 0;
}

// Copies sizeof(Word) to 2 * sizeof(Word) bytes, in two words that may overlap.
template <class Word>
bool copy_ends(const char* from, size_t n, char* to) {
    Word head, tail;
    std::memcpy(&head, from, sizeof head);
    std::memcpy(&tail, from + n - sizeof tail, sizeof tail);
    std::memcpy(to, &head, sizeof head);
    std::memcpy(to + n - sizeof tail, &tail, sizeof tail);
    return has_separator(head) || has_separator(tail);
}

// Copies a field. Whether it holds a separator. Most fields are short: two calls would cost more than they
// do.
bool copy_field(const char* from, size_t n, char* to) {
    if (n > 2 * sizeof(uint64_t)) {
        std::memcpy(to, from, n);
        // To search the copy would wait for its bytes to leave the store buffer.
        return std::memchr(from, LDF_SEPARATOR, n) != nullptr;
    }
    if (n >= sizeof(uint64_t)) return copy_ends<uint64_t>(from, n, to);
    if (n >= sizeof(uint32_t)) return copy_ends<uint32_t>(from, n, to);
    bool found = false;
    for (size_t i = 0; i < n; ++i) {
        found |= static_cast<unsigned char>(from[i]) == LDF_SEPARATOR;
        to[i] = from[i];
    }
    return found;
}

// Appends field and separator at `used`; false when they and a closing NUL do not fit.
bool append_field(std::string_view field, char* buf, size_t bufsize, size_t& used) {
    if (field.empty()) field = " ";
    const size_t room = bufsize - used; // at least 1, for the NUL
    if (room < 2 || field.size() > room - 2) return false;
    char* to = buf + used;
    if (copy_field(field.data(), field.size(), to))
        std::replace(to, to + field.size(), static_cast<char>(LDF_SEPARATOR), '?');
    to[field.size()] = static_cast<char>(LDF_SEPARATOR);
    used += field.size() + 1;
    return true;
}

} // namespace

size_t ldf_encode_text(std::string_view file, std::string_view func, LdfArgs args, char* buf,
                       size_t bufsize) {
    size_t used = 0;
    bool fits = append_field(file, buf, bufsize, used) && append_field(func, buf, bufsize, used);
    size_t count = 0;
    for (std::string_view arg : args) {
        if (!fits || arg.data() == nullptr || ++count > LDF_MAX_ARGS) break;
        fits = append_field(arg, buf, bufsize, used);
    }
    if (!fits) used = 0;
    buf[used] = '\0';
    return used;
}

} // namespace taq_1
