// Decodes the network encoding of a message from plain bytes, with no help from the code that writes it.
#pragma once

#include <array>
#include <map>
#include <optional>

#include "support/Bytes.h"

struct DecodedMsg;

struct DecodedItem {
    char type = 0;   // C, F, G or S
    int32_t s32 = 0; // of C
    std::string bytes;
    std::vector<DecodedMsg> nested; // one, of S
};

// All live elements of one id, over all its segments.
struct DecodedElems {
    bool vector = false;
    int segments = 0;
    std::vector<DecodedItem> items;
};

struct DecodedMsg {
    std::array<int32_t, 9> header{};
    std::map<int, DecodedElems> elems;
    std::vector<int> order; // ids as encoded, 0xFFFF for a deleted scalar or segment
    bool eom = false;
};

class MsgDecoder {
public:
    // The message in `bytes`, all of which it must fill; nothing when they are not well-formed. sizep
    // receives the encoded size from the prefix.
    static std::optional<DecodedMsg> decode(std::string_view bytes, uint32_t* sizep = nullptr) {
        MsgDecoder d(bytes);
        if (d.take(3) != "IPM" || d.number(4) != 0x1000000) return std::nullopt;
        const uint32_t size = d.number(4);
        if (sizep != nullptr) *sizep = size;
        DecodedMsg msg = d.body();
        if (d._bad || d._pos != bytes.size()) return std::nullopt;
        return msg;
    }

private:
    explicit MsgDecoder(std::string_view bytes) : _bytes(bytes) {}

    std::string_view take(size_t n) {
        _bad |= n > _bytes.size() - _pos;
        if (_bad) return {};
        _pos += n;
        return _bytes.substr(_pos - n, n);
    }
    uint32_t number(size_t n) { return from_be(take(n)); }
    char byte() { return static_cast<char>(number(1)); }

    DecodedMsg body() {
        DecodedMsg msg;
        if (byte() != 'R' || number(4) != 36) _bad = true;
        for (int32_t& field : msg.header) field = static_cast<int32_t>(number(4));
        while (!_bad && !msg.eom && _pos < _bytes.size()) element(msg);
        return msg;
    }

    void element(DecodedMsg& msg) {
        const char type = byte();
        msg.eom = type == 'H';
        if (msg.eom) return;
        const auto id = static_cast<int>(number(2));
        const bool vector = type == 'P';
        DecodedElems deleted, &elems = id == 0xFFFF ? deleted : msg.elems[id];
        _bad |= type == 0 || (elems.segments != 0 && !(elems.vector && vector)); // a scalar stands once
        elems.vector = vector;
        ++elems.segments;
        for (char next = vector ? byte() : type; next != 0 && !_bad; next = vector ? byte() : '\0')
            elems.items.push_back(item(next));
        msg.order.push_back(id);
    }

    DecodedItem item(char type) {
        DecodedItem it;
        it.type = type;
        switch (type) {
        case 'C': it.s32 = static_cast<int32_t>(number(4)); break;
        case 'F':
        case 'G': it.bytes = take(number(4)); break;
        case 'S':
            it.nested.push_back(body());
            _bad |= !it.nested[0].eom;
            break;
        default: _bad = true;
        }
        return it;
    }

    std::string_view _bytes;
    size_t _pos = 0;
    bool _bad = false;
};
