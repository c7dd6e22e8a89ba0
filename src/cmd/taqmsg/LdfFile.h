// Opens the file to show: the first step of the modes -info, -tail and of showing all records.
#pragma once

#include "primitives/ldf/LdfReader.h"

// Opens the file and reports a failure, once. Returns the result of LdfReader::open.
int open_ldf(LdfReader& reader, const char* pathp, const char* ldf_filep);
