// What the compiler works on: the messages of one module in one language, grouped by category.
#pragma once

#include "i18n/common/i18n_id.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace gencat {

// Category 0 does not exist; message 0 does, since the severity words are numbered from 0.
inline constexpr uint32_t MIN_CATEGORY = 1;
inline constexpr uint32_t MAX_CATEGORY = I18N_ID_MAX;
inline constexpr uint32_t MAX_MESSAGE = I18N_ID_MAX;

// Where a message was read. The name is shared by all messages of a file.
struct SourcePos {
    std::shared_ptr<const std::string> file;
    uint32_t line = 0; // 1-based
};

struct Message {
    std::string text; // without a NUL; escapes resolved
    SourcePos pos;
    bool retired = false;  // no longer issued; the text is kept for old records
    bool same = false;     // said to read the same in the reference
    std::string name = {}; // for programs; may be empty
};

using MessageSet = std::map<uint32_t, Message>;  // by message number
using Messages = std::map<uint32_t, MessageSet>; // by category; a set may be empty

// The message, or null.
const Message* find_message(const Messages& messages, uint32_t category, uint32_t number);

// Copies every message of reference that messages lack, with its position.
void fill_missing(Messages& messages, const Messages& reference);

// Drops the sets that hold nothing: no catalog is written for them.
void drop_empty_sets(Messages& messages);

} // namespace gencat
