// What journalctl -x explains messages with: the texts of an installed module as a catalog of the systemd
// journal.
#pragma once

#include "InstalledModule.h"

#include <string>

namespace gencat {

// Appends the texts of a module in one language; the arguments stand as the fields of taqldf's entries,
// @TAQ_ARG_A@. Empty texts are left out. False with the reason in error.
bool append_journal_catalog(const ModuleTarget& target, std::string& catalog, std::string& error);

} // namespace gencat
