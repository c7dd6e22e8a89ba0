// Recovers a damaged file that the power-cut test made.
#pragma once

#include <string>
#include <vector>

// Whole records of the new file, in order. A new file that is not whole, ranges that do not tile the input or
// a changed input fail the test. `path` is free for the new file.
std::vector<std::string> recovered_records(const std::string& bytes, const std::string& path);
