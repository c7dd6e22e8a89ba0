// A quick test that rules out most arguments before the names of an object filter are looked up.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string_view>

inline namespace taq_1 {

class HashTable;

// Most arguments of a file are none of the names, and their length or first letter already shows that. Only
// the others are hashed. Valid as long as names and locale do not change.
class LdfNameHints {
public:
    explicit LdfNameHints(const HashTable& names);

    // False: no key of the table equals the name, ignoring case.
    bool may_hold(std::string_view name) const { return _classes[_class_of(name)]; }

private:
    static constexpr size_t LENGTHS = 32; // the last stands for all longer names
    static constexpr size_t FIRSTS = 256;

    size_t _class_of(std::string_view name) const {
        const size_t length = name.size() < LENGTHS ? name.size() : LENGTHS - 1;
        return length * FIRSTS + _lower[name.empty() ? 0 : static_cast<unsigned char>(name.front())];
    }

    std::array<uint8_t, FIRSTS> _lower; // as the comparison of names folds a byte
    std::bitset<LENGTHS * FIRSTS> _classes;
};

} // namespace taq_1
