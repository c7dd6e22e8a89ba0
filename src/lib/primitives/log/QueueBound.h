// How many messages may wait for the logger thread, and what happens to one that is too many.
#pragma once

#include <cstdint>

inline namespace taq_1 {

// From the environment, read by start_logger:
//   QEN_LOG_QUEUE_MAX   messages, 1 to 2,147,483,647 in decimal digits; without it there is no bound
//   QEN_LOG_QUEUE_FULL  "block": the call waits until there is room; "drop": the message is lost, and counted
//                       (LogLoss.h), unless it is an error or critical one, which waits
// Any other value counts as none: no bound, "block".
struct QueueBound {
    uint64_t most = 0; // 0: none
    bool drops = false;

    static QueueBound from_environment();
};

} // namespace taq_1
