// Checked messages become the bytes of a catalog; --list goes the other way.
#include "CatalogCodec.h"

#include "i18n/common/bmc_format.h"

#include <vector>

namespace gencat {

namespace {

// A missing number inside a range costs one slot of 4 bytes, a new range costs 12 bytes. So up to this many
// missing numbers in a row stay in one range.
constexpr uint32_t MAX_GAP = BMC_RANGE_SIZE / BMC_SLOT_SIZE;

// In a damaged file every slot may refer to the same long record. This many bytes of text beyond the size of
// the file are decoded at most.
constexpr uint64_t MAX_SHARED_TEXT = 256u << 20;

constexpr uint64_t MAX_FILE_SIZE = BMC_EMPTY_SLOT; // an offset below the value that marks an empty slot

// The ranges of a set, their slot arrays one behind the other from the end of the range table.
std::vector<bmc_range_t> make_ranges(const MessageSet& set) {
    std::vector<bmc_range_t> ranges;
    for (const auto& [number, message] : set) {
        if (ranges.empty() || number - ranges.back()._id_end - 1 > MAX_GAP)
            ranges.push_back({0, number, number});
        ranges.back()._id_end = number;
    }
    uint32_t offset = static_cast<uint32_t>(BMC_HEADER_SIZE + ranges.size() * BMC_RANGE_SIZE);
    for (bmc_range_t& range : ranges) {
        range._offset = offset;
        offset += static_cast<uint32_t>((range._id_end - range._id_start + 1) * BMC_SLOT_SIZE);
    }
    return ranges;
}

uint32_t end_of_slots(const std::vector<bmc_range_t>& ranges) {
    if (ranges.empty()) return BMC_HEADER_SIZE;
    return static_cast<uint32_t>(ranges.back().slot_of(ranges.back()._id_end) + BMC_SLOT_SIZE);
}

uint64_t size_of_records(const MessageSet& set) {
    uint64_t size = 0;
    for (const auto& [number, message] : set) size += BMC_LENGTH_SIZE + message.text.size() + 1;
    return size;
}

void encode_tables(const MessageSet& set, const std::vector<bmc_range_t>& ranges, uint8_t* file) {
    bmc_header_t header;
    header.range_count = static_cast<uint32_t>(ranges.size());
    header.msg_count = static_cast<uint32_t>(set.size());
    header.tab_range_address = BMC_HEADER_SIZE;
    header.tab_ndx_address = static_cast<uint32_t>(BMC_HEADER_SIZE + ranges.size() * BMC_RANGE_SIZE);
    header.tab_msg_address = end_of_slots(ranges);
    bmc_encode_header(header, file);
    uint8_t* record = file + header.tab_range_address;
    for (const bmc_range_t& range : ranges) {
        bmc_encode_range(range, record);
        record += BMC_RANGE_SIZE;
    }
}

void encode_messages(const MessageSet& set, const std::vector<bmc_range_t>& ranges, uint8_t* file) {
    auto range = ranges.begin();
    uint32_t offset = end_of_slots(ranges);
    for (const auto& [number, message] : set) {
        while (!range->holds(number)) ++range;
        bmc_encode_word(offset, file + range->slot_of(number));
        const auto length = static_cast<uint32_t>(message.text.size() + 1); // the NUL counts
        bmc_encode_word(length, file + offset);
        std::memcpy(file + offset + BMC_LENGTH_SIZE, message.text.c_str(), length);
        offset += static_cast<uint32_t>(BMC_LENGTH_SIZE + length);
    }
}

// Bounds-checked view of a catalog that may be damaged.
class CatalogBytes {
public:
    explicit CatalogBytes(std::string_view bytes) : _bytes(bytes), _budget(bytes.size() + MAX_SHARED_TEXT) {}

    const uint8_t* at(uint64_t offset, uint64_t length) const {
        if (offset > _bytes.size() || length > _bytes.size() - offset) return nullptr;
        return reinterpret_cast<const uint8_t*>(_bytes.data()) + offset;
    }

    const char* text_at(uint32_t offset, std::string& text) {
        const uint8_t* word = at(offset, BMC_LENGTH_SIZE);
        if (!word) return "a message record lies outside the file";
        const uint32_t length = bmc_decode_word(word);
        const uint8_t* chars = at(uint64_t{offset} + BMC_LENGTH_SIZE, length);
        if (!chars) return "a text reaches beyond the end of the file";
        // The lookup takes the text up to its first NUL; what follows it could not be written as source.
        if (length == 0 || std::memchr(chars, 0, length) != chars + length - 1)
            return "a text does not end in its NUL";
        if (length > _budget) return "the records hold far more text than the file";
        _budget -= length;
        text.assign(reinterpret_cast<const char*>(chars), length - 1);
        return nullptr;
    }

private:
    std::string_view _bytes;
    uint64_t _budget; // bytes of text that may still be decoded
};

const char* decode_range_messages(CatalogBytes& file, const bmc_range_t& range, MessageSet& set) {
    for (uint32_t number = range._id_start; number <= range._id_end; ++number) {
        const uint8_t* slot = file.at(range.slot_of(number), BMC_SLOT_SIZE);
        if (!slot) return "a slot array reaches beyond the end of the file";
        const uint32_t offset = bmc_decode_word(slot);
        if (offset == BMC_EMPTY_SLOT) continue;
        if (const char* reason = file.text_at(offset, set[number].text)) return reason;
    }
    return nullptr;
}

} // namespace

bool encode_catalog(const MessageSet& set, std::string& bytes) {
    const std::vector<bmc_range_t> ranges = make_ranges(set);
    const uint64_t size = end_of_slots(ranges) + size_of_records(set);
    if (size >= MAX_FILE_SIZE) return false;
    bytes.assign(size, '\xFF'); // slots start out empty
    auto* file = reinterpret_cast<uint8_t*>(bytes.data());
    encode_tables(set, ranges, file);
    encode_messages(set, ranges, file);
    return true;
}

const char* decode_catalog(std::string_view bytes, MessageSet& set) {
    CatalogBytes file(bytes);
    bmc_header_t header;
    const uint8_t* start = file.at(0, BMC_HEADER_SIZE);
    if (!start || !bmc_decode_header(start, &header)) return "not a message catalog";
    const uint8_t* record = file.at(header.tab_range_address, uint64_t{header.range_count} * BMC_RANGE_SIZE);
    if (!record) return "the range table reaches beyond the end of the file";

    int64_t last = -1;
    for (uint32_t i = 0; i < header.range_count; ++i, record += BMC_RANGE_SIZE) {
        const bmc_range_t range = bmc_decode_range(record);
        if (int64_t{range._id_start} <= last || range._id_end < range._id_start)
            return "the ranges do not ascend";
        if (range._id_end > MAX_MESSAGE) return "a range goes beyond message 65535";
        if (const char* reason = decode_range_messages(file, range, set)) return reason;
        last = range._id_end;
    }
    return nullptr;
}

} // namespace gencat
