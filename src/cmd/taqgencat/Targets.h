// What the compiler may write over: catalogs and its headers, never a source or anything else that happens to
// have the name.
#pragma once

#include <string>
#include <vector>

namespace gencat {

// The place where a catalog named on the command line is to be written.
struct Target {
    std::string path;          // with links followed, so that the file is replaced and not the link
    bool takes_stream = false; // a device or FIFO: written to, not replaced
};

// Whether the compiler may make or replace the file. False with the reason in error for a folder and for a
// file that is one of the inputs, under this or any other name.
bool may_replace(const std::string& path, const std::vector<std::string>& inputs, std::string& error);

enum class Product { CATALOG, HEADER };

inline constexpr char HEADER_START[] = "// Made by taqgencat"; // of every header that it writes

// Likewise for a file that the user named, which must be absent, empty or a former product of that kind.
bool find_target(const std::string& path, Product product, const std::vector<std::string>& inputs,
                 Target& target, std::string& error);

} // namespace gencat
