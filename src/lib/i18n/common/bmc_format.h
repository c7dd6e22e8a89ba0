// Binary message catalog (".bmc"): the layout, its constants, and the encoding and decoding of its
// pieces, shared by the lookups, the catalog compiler and the tests. Every integer is unsigned,
// 32 bits, big-endian and unaligned; every offset counts from the start of the file.
//
// Header of 64 bytes:
//
//   offset size field              meaning
//        0    4 magic              BMC_MAGIC
//        4   28 -                  not interpreted; 0 when written
//       32    4 range_count        records in the range table
//       36    4 msg_count          messages in the file, for information
//       40    8 -                  not interpreted; 0 when written
//       48    4 tab_range_address  offset of the range table
//       52    4 tab_ndx_address    offset of the slot arrays, for information
//       56    4 tab_msg_address    offset of the message records, for information
//       60    4 -                  not interpreted; 0 when written
//
// Range table: range_count records of 12 bytes, ascending by number and not overlapping:
//
//        0    4 id_start           first message number of the range
//        4    4 id_end             last one, inclusive
//        8    4 offset             offset of the range's slot array
//
// Slot array: one slot of 4 bytes for each number of the range, in order. A slot is the offset of the
// number's message record, or BMC_EMPTY_SLOT for a number without a message.
//
// Message record: 4 bytes of length, then as many bytes of UTF-8 text. The length counts the NUL that
// ends the text, so it is at least 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/unix/ByteOrder.h"

inline namespace taq_1 {

inline constexpr uint32_t BMC_MAGIC = 0x00004795;
inline constexpr size_t BMC_HEADER_SIZE = 64;
inline constexpr size_t BMC_RANGE_SIZE = 12;
inline constexpr size_t BMC_SLOT_SIZE = 4;
inline constexpr size_t BMC_LENGTH_SIZE = 4; // length word of a message record
inline constexpr uint32_t BMC_EMPTY_SLOT = 0xFFFFFFFFu;
inline constexpr uint32_t BMC_RANGES_MAX = 65536; // one for each message number; a table of more is refused

// The interpreted fields of the header, in file order.
struct bmc_header_t {
    uint32_t range_count = 0;
    uint32_t msg_count = 0;
    uint32_t tab_range_address = 0;
    uint32_t tab_ndx_address = 0;
    uint32_t tab_msg_address = 0;
};

// One record of the range table.
struct bmc_range_t {
    uint32_t _offset = 0;   // of the slot array
    uint32_t _id_start = 0; // first number
    uint32_t _id_end = 0;   // last number, inclusive

    bool holds(uint32_t msg_id) const { return _id_start <= msg_id && msg_id <= _id_end; }
    // Offset of the slot of a number that the range holds; 64 bits, since a hostile file can make the
    // sum exceed 32.
    uint64_t slot_of(uint32_t msg_id) const {
        return uint64_t{_offset} + uint64_t{msg_id - _id_start} * BMC_SLOT_SIZE;
    }
};

// Writes the BMC_HEADER_SIZE bytes of a header.
inline void bmc_encode_header(const bmc_header_t& h, uint8_t* p) {
    std::memset(p, 0, BMC_HEADER_SIZE);
    put_be32(p, BMC_MAGIC);
    put_be32(p + 32, h.range_count);
    put_be32(p + 36, h.msg_count);
    put_be32(p + 48, h.tab_range_address);
    put_be32(p + 52, h.tab_ndx_address);
    put_be32(p + 56, h.tab_msg_address);
}

// Reads BMC_HEADER_SIZE bytes; false when the magic is another one.
inline bool bmc_decode_header(const uint8_t* p, bmc_header_t* h) {
    if (get_be32(p) != BMC_MAGIC) return false;
    h->range_count = get_be32(p + 32);
    h->msg_count = get_be32(p + 36);
    h->tab_range_address = get_be32(p + 48);
    h->tab_ndx_address = get_be32(p + 52);
    h->tab_msg_address = get_be32(p + 56);
    return true;
}

// Writes and reads the BMC_RANGE_SIZE bytes of one record of the range table.
inline void bmc_encode_range(const bmc_range_t& r, uint8_t* p) {
    put_be32(p, r._id_start);
    put_be32(p + 4, r._id_end);
    put_be32(p + 8, r._offset);
}

inline bmc_range_t bmc_decode_range(const uint8_t* p) {
    bmc_range_t r;
    r._id_start = get_be32(p);
    r._id_end = get_be32(p + 4);
    r._offset = get_be32(p + 8);
    return r;
}

// Writes and reads a slot, and likewise the length word of a message record.
inline void bmc_encode_word(uint32_t word, uint8_t* p) {
    put_be32(p, word);
}
inline uint32_t bmc_decode_word(const uint8_t* p) {
    return get_be32(p);
}

} // namespace taq_1
