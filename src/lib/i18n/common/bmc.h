// The catalogs of one module: the table that the map file gives, and the reading of one catalog file.
// Exhausted memory throws std::bad_alloc here; the public functions turn that into I18N_ENOMEM.
#pragma once

#include <cstddef>
#include <cstdint>

#include "i18n/common/bmc_format.h"
#include "i18n/common/i18n_memory.h"
#include "i18n/common/i18n_types.h"
#include "i18n/unix/i18n_file.h"

inline namespace taq_1 {

// One catalog. Path, version, category and limits come from the map file; the rest from the catalog's header
// once it was read (_is_initialized), which then stays in memory as long as the handle.
struct bmc_t {
    uint32_t _msg_count = 0;
    bool _is_initialized = false;
    int32_t _mru_ndx = -1; // cache slot that holds the open file, -1 none
    uint32_t _tab_range_address = 0;
    uint32_t _tab_ndx_address = 0;
    uint32_t _tab_msg_address = 0;
    uint32_t _category = 0;
    uint32_t _msg_id_min = 0;
    uint32_t _msg_id_max = 0;
    i18n_string _versionp;
    i18n_string _pathp;
    i18n_vector<bmc_range_t> _range_table;
};

// Ascending by category. The map file promises that order; in a table without it a search finds less.
using bmc_table = i18n_vector<bmc_t>;

// Builds the table of a module from its map file. Results: I18N_SOK; I18N_ENODIR when the root or its
// "messages" is no directory; the map reader's codes. On failure the table is empty.
int bmc_create_table(const char* root_pathp, const char* langp, const char* modulep, bmc_table* tablep);

// Opens a catalog and reads its header and range table. I18N_SOK: *filep is the open file and the catalog is
// initialised. I18N_EBMC: missing, short, of another kind, or with a table outside the file; the catalog is
// unchanged.
int bmc_initialize(bmc_t* bmcp, i18n_file* filep);

// Reads `count` records of the range table. I18N_EBMC: more than BMC_RANGES_MAX, or not all in the file; both
// are checked before anything is allocated.
int range_create_table(const i18n_file& file, uint32_t tab_range_address, uint32_t count,
                       i18n_vector<bmc_range_t>* tablep);

// Index of the catalog of a category. I18N_EFAIL: none, *ndxp is -1. I18N_EBMC: empty table.
int bmc_find_ndx(const bmc_table& table, uint32_t category, int32_t* ndxp);

// The range that holds a number, or null.
const bmc_range_t* bmc_find_range(const i18n_vector<bmc_range_t>& table, uint32_t msg_id);

// Reads the message record that the slot at slot_offset refers to. I18N_SOK: *sizep bytes at buffer, the
// last of them a NUL. I18N_ENOTFOUND: empty slot. I18N_EBUFSIZE: the text has *sizep bytes, more than
// buffsize, and only its last byte was read. I18N_EBADHANDLE: slot or record outside the file, length 0, no
// NUL at the end.
int bmc_read_msg(const i18n_file& file, uint64_t slot_offset, char* buffer, size_t buffsize, uint32_t* sizep);

} // namespace taq_1
