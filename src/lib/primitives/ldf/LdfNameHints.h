// A quick answer for what cannot be one of the names of an object filter.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string_view>

class HashTable;

// Almost every argument of a file is none of the names, and almost always its length or its first letter
// tells. Hashing is left for the others. Valid while neither the names nor the locale change.
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
