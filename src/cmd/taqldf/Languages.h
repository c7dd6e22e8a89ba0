// The languages of the message catalogs.
#pragma once

#include <string>
#include <vector>

// Names of those below the catalog root that have the system's catalogs, in order.
std::vector<std::string> languages_with_catalogs();
