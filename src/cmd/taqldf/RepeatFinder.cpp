// Guesses by hashes, and compares the bytes.
#include "RepeatFinder.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

namespace {

constexpr int64_t USUAL_RECORD = 64; // bytes
constexpr size_t FEWEST_PLACES = 256, MOST_PLACES = 256 * 1024;

} // namespace

RepeatFinder::RepeatFinder(LdfBytes& bytes, int64_t file_size)
    : _bytes(bytes), _places(std::clamp(std::bit_ceil(static_cast<size_t>(file_size / USUAL_RECORD)),
                                        FEWEST_PLACES, MOST_PLACES)) {}

void RepeatFinder::begin(int64_t from) {
    _from = from;
    _different = 0;
    _guesses.clear();
}

void RepeatFinder::add(const unsigned char* record, size_t size, int64_t offset) {
    const size_t hash = std::hash<std::string_view>()({reinterpret_cast<const char*>(record), size});
    const auto hashes_end = _hashes.begin() + static_cast<std::ptrdiff_t>(_different);
    if (_different < DIFFERENT && std::find(_hashes.begin(), hashes_end, hash) == hashes_end)
        _hashes[_different++] = hash;
    Place& place = _places[hash & (_places.size() - 1)];
    const auto tag = static_cast<uint32_t>(hash >> 32);
    if (place.offset == 0 || place.tag != tag) {
        place = {tag, static_cast<uint32_t>(offset)};
        return;
    }
    const int64_t distance = offset - place.offset;
    if (place.offset < _from && _guesses.size() < GUESSES &&
        std::find(_guesses.begin(), _guesses.end(), distance) == _guesses.end())
        _guesses.push_back(distance);
}

bool RepeatFinder::is_repeat(int64_t to) {
    if (_different < DIFFERENT) return false;
    return std::any_of(_guesses.begin(), _guesses.end(), [&](int64_t distance) {
        return to - distance <= _from && distance <= _from && _is_same(_from, _from - distance, to - _from);
    });
}

bool RepeatFinder::_is_same(int64_t from, int64_t other, int64_t size) {
    unsigned char left[LDF_RECORD_MAX], right[LDF_RECORD_MAX];
    const auto read_all = [this](unsigned char* room, size_t n, int64_t offset) {
        size_t got = 0;
        for (int64_t more = 1; got < n && more > 0; got += static_cast<size_t>(std::max<int64_t>(more, 0)))
            more = _bytes.read(room + got, n - got, offset + static_cast<int64_t>(got));
        return got == n;
    };
    for (int64_t at = 0; at < size;) {
        const auto n = static_cast<size_t>(std::min<int64_t>(size - at, sizeof left));
        if (!read_all(left, n, from + at) || !read_all(right, n, other + at)) return false;
        if (std::memcmp(left, right, n) != 0) return false;
        at += static_cast<int64_t>(n);
    }
    return true;
}
