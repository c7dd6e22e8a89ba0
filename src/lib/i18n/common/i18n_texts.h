// The texts that a handle has read already, so that a text is read from its file and taken apart once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "i18n/common/i18n_format.h"
#include "i18n/common/i18n_memory.h"
#include "i18n/common/i18n_types.h"

inline namespace taq_1 {

// One message record. A kept text, which is one in the cache, owns its bytes; any other text points into the
// handle's raw text buffer.
struct i18n_text {
    int32_t _bmc_ndx = -1;     // catalog in the handle's table
    uint32_t _record_size = 0; // bytes of the record, its NUL included
    size_t _spec_count = 0;
    std::string_view _text;              // up to the first NUL of the record
    std::unique_ptr<char[]> _ownedp;     // kept: the whole record
    i18n_vector<i18n_piece> _pieces;     // kept: its pieces
    std::unique_ptr<char[]> _convertedp; // kept, without specifiers: in the system codeset, once converted
    size_t _converted_size = 0;          // bytes of it, its NUL included

    bool is_kept() const { return _ownedp != nullptr; }
};

// A set-associative cache: a set has four ways, so that a few busy texts do not push each other out. It
// holds at most 512 texts of at most KEPT_TEXT_MAX bytes and KEPT_PIECES_MAX pieces. A text stays where it is
// until keep() is called again.
class i18n_texts {
public:
    static constexpr size_t KEPT_TEXT_MAX = 4096; // bytes of a record; longer ones cannot be formatted whole
    static constexpr size_t KEPT_PIECES_MAX = 32;

    // The text, or null when it is not here.
    i18n_text* find(uint32_t catID, uint32_t msgID) {
        const set* s = _sets[set_of(catID, msgID)].get();
        if (s == nullptr) return nullptr;
        const uint64_t key = key_of(catID, msgID);
        for (size_t way = 0; way < WAYS; ++way)
            if (s->_keys[way] == key && s->_texts[way]) return s->_texts[way].get();
        return nullptr;
    }

    // Keeps a copy of a text that find() did not know, and returns it; null when it is too large to be kept.
    // Throws std::bad_alloc.
    i18n_text* keep(uint32_t catID, uint32_t msgID, const i18n_text& text);

private:
    static constexpr size_t SETS = 128;
    static constexpr size_t WAYS = 4;
    struct set {
        uint64_t _keys[WAYS] = {};
        std::unique_ptr<i18n_text> _texts[WAYS]; // null: the way is free
        size_t _next = 0;                        // way to be filled next
    };

    static uint64_t key_of(uint32_t catID, uint32_t msgID) { return uint64_t{catID} << 32 | msgID; }
    // Neighbouring numbers of a catalog go to neighbouring sets; the factor spreads the catalogs.
    static size_t set_of(uint32_t catID, uint32_t msgID) { return (msgID + catID * 37) % SETS; }

    std::unique_ptr<set> _sets[SETS]; // null until a text falls on it: a run needs few of them
};

} // namespace taq_1
