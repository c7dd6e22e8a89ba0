// Big-endian numbers and damage, for the builders and decoders of binary fixtures, and the headers that they
// share.
#pragma once

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The lowest `size` bytes of a number, the highest first.
inline std::string be(uint32_t number, int size = 4) {
    std::string bytes;
    while (size-- > 0) bytes += static_cast<char>(number >> (8 * size));
    return bytes;
}

// The number that the bytes spell.
inline uint32_t from_be(std::string_view bytes) {
    uint32_t number = 0;
    for (const char c : bytes) number = number << 8 | static_cast<unsigned char>(c);
    return number;
}

// What a builder of files has in common with others: damage that is done to the finished bytes, in the order
// of the calls. The builder makes the sound bytes with sound_bytes().
template <class Builder>
class Damageable {
public:
    Builder& truncate(size_t size) {
        return damage([=](std::string& b) { b.resize(std::min(size, b.size())); });
    }
    Builder& cut(size_t count) { // the last bytes
        return damage([=](std::string& b) { b.resize(b.size() - std::min(count, b.size())); });
    }
    Builder& flip(size_t at, uint8_t mask = 0xFF) {
        return damage([=](std::string& b) { b.at(at) = static_cast<char>(b.at(at) ^ mask); });
    }
    Builder& put32(size_t at, uint32_t number) {
        return damage([=](std::string& b) { b.replace(at, 4, be(number)); });
    }
    Builder& append(std::string bytes) {
        return damage([bytes = std::move(bytes)](std::string& b) { b += bytes; });
    }
    Builder& damage(std::function<void(std::string&)> step) {
        _steps.push_back(std::move(step));
        return static_cast<Builder&>(*this);
    }

    std::string bytes() const {
        std::string file = static_cast<const Builder&>(*this).sound_bytes();
        for (const auto& step : _steps) step(file);
        return file;
    }
    void write(const std::string& path) const {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes();
    }

private:
    std::vector<std::function<void(std::string&)>> _steps;
};
