// Refuses texts that the catalog lookup could not fill with arguments.
#pragma once

#include "Diagnostics.h"
#include "Messages.h"

namespace gencat {

// Every text: room for it and its arguments, no specifier but %s, %1$s to %6$s and %%, no
// more than six, the two forms not mixed, each position up to the highest used exactly once.
void check_texts(const Messages& messages, Diagnostics& faults);

// A translation against its reference: the same messages, each with as many specifiers. A message that is
// missing is reported at its place in the reference.
void check_translation(const Messages& messages, const Messages& reference, Diagnostics& faults);

} // namespace gencat
