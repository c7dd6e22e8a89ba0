// The files that the arguments of a command line mean.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Problems.h"
#include "primitives/files/FileIo.h"

struct LogFile {
    std::string path;
    char generation = '\0'; // 'A', 'B', 'C', or NUL for a file that is none
    QENFileState state;     // when it was found: a rotation may give the file another name
};

// The files of one log, the oldest first, which are read as one stream.
struct LogInput {
    std::string host; // as the user calls it; "": as the files do
    std::string log;
    std::vector<LogFile> files;
    std::string directory = {}; // with "/", where its generations lie
    bool is_standard_input = false;
    bool is_of_directory = false; // found there; other logs may come
};

// Finds the files of one argument: NAME (a log), NAME_A (a generation of it), a path of a file or a
// directory, HOST=PATH, "-". Those that do not exist are told; a NAME that may still come has no files then.
void find_input(std::string_view word, std::vector<LogInput>& inputs, Problems& problems,
                bool may_come = false);

// All logs below the data root.
void find_all_logs(std::vector<LogInput>& inputs, Problems& problems);
