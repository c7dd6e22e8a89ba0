// Puts the compiled catalogs where the catalog lookup finds them.
#pragma once

#include "InstalledModule.h"
#include "Messages.h"

#include <string>
#include <vector>

namespace gencat {

// Makes the categories of messages the module's own in that language: writes
// ROOT/messages/LANGUAGE/MODULE_<category>.bmc for every set and MODULE.bmcmap; folders are made as needed,
// inputs are never written over. Categories that others have added stay. No set may be empty. Of several runs
// at once each writes the whole module, the others wait. False with the reason in error; then no new map is
// in place.
bool write_module(const ModuleTarget& target, const Messages& messages,
                  const std::vector<std::string>& inputs, std::string& error);

// Adds an owner's categories to an installed module or replaces them; all others stay as they are. At every
// moment, also when the process is killed or the disk is full, the map is the old or the new one, and names
// whole catalogs. False with the reason in error: the module is not installed in that language, or a category
// belongs to another owner.
bool add_to_module(const ModuleTarget& target, const std::string& owner, const Messages& messages,
                   const std::vector<std::string>& inputs, std::string& error);

// Takes categories of an owner out, none named: all of them; likewise. A category that is not there counts as
// taken out. With the last category the map goes.
bool remove_from_module(const ModuleTarget& target, const std::string& owner,
                        const std::vector<uint32_t>& categories, std::string& error);

// Writes one catalog to a file, or to standard output for "-". A file that exists is replaced if it is empty
// or a catalog, and none of the inputs. False with the reason in error; then the file is as it was.
bool write_catalog(const std::string& path, const MessageSet& set, const std::vector<std::string>& inputs,
                   std::string& error);

// Likewise the text of a header.
bool write_header_file(const std::string& path, const std::string& header,
                       const std::vector<std::string>& inputs, std::string& error);

} // namespace gencat
