// Opens the file to show: the first step of the modes -info, -tail and of showing all records.
#pragma once

#include "primitives/ldf/LdfReader.h"

// Opens the file and reports a failure, once. Returns the result of LdfReader::open.
int open_ldf(LdfReader& reader, const char* pathp, const char* ldf_filep);

// On a terminal, says which folder of log data files is missing, the root or its ldf/. Programs that read the
// errors find the messages that they know and nothing else.
void explain_missing_folder();
