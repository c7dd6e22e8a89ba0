// Identifiers of 128 bits in the journal: taqldf names messages and hosts by them, and taqgencat the texts of
// a journal's catalog.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

// 32 hexadecimal digits: FNV-1a of the text.
inline std::string journal_id(std::string_view text) {
    constexpr uint64_t LOW_PRIME = 0x13B; // the prime is 2^88 more
    uint64_t high = 0x6c62272e07bb0142, low = 0x62b821756295c58d;
    for (const char c : text) {
        low ^= static_cast<unsigned char>(c);
        const uint64_t upper = (low >> 32) * LOW_PRIME + ((low & 0xFFFFFFFF) * LOW_PRIME >> 32);
        high = high * LOW_PRIME + (upper >> 32) + (low << 24);
        low *= LOW_PRIME;
    }
    char digits[33];
    (void)std::snprintf(digits, sizeof digits, "%016llx%016llx", static_cast<unsigned long long>(high),
                        static_cast<unsigned long long>(low));
    return digits;
}

// Of the message of a module: that of "KORE-25-30012".
inline std::string journal_message_id(std::string_view module, uint32_t category, uint32_t number) {
    return journal_id(std::string(module) + "-" + std::to_string(category) + "-" + std::to_string(number));
}
