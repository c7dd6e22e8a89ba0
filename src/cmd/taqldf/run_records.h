// show and export: from the files to the output.
#pragma once

#include "Options.h"

// Returns the exit status (TaqldfStatus).
int run_records(Options options);
