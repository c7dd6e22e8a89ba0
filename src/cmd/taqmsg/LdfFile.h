// Opening, common to the modes that show one file.
#pragma once

#include "primitives/ldf/LdfReader.h"

// Opens the file and reports a failure, once. Returns the result of LdfReader::open.
int open_ldf(LdfReader& reader, const char* pathp, const char* ldf_filep);
