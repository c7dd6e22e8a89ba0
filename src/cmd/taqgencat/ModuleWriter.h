// Puts the compiled catalogs where the catalog lookup finds them.
#pragma once

#include "Messages.h"

#include <string>
#include <vector>

namespace gencat {

struct ModuleTarget {
    std::string root, module, language;
};

// Writes ROOT/messages/LANGUAGE/MODULE_<category>.bmc for every set and, last, MODULE.bmcmap; folders are
// made as needed, inputs are never written over. No set may be empty. Of several runs at once each writes the
// whole module, the others wait. False with the reason in error; then no new map is in place.
bool write_module(const ModuleTarget& target, const Messages& messages,
                  const std::vector<std::string>& inputs, std::string& error);

// Writes one catalog to a file, or to standard output for "-". A file that exists is replaced if it is empty
// or a catalog, and none of the inputs. False with the reason in error; then the file is as it was.
bool write_catalog(const std::string& path, const MessageSet& set, const std::vector<std::string>& inputs,
                   std::string& error);

} // namespace gencat
