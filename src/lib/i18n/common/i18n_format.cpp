// The last step of a lookup: takes a text apart and puts the arguments in.
#include "i18n/common/i18n_format.h"

#include <algorithm>
#include <cstring>

inline namespace taq_1 {

namespace {

// Bounded output: what exceeds the room is cut.
class sink {
public:
    sink(char* dst, size_t room) : _begin(dst), _pos(dst), _end(dst + room) {}

    void put(const char* src, size_t n) {
        const size_t left = static_cast<size_t>(_end - _pos);
        if (n > left) [[unlikely]] {
            n = left;
            _cut = true;
        }
        if (n > 0) std::memcpy(_pos, src, n);
        _pos += n;
    }
    void put(const char* text, const i18n_piece& piece, const std::string_view* argv, size_t argc) {
        put(text + piece._offset, piece._size);
        if (piece._arg == I18N_NO_ARG) return;
        const size_t ndx = static_cast<size_t>(piece._arg);
        const std::string_view arg = ndx < argc ? argv[ndx] : I18N_MISSING_ARG;
        put(arg.data(), arg.size());
    }
    i18n_formatted result() const { return {static_cast<size_t>(_pos - _begin), _cut}; }

private:
    char* const _begin;
    char* _pos;
    char* const _end;
    bool _cut = false;
};

// Bytes of the specifier that begins at text[pos] (a '%') and its argument; 0 when it is none.
size_t specifier_at(std::string_view text, size_t pos, int32_t sequential, int32_t* argp) {
    const std::string_view rest = text.substr(pos + 1);
    if (rest.starts_with('s')) {
        *argp = sequential;
        return 2;
    }
    if (rest.size() >= 3 && rest[0] >= '1' && rest[0] <= '9' && rest[1] == '$' && rest[2] == 's') {
        *argp = rest[0] - '1';
        return 4;
    }
    return 0;
}

} // namespace

bool i18n_scanner::next(i18n_piece* piecep) {
    if (_pos >= _text.size()) return false;
    piecep->_offset = static_cast<uint32_t>(_pos);
    piecep->_arg = I18N_NO_ARG;
    for (size_t percent = _text.find('%', _pos); percent != std::string_view::npos;
         percent = _text.find('%', percent + 1)) {
        if (_text.substr(percent + 1).starts_with('%')) {
            piecep->_size =
                static_cast<uint32_t>(percent + 1 - _pos); // the first of the two belongs to the run
            _pos = percent + 2;
            return true;
        }
        if (const size_t size = specifier_at(_text, percent, _sequential, &piecep->_arg)) {
            if (size == 2) ++_sequential;
            piecep->_size = static_cast<uint32_t>(percent - _pos);
            _pos = percent + size;
            return true;
        }
    }
    piecep->_size = static_cast<uint32_t>(_text.size() - _pos);
    _pos = _text.size();
    return true;
}

size_t i18n_count_string_specifiers(std::string_view text) {
    size_t count = 0;
    for (size_t pos = text.find("%s"); pos != std::string_view::npos; pos = text.find("%s", pos + 2)) ++count;
    if (count > 0) return count;
    for (size_t pos = text.find("$s"); pos != std::string_view::npos; pos = text.find("$s", pos + 2))
        if (pos >= 2 && text[pos - 2] == '%') ++count;
    return count;
}

size_t i18n_count_string_specifiers(const char* textp) {
    return textp == nullptr ? 0 : i18n_count_string_specifiers(std::string_view(textp));
}

size_t i18n_args_reached(std::string_view text) {
    size_t reached = 0;
    i18n_piece piece;
    for (i18n_scanner scanner(text); scanner.next(&piece);)
        if (piece._arg != I18N_NO_ARG) reached = std::max(reached, static_cast<size_t>(piece._arg) + 1);
    return reached;
}

size_t i18n_count_args(const char* const* argv, size_t capacity) {
    size_t count = 0;
    while (count < capacity && argv[count] != nullptr) ++count;
    return count;
}

i18n_formatted i18n_format(const char* text, const i18n_piece* pieces, size_t piece_count,
                           const std::string_view* argv, size_t argc, char* dst, size_t room) {
    sink out(dst, room);
    for (size_t i = 0; i < piece_count; ++i) out.put(text, pieces[i], argv, argc);
    return out.result();
}

i18n_formatted i18n_format(std::string_view text, const std::string_view* argv, size_t argc, char* dst,
                           size_t room) {
    sink out(dst, room);
    i18n_piece piece;
    for (i18n_scanner scanner(text); scanner.next(&piece);) out.put(text.data(), piece, argv, argc);
    return out.result();
}

} // namespace taq_1
