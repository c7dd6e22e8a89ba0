// Log data file (".ldf"): the layout, its constants and its codes, shared by LdfReader, LdfWriter and
// whoever else touches such a file. Integers are big-endian and unaligned; there is no padding.
//
// File = header of 117 bytes, then records back to back.
//
//   offset size field            meaning
//        0    4 signature        LDF_SIGNATURE
//        4    4 ver_major        LDF_VER_MAJOR
//        8    4 ver_minor        LDF_VER_MINOR
//       12   33 system           host that created the file, NUL-padded, byte 32 always NUL
//       45    4 platform         index into platform_id_names
//       49    4 datetime_create  seconds since 1970-01-01 UTC
//       53    4 datetime_modify  time of the last header write, likewise
//       57    4 total_msgs       records in the file
//       61 5* 4 total_critical, total_error, total_warning, total_notice, total_info: severities 0 to 4
//       81 7* 4 total_res_msg, total_agt_msg, total_grp_msg, total_sys_msg, total_clu_msg,
//               total_hmx_msg, total_qen_msg: object types 6, 5, 3, 4, 2, 1, 0
//      109    4 flags            bit 0: records carry sequence numbers worth showing
//      113    4 offset_end       file offset just past the last complete record
//
// Record = fixed part of 23 bytes, then data_size bytes of text.
//
//        0    4 data_size        bytes of text, its NUL included; at most LDF_TEXT_MAX
//        4    1 version          LDF_RECORD_VERSION
//        5    1 sev              severity code, 0 to 4 from the logging framework
//        6    4 timestamp        seconds since 1970-01-01 UTC
//       10    4 msgcat_id        high 16 bits catalog, low 16 bits message number
//       14    1 obj_type         object-type code (QENObjTags.h)
//       15    4 line_no          source line
//       19    4 seq              sequence number, 0xFFFFFFFF for none
//       23    . text             source file, function, up to six arguments, each followed by the
//                                byte 0xFF; then one NUL
//
// Invariant after every completed write: total_msgs records lie in [LDF_HEADER_SIZE, offset_end).
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "../../platform/unix/ByteOrder.h"

