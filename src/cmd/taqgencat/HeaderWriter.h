// Messages as a C++ header: a descriptor for each, with which programs log it.
#pragma once

#include "Diagnostics.h"
#include "Messages.h"

#include <string>

namespace gencat {

// The text of the header. A message without a name is called message_<number>; retired ones are left out.
// Texts have passed check_texts. A name that occurs twice is a fault.
std::string write_header(const Messages& messages, const std::string& name_space, Diagnostics& faults);

} // namespace gencat
