// The command's parts: the option parser, which calls one of four display modes.
#pragma once

#include <cstddef>

#include "primitives/values/HashTable.h"

// Display flags, which the options set and the modes hand on.
inline constexpr int TAQMSG_ANY = 1;           // -any: one matching filter suffices (LDF_MATCH_ANY)
inline constexpr int TAQMSG_TRACE = 2;         // -trace: dump the fields of each record
inline constexpr int TAQMSG_DBG = 4;           // -dbg: sequence number and source position
inline constexpr int TAQMSG_MATCH_PIECES = 16; // -oname: names match ":"-separated pieces (LDF_MATCH_PIECES)

inline constexpr int TAQMSG_OK = 0;
inline constexpr int TAQMSG_USAGE_ERROR = 1;
inline constexpr size_t TAQMSG_TEXT_SIZE = 4096; // of a report, its NUL included; longer ones are cut

// Checks the arguments and runs what they ask for. Returns the exit status: 0, 1 for a wrong argument or
// missing directories of -list, or the LDF result (5, 7, 8, 10) of a file that cannot be read. A "%" at the
// start of an argument is removed in place. filename and lineno are stored in the two variables below.
int taqmsg_process_args(int argc, char** argv, const char* filename, int lineno);
extern const char* current_filename;
extern int current_lineno;

// Prints the usage text on the error log; returns 1.
int usage();

// The modes. pathp: directory of the file, or null; ldf_filep: its name without ".ldf". Results as above.
int display_info(const char* pathp, const char* ldf_filep);
int display_tail(const char* pathp, const char* ldf_filep, int tail_value, int flags); // below 1: 20 messages
// tag and otype 255, catid and msgid -1, oname_hashp null: any.
int display_ldf(const char* pathp, const char* ldf_filep, int tag, int otype, HashTable* oname_hashp,
                int catid, int msgid, int flags);
int list_ldfs(const char* dirname);

// Removes the extension from a path. The result stands in a static buffer, which the next call overwrites,
// and is cut at 4095 bytes. A path whose last part has no "." gives that last part, as a pointer into `file`.
const char* discard_ext(const char* file);
