// The latest application messages of a log, for a program that wants to look at them.
#pragma once

#include <cstdint>
#include <memory>

#include "primitives/values/VList.h"

inline namespace taq_1 {

class MsgStruct;
struct LogMessage;

inline constexpr int LOG_CACHE_MAX = 1024; // messages kept

// Messages of type MSG_LOG_ADD, oldest first. Off until enable. One thread at a time.
class LogCache {
public:
    bool is_enabled() const { return _is_enabled; }
    void enable() { _is_enabled = true; }
    void disable(); // and empty it
    void reset();   // empties it
    VList* list() { return _cache_vlistp.get(); }

    // Adds a message, in place of the oldest when there is no room, and returns the entry, the cache's.
    MsgStruct* add(LogMessage& m);

private:
    bool _is_enabled = false;
    std::unique_ptr<VList> _cache_vlistp{new VList}; // MsgStruct elements, owned by the list
};

} // namespace taq_1
