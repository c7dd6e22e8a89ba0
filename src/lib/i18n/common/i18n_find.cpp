// The first step of a lookup: from category and number to the text, by way of the cache, the table of
// catalogs and the catalog file.
#include <new>

#include "i18n/common/i18n_internal.h"

inline namespace taq_1 {

namespace {

// The slot to be filled next: the first of those with the fewest hits, so an empty one if there is one.
int32_t least_used_slot(const i18n_t& i18n) {
    int32_t best = 0;
    for (int32_t i = 1; i < I18N_MRU_COUNT; ++i)
        if (i18n._mru_list[i]._hits < i18n._mru_list[best]._hits) best = i;
    return best;
}

void evict(i18n_t* i18np, i18n_mru_t* slotp) {
    if (slotp->_bmc_ndx < 0) return;
    i18np->_bmc_tablep[static_cast<size_t>(slotp->_bmc_ndx)]._mru_ndx = -1;
    slotp->_fp.close();
    slotp->_bmc_ndx = -1;
    slotp->_hits = 0;
    --i18np->_open_handles;
}

// Reads the record of a slot into the raw text buffer, which grows for a text of up to `longest` bytes.
int read_record(i18n_t* i18np, const i18n_file& file, uint64_t slot_offset, size_t longest, uint32_t* sizep) {
    int rc = bmc_read_msg(file, slot_offset, i18np->_bmc_bufferp.get(), i18np->_bmc_buffsize, sizep);
    if (rc != I18N_EBUFSIZE) return rc;
    if (*sizep > longest) return I18N_ESPECCOUNT;
    const size_t buffsize = *sizep + I18N_BMC_BUFFSLACK;
    i18np->_bmc_bufferp.reset(i18n_checked(new (std::nothrow) char[buffsize]));
    i18np->_bmc_buffsize = buffsize;
    rc = bmc_read_msg(file, slot_offset, i18np->_bmc_bufferp.get(), buffsize, sizep);
    return rc == I18N_EBUFSIZE ? static_cast<int>(I18N_EBADHANDLE)
                               : rc; // another process is writing to the file
}

int read_text(i18n_t* i18np, uint32_t catID, uint32_t msgID, size_t longest, i18n_text* textp) {
    const i18n_file* filep = nullptr;
    if (bmc_find_ndx(i18np->_bmc_tablep, catID, &textp->_bmc_ndx) != I18N_SOK) return I18N_ENOTFOUND;
    if (int rc = i18n_get_bmc_filehandle(i18np, textp->_bmc_ndx, &filep)) return rc;
    const bmc_t& bmc = i18np->_bmc_tablep[static_cast<size_t>(textp->_bmc_ndx)];
    const bmc_range_t* rangep = bmc_find_range(bmc._range_table, msgID);
    if (rangep == nullptr) return I18N_ENOTFOUND;
    const uint64_t slot = rangep->slot_of(msgID);
    if (int rc = read_record(i18np, *filep, slot, longest, &textp->_record_size)) return rc;
    textp->_text = i18np->_bmc_bufferp.get(); // up to the first NUL; the last byte is one
    textp->_spec_count = i18n_count_string_specifiers(textp->_text);
    return I18N_SOK;
}

int read_and_keep(i18n_t* i18np, uint32_t catID, uint32_t msgID, size_t longest, i18n_text** textpp) {
    i18n_text text;
    if (int rc = read_text(i18np, catID, msgID, longest, &text)) return rc;
    *textpp = i18np->_texts.keep(catID, msgID, text);
    if (*textpp != nullptr) return I18N_SOK;
    i18np->_passing = std::move(text);
    *textpp = &i18np->_passing;
    return I18N_SOK;
}

} // namespace

int i18n_get_bmc_filehandle(i18n_t* i18np, int32_t ndx, const i18n_file** filepp) {
    bmc_t& bmc = i18np->_bmc_tablep[static_cast<size_t>(ndx)];
    if (bmc._mru_ndx >= 0) {
        i18n_mru_t& slot = i18np->_mru_list[bmc._mru_ndx];
        ++slot._hits;
        *filepp = &slot._fp;
        return I18N_SOK;
    }
    i18n_file file;
    if (bmc._is_initialized ? !file.open(bmc._pathp.c_str()) : bmc_initialize(&bmc, &file) != I18N_SOK)
        return I18N_EBMC;

    const int32_t slot_ndx = least_used_slot(*i18np);
    i18n_mru_t& slot = i18np->_mru_list[slot_ndx];
    evict(i18np, &slot);
    slot._fp = std::move(file);
    slot._hits = 1;
    slot._bmc_ndx = ndx;
    bmc._mru_ndx = slot_ndx;
    ++i18np->_open_handles;
    *filepp = &slot._fp;
    return I18N_SOK;
}

int i18n_find_new_text(i18n_t* i18np, uint32_t catID, uint32_t msgID, size_t longest, i18n_text** textpp) {
    if (i18np->_bmc_tablep.empty()) return I18N_EBADHANDLE;
    try {
        return read_and_keep(i18np, catID, msgID, longest, textpp);
    } catch (const std::bad_alloc&) {
        return I18N_ENOMEM;
    }
}

} // namespace taq_1
