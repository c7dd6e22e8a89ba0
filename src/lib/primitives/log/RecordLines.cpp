// Takes a catalog's text apart into a line's pieces, and puts lines together from them. RecordDisplay asks;
// the line goes on to LineBuffer.
#include "primitives/log/RecordLines.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "i18n/common/i18n.h"
#include "i18n/unix/i18n_conv.h"

inline namespace taq_1 {

namespace {

constexpr std::string_view MISSING_ARG = "???"; // as the catalogs show it

// The first and the last bytes of a string, as many as a Word has; its other bytes are among them.
template <class Word>
inline void put_both_ends(char* out, const char* from, size_t size) {
    Word first, last;
    memcpy(&first, from, sizeof first);
    memcpy(&last, from + size - sizeof last, sizeof last);
    memcpy(out, &first, sizeof first);
    memcpy(out + size - sizeof last, &last, sizeof last);
}

struct Block {
    char bytes[16];
};

// For bytes behind which nothing may be read. Calls nothing: the caller keeps what it has in registers.
inline char* put_argument(char* out, const char* from, size_t size) {
    if (size >= sizeof(Block)) {
        for (size_t done = sizeof(Block); done < size; done += sizeof(Block))
            memcpy(out + done - sizeof(Block), from + done - sizeof(Block), sizeof(Block));
        memcpy(out + size - sizeof(Block), from + size - sizeof(Block), sizeof(Block));
    } else if (size >= sizeof(uint64_t)) {
        put_both_ends<uint64_t>(out, from, size);
    } else if (size >= sizeof(uint32_t)) {
        put_both_ends<uint32_t>(out, from, size);
    } else {
        for (size_t i = 0; i < size; ++i) out[i] = from[i];
    }
    return out + size;
}

} // namespace

char* RecordLine::compose(ArgViews args, char* out) const {
    const char* run = _bytes;
    const Piece* const end = _pieces + _piece_count;
    for (const Piece* p = _pieces; p != end; ++p) {
        const Piece piece = *p;
        out = put_run(out, run, piece.size);
        run += piece.size;
        if (piece.arg < args.size()) out = put_argument(out, args[piece.arg].data(), args[piece.arg].size());
    }
    *out++ = '\n';
    return out;
}

bool RecordLine::are_ascii(ArgViews args) {
    return std::all_of(args.begin(), args.end(), i18n_is_ascii);
}

bool RecordLine::_add_bytes(std::string_view bytes) {
    if (bytes.size() > BYTES_MAX - _size) return false;
    memcpy(_bytes + _size, bytes.data(), bytes.size());
    _size = static_cast<uint16_t>(_size + bytes.size());
    return true;
}

// False when it does not fit; then the line has its head only.
bool RecordLine::_add_text(const i18nTemplate& text) {
    if (text.piece_count > PIECES_MAX) return false;
    size_t start = 0; // of the piece: the first holds the head
    for (size_t i = 0; i < text.piece_count; ++i) {
        const i18n_piece& piece = text.pieces[i];
        if (!_add_bytes(text.text.substr(piece._offset, piece._size))) return false;
        if (piece._arg != I18N_NO_ARG && static_cast<size_t>(piece._arg) >= text.arg_count &&
            !_add_bytes(MISSING_ARG))
            return false;
        const auto arg = static_cast<uint8_t>(piece._arg); // I18N_NO_ARG becomes 255
        _pieces[i] = {static_cast<uint8_t>(_size - start), arg};
        start = _size;
    }
    _piece_count = static_cast<uint8_t>(text.piece_count);
    _args_size_max = static_cast<uint16_t>(text.args_size_max);
    _needs_ascii = text.needs_ascii;
    _arg_count = static_cast<uint8_t>(text.arg_count);
    return true;
}

const RecordLine* RecordLines::keep(uint32_t msgcat_id, int sev, std::string_view head,
                                    const i18nTemplate* textp) {
    if (_lines == nullptr) _lines = raw_room<RecordLine>(PLACES);
    const size_t place = place_of(msgcat_id, sev);
    RecordLine& line = *new (&_lines[place]) RecordLine;
    const bool fits = line._add_bytes(head);
    _keys[place] = fits ? key_of(msgcat_id, sev) : FREE;
    if (!fits) return nullptr;
    line._head_size = static_cast<uint8_t>(head.size());
    if (textp != nullptr && textp->piece_count > 0) (void)line._add_text(*textp); // or it is looked up again
    return &line;
}

} // namespace taq_1
