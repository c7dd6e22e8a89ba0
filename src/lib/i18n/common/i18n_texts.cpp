// Keeps what a lookup has read, for the next line with the same message.
#include "i18n/common/i18n_texts.h"

#include <cstring>
#include <utility>

inline namespace taq_1 {

i18n_text* i18n_texts::keep(uint32_t catID, uint32_t msgID, const i18n_text& text) {
    if (text._record_size > KEPT_TEXT_MAX) return nullptr;
    i18n_piece pieces[KEPT_PIECES_MAX + 1];
    size_t count = 0;
    for (i18n_scanner scanner(text._text); scanner.next(&pieces[count]);)
        if (++count > KEPT_PIECES_MAX) return nullptr;

    std::unique_ptr<i18n_text> kept(i18n_checked(new (std::nothrow) i18n_text));
    kept->_bmc_ndx = text._bmc_ndx;
    kept->_record_size = text._record_size;
    kept->_spec_count = text._spec_count;
    kept->_ownedp.reset(i18n_checked(new (std::nothrow) char[text._record_size]));
    std::memcpy(kept->_ownedp.get(), text._text.data(), text._record_size);
    kept->_text = {kept->_ownedp.get(), text._text.size()};
    kept->_pieces.assign(pieces, pieces + count);

    std::unique_ptr<set>& setp = _sets[set_of(catID, msgID)];
    if (setp == nullptr) setp.reset(i18n_checked(new (std::nothrow) set));
    set& s = *setp;
    const size_t way = s._next;
    s._next = (way + 1) % WAYS;
    s._keys[way] = key_of(catID, msgID);
    s._texts[way] = std::move(kept);
    return s._texts[way].get();
}

} // namespace taq_1
