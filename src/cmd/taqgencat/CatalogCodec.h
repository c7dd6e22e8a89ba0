// One set of messages to the bytes of a binary catalog and back. The layout is that of bmc_format.h.
#pragma once

#include "Messages.h"

#include <string>
#include <string_view>

namespace gencat {

// The bytes of the catalog: header, range table, slots of all ranges, records in ascending order of
// number. Equal sets give equal bytes. False when the file would pass 4 GiB.
bool encode_catalog(const MessageSet& set, std::string& bytes);

// The messages of a catalog; positions are left empty. Returns null, or what is wrong with the bytes.
const char* decode_catalog(std::string_view bytes, MessageSet& set);

} // namespace gencat
