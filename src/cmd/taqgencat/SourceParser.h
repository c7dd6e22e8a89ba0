// Reads message text source files.
//
//   $ comment                  also "$" alone; empty lines are skipped
//   $set N [comment]           the messages that follow belong to category N
//   $delset N [comment]        drops the messages of category N that were read so far, and ends the set
//   $quote [C]                 texts may stand between two characters C; without C quoting ends
//   $name NAME                 programs call the next message NAME
//   $retired [comment]         the next message is no longer issued; its text is kept for old records
//   $same [comment]            the next message reads the same in the language of the reference
//   N text                     message N; the text begins behind one blank or tab
//   N                          drops message N as read from an earlier file
//
// In a text: \n \t \v \b \r \f \\ and \ddd (one to three octal digits); a backslash at the end of a line
// continues the text on the next line; before any other character a backslash is dropped. Within a file
// sets ascend, and so do the messages of a set, so that a number used twice is noticed; a later file
// replaces what an earlier one said. CR LF counts as LF. Sources and texts are UTF-8; a leading byte order
// mark is skipped.
#pragma once

#include "Diagnostics.h"
#include "Messages.h"

#include <cstdint>
#include <string_view>

namespace gencat {

// Category of messages that stand before any $set.
enum class DefaultSet : uint32_t {
    None = 0,  // such a message is a fault
    First = 1, // they belong to category 1, or to another one by its number
};

// Adds the messages of one source to messages. file names the source in diagnostics. Faulty lines are
// reported and skipped, the others still count; a source in another encoding is reported and not read.
// False when there was a fault. Probable mistakes give a warning: deleting a message or set that does not
// exist, and blanks before a quote, which make the quote part of the text.
bool parse_source(std::string_view file, std::string_view source, DefaultSet default_set, Messages& messages,
                  Diagnostics& faults);

} // namespace gencat
