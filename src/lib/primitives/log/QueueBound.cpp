// Reads the bound of the logger's queue. See QueueBound.h.
#include "primitives/log/QueueBound.h"

#include <charconv>
#include <climits>
#include <string_view>

#include "platform/unix/QENPlatform.h"

inline namespace taq_1 {

namespace {

constexpr char ENV_MAX[] = "QEN_LOG_QUEUE_MAX";
constexpr char ENV_FULL[] = "QEN_LOG_QUEUE_FULL";
constexpr char DROP[] = "drop";

// 0: it is no number of messages.
uint64_t number_of(std::string_view text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && number > 0
               ? static_cast<uint64_t>(number)
               : 0;
}

} // namespace

QueueBound QueueBound::from_environment() {
    char value[32];
    QueueBound bound;
    if (QENGetenv(ENV_MAX, value, sizeof value) == 0) bound.most = number_of(value);
    bound.drops = QENGetenv(ENV_FULL, value, sizeof value) == 0 && value == std::string_view(DROP);
    return bound;
}

} // namespace taq_1
