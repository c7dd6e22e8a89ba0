// Keeps packages from taking each other's categories.
#include "Owners.h"

#include "Messages.h"

#include <algorithm>
#include <charconv>

namespace gencat {

namespace {

bool is_letter_or_digit(char c) {
    return ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z') || ('0' <= c && c <= '9');
}

// One line that is neither blank nor a comment.
bool take_line(std::string_view line, Owners& owners) {
    uint32_t category = 0;
    const auto [end, failure] = std::from_chars(line.data(), line.data() + line.size(), category);
    const auto digits = static_cast<size_t>(end - line.data());
    if (failure != std::errc() || category < MIN_CATEGORY || category > MAX_CATEGORY) return false;
    if (digits == line.size() || line[digits] != ' ' || !is_owner_name(line.substr(digits + 1))) return false;
    if (!owners.empty() && category <= owners.rbegin()->first) return false;
    owners[category] = line.substr(digits + 1);
    return true;
}

} // namespace

bool is_owner_name(std::string_view name) {
    return !name.empty() && name.size() <= MAX_OWNER_NAME && is_letter_or_digit(name.front()) &&
           std::all_of(name.begin(), name.end(), [](char c) {
               return is_letter_or_digit(c) || std::string_view("+-._").find(c) != std::string_view::npos;
           });
}

std::string write_owners(const std::string& module, const Owners& owners) {
    if (owners.empty()) return "";
    std::string text = "# Who brought which category into module " + module + ". Kept by taqgencat.\n";
    for (const auto& [category, owner] : owners) text += std::to_string(category) + " " + owner + "\n";
    return text;
}

uint32_t read_owners(std::string_view text, Owners& owners) {
    owners.clear();
    for (uint32_t number = 1; !text.empty(); ++number) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (line.empty() || line.front() == '#') continue;
        if (!take_line(line, owners)) return number;
    }
    return 0;
}

} // namespace gencat
