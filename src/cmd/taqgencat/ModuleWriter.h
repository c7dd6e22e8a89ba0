// Puts the compiled catalogs where the catalog lookup finds them.
#pragma once

#include "Messages.h"

#include <string>

namespace gencat {

struct ModuleTarget {
    std::string root, module, language;
};

// Writes ROOT/messages/LANGUAGE/MODULE_<category>.bmc for every set and, last, MODULE.bmcmap; folders are
// made as needed. No set may be empty. False with the reason in error; then no new map is in place.
bool write_module(const ModuleTarget& target, const Messages& messages, std::string& error);

// Writes one catalog to a file, or to standard output for "-".
bool write_catalog(const std::string& path, const MessageSet& set, std::string& error);

} // namespace gencat
