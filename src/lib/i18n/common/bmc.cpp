// From the map's table to a message record: opens catalog files, reads their tables, finds and reads records.
#include "i18n/common/bmc.h"

#include <algorithm>

#include "i18n/common/bmcmap.h"

inline namespace taq_1 {

int bmc_create_table(const char* root_pathp, const char* langp, const char* modulep, bmc_table* tablep) {
    tablep->clear();
    if (!i18n_checkdir(root_pathp)) return I18N_ENODIR;
    const i18n_string messages_path = i18n_string(root_pathp) + "/" + BMC_MESSAGES_DIR + "/";
    if (!i18n_checkdir(messages_path.c_str())) return I18N_ENODIR;
    return bmcmap_process_map(messages_path.c_str(), langp, modulep, tablep);
}

int bmc_initialize(bmc_t* bmcp, i18n_file* filep) {
    i18n_file file;
    uint8_t bytes[BMC_HEADER_SIZE];
    bmc_header_t header;
    i18n_vector<bmc_range_t> ranges;
    if (!file.open(bmcp->_pathp.c_str())) return I18N_EBMC;
    if (file.read_at(0, bytes, sizeof bytes) != sizeof bytes) return I18N_EBMC;
    if (!bmc_decode_header(bytes, &header)) return I18N_EBMC;
    if (int rc = range_create_table(file, header.tab_range_address, header.range_count, &ranges)) return rc;

    bmcp->_msg_count = header.msg_count;
    bmcp->_tab_range_address = header.tab_range_address;
    bmcp->_tab_ndx_address = header.tab_ndx_address;
    bmcp->_tab_msg_address = header.tab_msg_address;
    bmcp->_range_table = std::move(ranges);
    bmcp->_is_initialized = true;
    *filep = std::move(file);
    return I18N_SOK;
}

int range_create_table(const i18n_file& file, uint32_t tab_range_address, uint32_t count,
                       i18n_vector<bmc_range_t>* tablep) {
    constexpr size_t CHUNK = 256; // records of one read
    uint8_t bytes[CHUNK * BMC_RANGE_SIZE];
    tablep->clear();
    if (count > BMC_RANGES_MAX) return I18N_EBMC;
    if (!file.holds(tab_range_address, uint64_t{count} * BMC_RANGE_SIZE)) return I18N_EBMC;
    tablep->reserve(count);
    uint64_t offset = tab_range_address;
    for (size_t left = count; left > 0;) {
        const size_t records = std::min(left, CHUNK);
        const size_t size = records * BMC_RANGE_SIZE;
        if (file.read_at(offset, bytes, size) != size) return I18N_EBMC;
        for (size_t i = 0; i < records; ++i) tablep->push_back(bmc_decode_range(bytes + i * BMC_RANGE_SIZE));
        offset += size;
        left -= records;
    }
    return I18N_SOK;
}

int bmc_find_ndx(const bmc_table& table, uint32_t category, int32_t* ndxp) {
    *ndxp = -1;
    if (table.empty()) return I18N_EBMC;
    // Most lookups ask for the first or the last category: the command's messages and the severity words.
    size_t low = 0, high = table.size() - 1;
    for (const size_t end : {low, high}) {
        if (table[end]._category != category) continue;
        *ndxp = static_cast<int32_t>(end);
        return I18N_SOK;
    }
    while (low + 1 < high) {
        const size_t middle = (low + high) / 2;
        if (table[middle]._category == category) {
            *ndxp = static_cast<int32_t>(middle);
            return I18N_SOK;
        }
        (category > table[middle]._category ? low : high) = middle;
    }
    return I18N_EFAIL;
}

const bmc_range_t* bmc_find_range(const i18n_vector<bmc_range_t>& table, uint32_t msg_id) {
    if (table.empty()) return nullptr;
    if (table.front().holds(msg_id)) return &table.front();
    if (table.back().holds(msg_id)) return &table.back();
    size_t low = 0, high = table.size() - 1;
    while (low + 1 < high) {
        const size_t middle = (low + high) / 2;
        if (table[middle].holds(msg_id)) return &table[middle];
        (msg_id < table[middle]._id_start ? high : low) = middle;
    }
    return nullptr;
}

int bmc_read_msg(const i18n_file& file, uint64_t slot_offset, char* buffer, size_t buffsize,
                 uint32_t* sizep) {
    uint8_t word[BMC_SLOT_SIZE];
    if (file.read_at(slot_offset, word, sizeof word) != sizeof word) return I18N_EBADHANDLE;
    const uint64_t record = bmc_decode_word(word);
    if (record == BMC_EMPTY_SLOT) return I18N_ENOTFOUND;

    if (file.read_at(record, word, sizeof word) != sizeof word) return I18N_EBADHANDLE;
    const uint32_t size = bmc_decode_word(word);
    // Sizes are reported as int32_t, and a length that the file cannot hold must not make the buffer grow.
    if (size == 0 || size > INT32_MAX || !file.holds(record + BMC_LENGTH_SIZE, size)) return I18N_EBADHANDLE;
    *sizep = size;
    const uint64_t text = record + BMC_LENGTH_SIZE;
    if (size > buffsize) {
        char last = 'x';
        return file.read_at(text + size - 1, &last, 1) == 1 && last == '\0' ? I18N_EBUFSIZE : I18N_EBADHANDLE;
    }
    if (file.read_at(text, buffer, size) != size) return I18N_EBADHANDLE;
    return buffer[size - 1] == '\0' ? I18N_SOK : I18N_EBADHANDLE;
}

} // namespace taq_1
