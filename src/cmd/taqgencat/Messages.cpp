// What the sources say together: looking up, completing, dropping.
#include "Messages.h"

namespace gencat {

const Message* find_message(const Messages& messages, uint32_t category, uint32_t number) {
    const auto set = messages.find(category);
    if (set == messages.end()) return nullptr;
    const auto message = set->second.find(number);
    return message == set->second.end() ? nullptr : &message->second;
}

void fill_missing(Messages& messages, const Messages& reference) {
    for (const auto& [category, set] : reference) messages[category].insert(set.begin(), set.end());
}

void drop_empty_sets(Messages& messages) {
    std::erase_if(messages, [](const auto& entry) { return entry.second.empty(); });
}

} // namespace gencat
