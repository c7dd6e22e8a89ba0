// Reads severities, identities and source positions of filters.
#include "FilterWords.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "MessageTexts.h"
#include "platform/unix/QENNoCase.h"
#include "primitives/ldf/QENObjTags.h"
#include "primitives/log/LogIdentity.h"

namespace {

constexpr int SEVERITIES = int{SEV_APP_END} + int{DBG_LEV_END};
constexpr std::string_view LETTERS = "CEWNI"; // in the order of the severities

// A number that is the whole word.
bool take_number(std::string_view word, uint32_t most, uint32_t& number) {
    const char* const end = word.data() + word.size();
    const auto [rest, error] = std::from_chars(word.data(), end, number);
    return error == std::errc() && rest == end && number <= most;
}

// -1: no severity.
int severity_of(std::string_view word) {
    for (int sev = 0; sev < SEVERITIES; ++sev)
        if (QENEqualNoCase(word, MessageTexts::severity_name(sev))) return sev;
    if (word.size() != 1) return -1;
    const char letter = word[0] >= 'a' ? static_cast<char>(word[0] - 32) : word[0];
    const size_t at = LETTERS.find(letter);
    return at == LETTERS.npos ? -1 : static_cast<int>(at);
}

bool add_severity_range(std::string_view first, std::string_view last, FilterClause& clause) {
    int from = first.empty() ? SEV_CRIT : severity_of(first);
    int to = last.empty() ? SEVERITIES - 1 : severity_of(last);
    if (from < 0 || to < 0) return false;
    if (from > to) std::swap(from, to); // "error..critical" is as good as "critical..error"
    for (int sev = from; sev <= to; ++sev) clause.codes.set(static_cast<size_t>(sev));
    return true;
}

} // namespace

bool add_severities(std::string_view word, FilterClause& clause) {
    constexpr std::string_view RANGE = "..";
    for (bool is_last = false; !is_last;) {
        const size_t comma = word.find(',');
        is_last = comma == word.npos;
        const std::string_view item = word.substr(0, comma);
        const size_t dots = item.find(RANGE);
        if (dots == item.npos) {
            if (item.empty() || !add_severity_range(item, item, clause)) return false;
        } else if (item == RANGE ||
                   !add_severity_range(item.substr(0, dots), item.substr(dots + RANGE.size()), clause)) {
            return false;
        }
        if (!is_last) word.remove_prefix(comma + 1);
    }
    return true;
}

bool add_identity(std::string_view word, FilterClause& clause) {
    const std::string originator = std::string(LogIdentity::originator()) + "-";
    if (word.size() > originator.size() && QENEqualNoCase(word.substr(0, originator.size()), originator))
        word.remove_prefix(originator.size());
    uint32_t category = 0, number = 0;
    const size_t dash = word.find('-');
    const bool has_category = dash != word.npos;
    if (has_category && !take_number(word.substr(0, dash), I18N_ID_MAX, category)) return false;
    if (!take_number(has_category ? word.substr(dash + 1) : word, I18N_ID_MAX, number)) return false;
    clause.identities.push_back(
        {has_category ? ~uint32_t{0} : I18N_ID_MAX, i18n_msgcat_id(category, number)});
    return true;
}

bool add_category(std::string_view word, FilterClause& clause) {
    uint32_t category = 0;
    if (!take_number(word, I18N_ID_MAX, category)) return false;
    clause.identities.push_back({i18n_msgcat_id(I18N_ID_MAX, 0), i18n_msgcat_id(category, 0)});
    return true;
}

bool add_object_type(std::string_view word, FilterClause& clause) {
    const obj_tag_t tag = QENGetObjTag(std::string(word).c_str());
    if (tag == OBJTAG_ERR) return false;
    clause.codes.set(static_cast<size_t>(tag));
    return true;
}

bool add_position(std::string_view word, FilterClause& clause) {
    const size_t colon = word.rfind(':');
    uint32_t line = 0;
    const bool has_line = colon != word.npos && take_number(word.substr(colon + 1), UINT32_MAX, line);
    clause.positions.push_back(
        {std::string(has_line ? word.substr(0, colon) : word), has_line ? int64_t{line} : -1});
    return !clause.positions.back().file.empty();
}
