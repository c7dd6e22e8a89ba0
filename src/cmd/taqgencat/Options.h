// Command line of taqgencat.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace gencat {

enum class Mode {
    Help,
    Version,
    List,    // one catalog back to source
    Check,   // sources only, nothing is written
    Module,  // catalogs and map of a module and language
    Catalog, // one catalog file
    Add,     // categories into an installed module
    Remove,  // categories out of it
    Header,  // names of the messages for programs
    Journal, // an installed module as a catalog of the journal
};

struct Options {
    Mode mode = Mode::Catalog;
    bool check = false;
    std::string module, language, root; // modes Module, Add, Remove, Journal; language "": all
    std::string owner;                  // modes Add and Remove
    std::vector<uint32_t> categories;   // mode Remove; empty: all of the owner
    std::string catalog;                // modes List (input) and Catalog (output)
    std::string header, name_space;     // mode Header
    uint32_t category = 0;              // the only one of the sources; 0: any
    std::vector<std::string> references, fill_from, sources;
};

// Fills options from the arguments behind the program's name. Returns an empty string, or what is wrong.
std::string parse_options(const std::vector<std::string>& arguments, Options& options);

extern const char USAGE_TEXT[];

} // namespace gencat
