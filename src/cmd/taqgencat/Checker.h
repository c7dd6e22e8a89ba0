// Refuses texts that the catalog lookup could not fill with arguments.
#pragma once

#include "Diagnostics.h"
#include "Messages.h"

namespace gencat {

// Every text: room for it and its arguments, no specifier but %s, %1$s to %6$s and %%, no
// more than six, the two forms not mixed, each position up to the highest used exactly once. An empty text
// gives a warning.
void check_texts(const Messages& messages, Diagnostics& faults);

// Messages of another category than the only one that is wanted.
void check_category(const Messages& messages, uint32_t category, Diagnostics& faults);

// A translation against its reference: the same messages, each with as many specifiers. A message that is
// missing is reported at its place in the reference. A retired one may be missing on either side.
void check_translation(const Messages& messages, const Messages& reference, Diagnostics& faults);

// Warns of messages that have words and read as in the reference, unless they are marked as the same or
// retired. Not for messages that were filled in.
void check_copies(const Messages& messages, const Messages& reference, Diagnostics& faults);

} // namespace gencat
