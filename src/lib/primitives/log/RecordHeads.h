// The middle of displayed lines, " QEN INFO K-16-25-30001 ", kept for the messages that were shown lately.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

// A file holds many records of few messages. A message has one place here; another one that falls on the
// same place takes it over. Heads longer than a place are not kept.
class RecordHeads {
public:
    // The head of the messages of this identity and severity; empty when it is not known.
    std::string_view find(uint32_t msgcat_id, int sev) const {
        const Head& head = _heads[place_of(msgcat_id, sev)];
        if (head.msgcat_id != msgcat_id || head.sev != sev) return {};
        return {head.text, head.len};
    }

    void keep(uint32_t msgcat_id, int sev, std::string_view text) {
        if (text.size() > sizeof Head::text) return;
        Head& head = _heads[place_of(msgcat_id, sev)];
        head.msgcat_id = msgcat_id;
        head.sev = static_cast<uint8_t>(sev);
        head.len = static_cast<uint8_t>(text.size());
        memcpy(head.text, text.data(), text.size());
    }

    void forget() {
        for (Head& head : _heads) head.len = 0;
    }

private:
    struct Head {
        uint32_t msgcat_id = 0;
        uint8_t sev = 0;
        uint8_t len = 0; // 0: free
        char text[58];
    };
    static constexpr size_t PLACES = 64; // a power of two
    static size_t place_of(uint32_t msgcat_id, int sev) {
        return (msgcat_id ^ msgcat_id >> 16 ^ static_cast<uint32_t>(sev) << 3) % PLACES;
    }

    std::array<Head, PLACES> _heads;
};