inline namespace taq_1 {

// Results of LdfReader and LdfWriter; the command exits with them.
enum ldf_result {
    LDF_OK = 0,
    LDF_EREGISTERED = 1, // the name is in use by another reader (writer)
    LDF_ENONAME = 2,     // no name given
    LDF_EROOT = 5,       // the root of the data directories does not exist
    LDF_EFAIL = 7,       // not open, missing, too short, corrupt, unreadable, or target out of range
    LDF_ENOMEM = 8,
    LDF_ENOINIT = 9,   // the registry was not created: init() not called
    LDF_EVERSION = 10, // file or record of another version
    LDF_EEND = 12,     // no more records
};

inline constexpr int32_t LDF_SIGNATURE = 22900;
inline constexpr int32_t LDF_VER_MAJOR = 3;
inline constexpr int32_t LDF_VER_MINOR = 0;
inline constexpr size_t LDF_SYSTEM_SIZE = 33; // host name field, its NUL included
inline constexpr size_t LDF_HEADER_SIZE = 3 * 4 + LDF_SYSTEM_SIZE + 17 * 4 + 4;
inline constexpr size_t LDF_RECORD_HEADER_SIZE = 4 + 1 + 1 + 4 + 4 + 1 + 4 + 4;
inline constexpr size_t LDF_TEXT_MAX = 4096; // text part, its NUL included
inline constexpr size_t LDF_RECORD_MAX = LDF_RECORD_HEADER_SIZE + LDF_TEXT_MAX;
static_assert(LDF_HEADER_SIZE == 117 && LDF_RECORD_HEADER_SIZE == 23);

inline constexpr uint8_t LDF_RECORD_VERSION = 1;
inline constexpr unsigned char LDF_SEPARATOR = 0xFF;
inline constexpr size_t LDF_MAX_ARGS = 6;           // arguments that a writer stores
inline constexpr uint32_t LDF_NO_SEQ = 0xFFFFFFFFu; // seq of a record whose caller has none
inline constexpr int32_t LDF_HEADER_FLAG_SEQ = 1;   // header flags bit 0
inline constexpr char LDF_SUBDIR[] = "/ldf/";       // below the data root
inline constexpr char LDF_EXTENSION[] = ".ldf";

inline constexpr int32_t LDF_PLATFORM_LINUX = 6;
inline constexpr const char* platform_id_names[] = {"UNKNOWN", "WINNT", "W2K",   "WINDOWS",
                                                    "SOLARIS", "HP",    "LINUX", "AIX"};

// Name of a header's platform code; "UNKNOWN" for a code outside the table.
const char* ldf_platform_name(int32_t platform);

// The file header in memory: the fields of the table above, in file order.
struct ldf_header_t {
    int32_t signature;
    int32_t ver_major;
    int32_t ver_minor;
    char system[LDF_SYSTEM_SIZE];
    int32_t platform;
    int32_t datetime_create;
    int32_t datetime_modify;
    int32_t total_msgs;
    int32_t total_critical;
    int32_t total_error;
    int32_t total_warning;
    int32_t total_notice;
    int32_t total_info;
    int32_t total_res_msg;
    int32_t total_agt_msg;
    int32_t total_grp_msg;
    int32_t total_sys_msg;
    int32_t total_clu_msg;
    int32_t total_hmx_msg;
    int32_t total_qen_msg;
    int32_t flags;
    uint32_t offset_end;
};

// The fixed part of a record. The one-byte codes come from the file unchecked: range-check before indexing.
struct ldf_msg_header_t {
    uint32_t data_size;
    int8_t version;
    int8_t sev;
    int32_t timestamp;
    uint32_t msgcat_id;
    int8_t obj_type;
    uint32_t line_no;
    uint32_t seq;
};

// Where a record was issued.
struct ldf_dbg_info_t {
    uint32_t line_no;
    uint32_t seq;
    char filename[LDF_TEXT_MAX];
    char function[LDF_TEXT_MAX];
};

// Writes the header's 117 bytes to `out`.
void ldf_encode_header(const ldf_header_t& h, unsigned char* out);

// The one judge of file headers. Fills `h` from the 117 bytes at `in`; `filesize` is the file's size when
// it was opened. LDF_EFAIL: wrong signature, or offset_end beyond the file; LDF_EVERSION: not version 3.0.
// With a wrong signature or version the fields behind it are zero: their layout is not known.
int ldf_decode_header(const unsigned char* in, int64_t filesize, ldf_header_t& h);

// Whether the counters by object type make up the total. If not, the header may be a mixture of two, read
// while it was written.
bool ldf_adds_up(const ldf_header_t& h);

// Writes the fixed part of a record, 23 bytes, to `out`.
inline void ldf_encode_record(const ldf_msg_header_t& m, unsigned char* out) {
    put_be32(out, m.data_size);
    out[4] = static_cast<unsigned char>(m.version);
    out[5] = static_cast<unsigned char>(m.sev);
    put_be32(out + 6, static_cast<uint32_t>(m.timestamp));
    put_be32(out + 10, m.msgcat_id);
    out[14] = static_cast<unsigned char>(m.obj_type);
    put_be32(out + 15, m.line_no);
    put_be32(out + 19, m.seq);
}

// Reads the fixed part of a record from 23 bytes; checks nothing.
inline void ldf_decode_record(const unsigned char* in, ldf_msg_header_t& m) {
    m.data_size = get_be32(in);
    m.version = static_cast<int8_t>(in[4]);
    m.sev = static_cast<int8_t>(in[5]);
    m.timestamp = static_cast<int32_t>(get_be32(in + 6));
    m.msgcat_id = get_be32(in + 10);
    m.obj_type = static_cast<int8_t>(in[14]);
    m.line_no = get_be32(in + 15);
    m.seq = get_be32(in + 19);
}

// Arguments of a message: any range of views that lies side by side. Refers only.
class LdfArgs {
public:
    LdfArgs(const std::string_view* args, size_t count) : _args(args), _count(count) {}
    template <class Views>
    LdfArgs(const Views& views) : _args(std::data(views)), _count(std::size(views)) {}
    const std::string_view* begin() const { return _args; }
    const std::string_view* end() const { return _args + _count; }

private:
    const std::string_view* _args;
    size_t _count;
};

// Builds a text part in `buf` (`bufsize` >= 1 bytes): file, function and at most LDF_MAX_ARGS arguments up
// to the first one with null data, each (" " for an empty one) followed by LDF_SEPARATOR, and a NUL. Fields
// hold no NUL; a byte 0xFF inside one would split it, so it is stored as "?". Returns the length without the
// NUL; 0 with an empty text when the whole does not fit.
size_t ldf_encode_text(std::string_view file, std::string_view func, LdfArgs args, char* buf, size_t bufsize);

} // namespace taq_1
