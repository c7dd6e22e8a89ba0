// Builds log data files byte by byte, without the code under test, so that an error in encode and decode
// cannot cancel out. Defaults give a valid file; every part can be set, and the result damaged.
//
//   LdfBuilder().record({.sev = 1, .args = {"res1", "ONLINE"}}).truncate(150).write(path);
#pragma once

#include <optional>

#include "support/Bytes.h"

struct LdfTestRecord {
    uint8_t sev = 4;           // INFO
    uint8_t obj = 0;           // QEN
    uint16_t cat = 25;         // high half of the message identity
    uint16_t num = 30001;      // low half
    int32_t time = 1794854291; // 2026-11-16 18:38:11 UTC
    uint32_t line = 42;
    uint32_t seq = 0xFFFFFFFF;
    std::string file = "Log";
    std::string func = "open";
    std::vector<std::string> args = {};
    uint8_t version = 1;
    std::optional<std::string> text = {};   // the whole text part, instead of file, func and args
    std::optional<uint32_t> data_size = {}; // a length word that need not be true
};

class LdfBuilder : public Damageable<LdfBuilder> {
public:
    // Header fields. Counters and offset_end follow from the records unless they are told.
    LdfBuilder& signature(uint32_t v) { return put32(0, v); }
    LdfBuilder& version(uint32_t major, uint32_t minor) { return put32(4, major).put32(8, minor); }
    LdfBuilder& system(std::string name) {
        name.resize(33);
        return damage([=](std::string& b) { b.replace(12, 33, name); });
    }
    LdfBuilder& created(int32_t v) { return put32(49, static_cast<uint32_t>(v)); }
    LdfBuilder& modified(int32_t v) { return put32(53, static_cast<uint32_t>(v)); }
    LdfBuilder& total_msgs(int32_t v) { return put32(57, static_cast<uint32_t>(v)); }
    LdfBuilder& flags(uint32_t v) { return put32(109, v); }
    LdfBuilder& offset_end(uint32_t v) { return put32(113, v); }

    LdfBuilder& record(const LdfTestRecord& r = {}) {
        _records.push_back(r);
        return *this;
    }
    const LdfTestRecord& last() const { return _records.back(); }
    LdfBuilder& records(int n, const LdfTestRecord& r = {}) {
        for (int i = 0; i < n; ++i) record(r);
        return *this;
    }

    std::string sound_bytes() const {
        std::string body;
        for (const auto& r : _records) body += record_bytes(r);
        return _header(static_cast<uint32_t>(117 + body.size())) + body;
    }

    static std::string record_bytes(const LdfTestRecord& r) {
        std::string text = r.file + '\xFF' + r.func + '\xFF';
        for (const auto& arg : r.args) text += arg + '\xFF';
        text += '\0';
        if (r.text) text = *r.text;
        const auto size = static_cast<uint32_t>(text.size());
        return be(r.data_size.value_or(size)) + be(r.version, 1) + be(r.sev, 1) +
               be(static_cast<uint32_t>(r.time)) + be(r.cat, 2) + be(r.num, 2) + be(r.obj, 1) + be(r.line) +
               be(r.seq) + text;
    }

private:
    uint32_t _count(uint8_t LdfTestRecord::*field, int value) const {
        uint32_t n = 0;
        for (const auto& r : _records) n += r.*field == value;
        return n;
    }
    std::string _header(uint32_t offset_end) const {
        std::string h = be(22900) + be(3) + be(0) + "node1" + std::string(28, '\0'); // signature ... system
        for (const uint32_t v : {6u, 1794854290u, 1794854299u}) h += be(v); // platform, created, modified
        h += be(static_cast<uint32_t>(_records.size()));
        for (int sev : {0, 1, 2, 3, 4}) h += be(_count(&LdfTestRecord::sev, sev));
        for (int obj : {6, 5, 3, 4, 2, 1, 0}) h += be(_count(&LdfTestRecord::obj, obj));
        return h + be(0) + be(offset_end); // flags, end
    }

    std::vector<LdfTestRecord> _records;
};
