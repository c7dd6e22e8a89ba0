// Map file (".bmcmap"): the text file that names the catalogs of one module in one language.
//
// Lines are read in pieces of at most BMCMAP_LINE_MAX bytes; a longer line counts as several, and the
// last line of the file must end with a newline to be seen at all. A line whose first character other
// than a blank is '#' or '!' is a comment; comments and blank lines are skipped, and spaces, tabs, CR and LF
// are cut from both ends of every other line.
//
// An entry is "name=value" or "name:value". Blanks beside the separator belong to the name and the
// value, and a second separator ends the value. A line that ends with '\' continues on the next one:
// the '\' goes, the next line is appended to the value as a whole, and a '\' at its end becomes a blank.
//
// The entries, in this order:
//
//   language=<language>        both compared without regard to case
//   <module>=<B1> <B2> ...     as many catalogs follow as there are names here, at least one
//   then for each catalog, ascending by category:
//   <B>.<anything>=<version>   catalog file <B>.bmc; the version is a text, not empty
//   <any name>=<category>      decimal
//   <any name>=<lowest>        lowest message number, decimal
//   <any name>=<highest>       highest message number, decimal
//
// What follows the last catalog is not read.
#pragma once

#include <cstddef>
#include <cstdio>

#include "i18n/common/bmc.h"

inline namespace taq_1 {

inline constexpr size_t BMCMAP_LINE_MAX = 511;        // bytes of one piece of a line, without newline
inline constexpr size_t BMCMAP_NAME_MAX = 511;        // bytes of a name
inline constexpr size_t BMCMAP_VALUE_MAX = 4095;      // bytes of a value, continuations included
inline constexpr char BMCMAP_LANGUAGE[] = "language"; // name of the first entry
inline constexpr char BMCMAP_EXTENSION[] = ".bmcmap";
inline constexpr char BMC_EXTENSION[] = ".bmc";
inline constexpr char BMC_MESSAGES_DIR[] = "messages"; // below the catalog root; holds the languages

// Reads the next entry of an open map file. Results: I18N_SOK; I18N_EEOF when the file ends first, in the
// middle of a continued entry included; I18N_EBMC for a null file, a value over BMCMAP_VALUE_MAX bytes
// or a NUL byte. Other results than I18N_SOK leave name and value unspecified.
int get_next_entry(std::FILE* fp, i18n_string* namep, i18n_string* valuep);

// Reads an open map file of the given language and module; the catalogs' files lie in lang_dir, which
// ends with "/". Results: I18N_SOK and the catalogs in the order of the map; I18N_EBMC malformed;
// I18N_ELANGMISMATCH another language. On failure the table is empty.
int bmcmap_read(std::FILE* fp, const i18n_string& lang_dir, const char* langp, const char* modulep,
                bmc_table* tablep);

// Finds and reads the map file of a module below messages_path ("<root>/messages/"). Beside the results of
// bmcmap_read: I18N_EINVAL null path; I18N_ENOLANG no such language directory; I18N_EBMC no map file.
int bmcmap_process_map(const char* messages_pathp, const char* langp, const char* modulep, bmc_table* tablep);

} // namespace taq_1
