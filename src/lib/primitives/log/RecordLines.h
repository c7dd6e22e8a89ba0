// What the displayed lines of a message have in common, kept for the messages that were shown lately.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "i18n/common/i18n_id.h"
#include "primitives/log/LogText.h"
#include "primitives/memory/RawRoom.h"

inline namespace taq_1 {

struct i18nTemplate;

// The line of a message but for the time before it and the arguments in it. The first piece begins with the
// head, " QEN INFO K-16-25-30001 ".
class alignas(16) RecordLine { // of 256 bytes, which makes its place cheap to find
public:
    static constexpr size_t SLACK = 16; // bytes behind the line that compose() may overwrite

    // Copies `size` bytes in steps of SLACK, at least one, beyond the end of both: most runs are a few bytes,
    // for which a call of memcpy costs more than the copy. Returns the place behind the copy.
    static char* put_run(char* out, const char* from, size_t size) {
        size_t done = 0;
        do {
            memcpy(out + done, from + done, SLACK);
            done += SLACK;
        } while (done < size);
        return out + size;
    }

    std::string_view head() const { return {_bytes, _head_size}; }

    // Whether the text is here and takes these arguments, none of them null, of args_size bytes together.
    bool takes(ArgViews args, size_t args_size) const {
        return args.size() == _arg_count && args_size <= _args_size_max && (!_needs_ascii || are_ascii(args));
    }
    // Bytes of the line without time and arguments, its newline included.
    size_t size() const { return _size + size_t{1}; }
    // Writes the line without the time to `out`, where SLACK more bytes must be free, and returns the place
    // behind it. args: what takes() agreed to.
    char* compose(ArgViews args, char* out) const;

private:
    friend class RecordLines;
    static constexpr size_t PIECES_MAX = 8;
    static constexpr size_t BYTES_MAX = 200;
    static constexpr uint8_t NO_TEXT = 255; // as _arg_count
    struct Piece {
        uint8_t size; // bytes of _bytes
        uint8_t arg;  // index of the argument behind them, or beyond the last for none
    };

    static bool are_ascii(ArgViews args);
    bool _add_text(const i18nTemplate& text);
    bool _add_bytes(std::string_view bytes);

    uint8_t _head_size = 0;
    uint8_t _arg_count = NO_TEXT;
    uint8_t _piece_count = 0;
    uint16_t _size = 0; // of _bytes
    uint16_t _args_size_max = 0;
    bool _needs_ascii = false;
    Piece _pieces[PIECES_MAX];
    char _bytes[BYTES_MAX + SLACK];
};

static_assert(sizeof(RecordLine) == 256);

// A file holds many records of few messages. A message has one place here; another one that falls on the same
// place takes it over.
class RecordLines {
public:
    RecordLines() { forget(); }

    // What is known of the messages of this identity and severity, or null. Valid until the next keep().
    const RecordLine* find(uint32_t msgcat_id, int sev) const {
        const size_t place = place_of(msgcat_id, sev);
        return _keys[place] == key_of(msgcat_id, sev) ? &_lines[place] : nullptr;
    }

    // Keeps the head and, when it is given and fits, the text. Null when the head is too long.
    const RecordLine* keep(uint32_t msgcat_id, int sev, std::string_view head, const i18nTemplate* textp);

    void forget() { _keys.fill(FREE); }

private:
    static constexpr size_t PLACES = 64; // a power of two
    static constexpr uint64_t FREE = ~uint64_t{0};
    static uint64_t key_of(uint32_t msgcat_id, int sev) {
        return uint64_t{msgcat_id} << 32 | static_cast<uint32_t>(sev);
    }
    static size_t place_of(uint32_t msgcat_id, int sev) {
        return (msgcat_id ^ i18n_category_of(msgcat_id) ^ static_cast<uint32_t>(sev) << 3) % PLACES;
    }

    std::array<uint64_t, PLACES> _keys; // identity and severity of each place's message, or FREE
    RawRoom<RecordLine> _lines; // PLACES, made for the first; a place holds a line when its key says so
};

} // namespace taq_1
