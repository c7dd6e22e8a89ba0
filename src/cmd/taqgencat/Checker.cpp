// After all sources are parsed, before anything is written: judges each text as the lookup will use it.
#include "Checker.h"

#include "i18n/common/i18n.h"
#include "i18n/common/i18n_format.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace gencat {

namespace {

// The specifiers of a text as the formatter takes them.
struct Specifiers {
    std::vector<size_t> positions; // 0-based, in text order
    bool positional = false, sequential = false;
    bool stray_percent = false; // a '%' that begins no specifier
};

// Whether the piece ends with the first character of "%%". Every other piece without an argument ends with
// the text.
bool ends_in_doubled_percent(std::string_view text, const i18n_piece& piece) {
    return piece._arg == I18N_NO_ARG && size_t{piece._offset} + piece._size < text.size();
}

Specifiers scan(std::string_view text) {
    Specifiers found;
    i18n_piece piece;
    for (i18n_scanner scanner(text); scanner.next(&piece);) {
        std::string_view run = text.substr(piece._offset, piece._size);
        if (ends_in_doubled_percent(text, piece)) run.remove_suffix(1);
        if (run.find('%') != std::string_view::npos) found.stray_percent = true;
        if (piece._arg == I18N_NO_ARG) continue;
        found.positions.push_back(static_cast<size_t>(piece._arg));
        const char behind_percent = text[size_t{piece._offset} + piece._size + 1];
        (behind_percent == 's' ? found.sequential : found.positional) = true;
    }
    return found;
}

bool is_permutation_from_zero(std::vector<size_t> positions) {
    std::sort(positions.begin(), positions.end());
    for (size_t i = 0; i < positions.size(); ++i)
        if (positions[i] != i) return false;
    return true;
}

const char* fault_of_specifiers(std::string_view text) {
    const Specifiers found = scan(text);
    if (found.stray_percent) return "only %s, %1$s to %6$s and %% may follow a percent sign";
    if (found.sequential && found.positional) return "%s and positions such as %1$s are mixed";
    if (found.positions.size() > I18N_MAX_ARGS) return "more than six specifiers";
    // The lookup compares the number of specifiers with that of arguments, so a position that is
    // left out or used twice would never be filled.
    if (!is_permutation_from_zero(found.positions))
        return "each position from %1$s to the highest is used exactly once";
    // The lookup also counts "%s" where the formatter sees "%%" and an "s".
    if (i18n_count_string_specifiers(text) != found.positions.size())
        return "%% must not stand before what looks like a specifier";
    return nullptr;
}

// When arguments do not fit, the safe lookup shows a mark for each. The text, its NUL, all marks and one byte
// more must be less than its buffer.
bool has_room(std::string_view text) {
    const size_t marks = i18n_count_string_specifiers(text) * I18N_MISSING_ARG.size();
    return text.size() + 1 + marks + 1 < I18N_CONV_BUFFSIZE;
}

const char* fault_of_text(std::string_view text) {
    if (const char* reason = fault_of_specifiers(text)) return reason;
    if (!has_room(text)) return "the text and its arguments do not fit 4096 bytes";
    return nullptr;
}

bool has_letter(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) {
        return ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z') || static_cast<unsigned char>(c) > 0x7F;
    });
}

std::string name_of(uint32_t category, uint32_t number) {
    return "message " + std::to_string(number) + " of set " + std::to_string(category);
}

void check_against(uint32_t category, uint32_t number, const Message& message, const Message* reference,
                   Diagnostics& faults) {
    if (!reference) {
        if (!message.retired) faults.add(message.pos, name_of(category, number) + " is not in the reference");
        return;
    }
    const size_t has = i18n_count_string_specifiers(message.text);
    const size_t wants = i18n_count_string_specifiers(reference->text);
    if (has == wants) return;
    faults.add(message.pos, name_of(category, number) + " has " + std::to_string(has) +
                                " specifiers, the reference " + std::to_string(wants));
}

// Whether a text was copied and not translated. A text without a word has nothing to translate.
bool is_copy(const Message& message, const Message& reference) {
    const bool is_itself = *message.pos.file == *reference.pos.file && message.pos.line == reference.pos.line;
    if (is_itself || message.same || message.retired || message.text != reference.text) return false;
    std::string_view text = message.text;
    i18n_piece piece;
    for (i18n_scanner scanner(text); scanner.next(&piece);)
        if (has_letter(text.substr(piece._offset, piece._size))) return true;
    return false;
}

} // namespace

void check_texts(const Messages& messages, Diagnostics& faults) {
    for (const auto& [category, set] : messages)
        for (const auto& [number, message] : set) {
            if (const char* reason = fault_of_text(message.text))
                faults.add(message.pos, name_of(category, number) + ": " + reason);
            if (message.text.empty()) faults.warn(message.pos, name_of(category, number) + " is empty");
        }
}

void check_category(const Messages& messages, uint32_t wanted, Diagnostics& faults) {
    for (const auto& [category, set] : messages)
        if (category != wanted && !set.empty())
            faults.add(set.begin()->second.pos,
                       "set " + std::to_string(category) + " is not category " + std::to_string(wanted));
}

void check_copies(const Messages& messages, const Messages& reference, Diagnostics& faults) {
    for (const auto& [category, set] : messages)
        for (const auto& [number, message] : set) {
            const Message* const other = find_message(reference, category, number);
            if (other && is_copy(message, *other))
                faults.warn(message.pos, name_of(category, number) + " reads as in the reference");
        }
}

void check_translation(const Messages& messages, const Messages& reference, Diagnostics& faults) {
    for (const auto& [category, set] : messages)
        for (const auto& [number, message] : set)
            check_against(category, number, message, find_message(reference, category, number), faults);
    for (const auto& [category, set] : reference)
        for (const auto& [number, message] : set)
            if (!message.retired && !find_message(messages, category, number))
                faults.add(message.pos, name_of(category, number) + " has no translation");
}

} // namespace gencat
