// The record behind a handle, and the steps of a lookup that work on it.
#pragma once

#include <cstddef>
#include <memory>

#include "i18n/common/bmc.h"
#include "i18n/common/i18n.h"
#include "i18n/common/i18n_texts.h"
#include "i18n/unix/i18n_conv.h"
#include "i18n/unix/i18n_file.h"

inline namespace taq_1 {

inline constexpr int32_t I18N_MRU_COUNT = 5;      // catalog files that a handle holds open
inline constexpr size_t I18N_BMC_BUFFSIZE = 1024; // first size of the raw text buffer
inline constexpr size_t I18N_BMC_BUFFSLACK = 255; // what it grows by beyond the need
inline constexpr size_t I18N_LANG_SIZE = 32; // longest language name taken from the environment, with NUL

// One slot for an open catalog file.
struct i18n_mru_t {
    int32_t _bmc_ndx = -1; // index into _bmc_tablep; -1: the slot is empty
    uint32_t _hits = 0;    // uses since the file was opened
    i18n_file _fp;
};

// The record behind a handle. Invariant: a slot with _bmc_ndx n holds the open file of catalog n, whose
// _mru_ndx is this slot; all other catalogs have _mru_ndx -1; _open_handles slots are in use.
struct i18n_t {
    i18n_t() = default;
    ~i18n_t();
    i18n_t(const i18n_t&) = delete;
    i18n_t& operator=(const i18n_t&) = delete;

    i18n_bool _need_conversion = I18N_FALSE; // texts go through _cd
    i18n_conv _cd = nullptr;                 // meaningful when _need_conversion
    i18n_conv_traits _traits;                // of the system codeset, likewise
    i18n_mru_t _mru_list[I18N_MRU_COUNT];
    i18n_string _bmc_root_pathp;
    i18n_string _langp;
    i18n_string _modulep;
    std::unique_ptr<char[]> _conv_bufferp; // formatted or converted text
    size_t _conv_buffsize = 0;
    std::unique_ptr<char[]> _bmc_bufferp; // raw text of a record; grows, never shrinks
    size_t _bmc_buffsize = 0;
    int32_t _open_handles = 0;
    bmc_table _bmc_tablep; // in map file order
    i18n_texts _texts;
    i18n_text _passing; // the last text that was too large for the cache
};

// The open record of a handle, or null.
inline i18n_t* i18n_record(void** i18nhp) {
    return i18nhp == nullptr ? nullptr : static_cast<i18n_t*>(*i18nhp);
}

// The open file of catalog ndx: from its slot, or opened into the slot with the fewest hits, whose catalog
// loses it. Counts one use. I18N_EBMC: it cannot be opened or read.
int i18n_get_bmc_filehandle(i18n_t* i18np, int32_t ndx, const i18n_file** filepp);

// Reads the text of a message that the cache does not hold, and keeps it there if it fits.
int i18n_find_new_text(i18n_t* i18np, uint32_t catID, uint32_t msgID, size_t longest, i18n_text** textpp);

// The text of a message, for a caller that has no use for one of more than `longest` bytes, its NUL included.
// The record stays valid until the next call on the handle. Results: I18N_SOK, I18N_ENOTFOUND,
// I18N_EBADHANDLE (no catalogs, damaged record), I18N_EBMC, I18N_ENOMEM, I18N_ESPECCOUNT (the text is longer
// and was not read).
inline int i18n_find_text(i18n_t* i18np, uint32_t catID, uint32_t msgID, size_t longest, i18n_text** textpp) {
    *textpp = i18np->_texts.find(catID, msgID);
    if (*textpp == nullptr) return i18n_find_new_text(i18np, catID, msgID, longest, textpp);
    // The use of a kept text counts for its catalog as if it had been read.
    const int32_t slot = i18np->_bmc_tablep[static_cast<size_t>((*textpp)->_bmc_ndx)]._mru_ndx;
    if (slot >= 0) ++i18np->_mru_list[slot]._hits;
    return I18N_SOK;
}

// Ends the process when an invariant of this room is broken. No input causes that.
[[noreturn]] void i18n_assertion_failed(const char* file, int line);
#define I18N_ASSERT(condition) ((condition) ? (void)0 : i18n_assertion_failed(__FILE__, __LINE__))

} // namespace taq_1
