// The last step of --list.
#include "CatalogLister.h"

#include "TextEscape.h"

#include <charconv>

namespace gencat {

namespace {
constexpr char QUOTE = '"';
}

std::string list_catalog(const MessageSet& set, uint32_t category) {
    std::string source;
    if (category != NO_CATEGORY) source += "$set " + std::to_string(category) + "\n";
    source += std::string("$quote ") + QUOTE + "\n";
    for (const auto& [number, message] : set)
        source += std::to_string(number) + " " + escape_text(message.text, QUOTE) + "\n";
    return source;
}

uint32_t category_of_path(std::string_view path) {
    std::string_view name = path.substr(path.rfind('/') + 1); // npos + 1 is the start
    name = name.substr(0, name.find('.'));
    const size_t underscore = name.rfind('_');
    if (underscore == std::string_view::npos) return NO_CATEGORY;
    name.remove_prefix(underscore + 1);
    uint32_t category = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), category);
    const bool good = error == std::errc() && end == name.data() + name.size() && category <= MAX_CATEGORY;
    return good ? category : NO_CATEGORY;
}

} // namespace gencat
