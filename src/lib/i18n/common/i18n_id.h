// The identity of a message: the number under which a record, a log and a catalog mean the same text.
#pragma once

#include <cstdint>

inline namespace taq_1 {

// An identity has 32 bits: the category, which names a catalog, and the message's number in it.
inline constexpr uint32_t I18N_ID_NUMBER_BITS = 16;
inline constexpr uint32_t I18N_ID_MAX = 65535; // greatest category, greatest number

inline constexpr uint32_t I18N_CATEGORY_NONE = 10000;     // of a message without category; no catalog has it
inline constexpr uint32_t I18N_CATEGORY_SEVERITY = 65534; // messages 0 to 4 are the names of the severities

constexpr uint32_t i18n_msgcat_id(uint32_t category, uint32_t number) {
    return category << I18N_ID_NUMBER_BITS | number;
}
constexpr uint32_t i18n_category_of(uint32_t msgcat_id) {
    return msgcat_id >> I18N_ID_NUMBER_BITS;
}
constexpr uint32_t i18n_number_of(uint32_t msgcat_id) {
    return msgcat_id & I18N_ID_MAX;
}

} // namespace taq_1
