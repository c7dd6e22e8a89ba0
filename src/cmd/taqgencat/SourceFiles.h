// Finds and reads source files.
#pragma once

#include "SourceParser.h"

#include <string>
#include <vector>

namespace gencat {

inline constexpr char STANDARD_STREAM[] = "-";
inline constexpr char SOURCE_SUFFIX[] = ".msg";

// Reads a whole file, or standard input for "-". On failure false, with the reason in error.
bool read_file(const std::string& path, std::string& bytes, std::string& error);

bool is_folder(const std::string& path);

// Parses the sources in the order given; a folder stands for its files *.msg in name order. Faults go to
// faults, the files read to inputs. False when a file cannot be read or a folder holds no source; the reason
// is in error.
bool load_sources(const std::vector<std::string>& paths, DefaultSet default_set, Messages& messages,
                  Diagnostics& faults, std::vector<std::string>& inputs, std::string& error);

} // namespace gencat
