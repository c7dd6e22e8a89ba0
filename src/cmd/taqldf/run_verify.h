// verify: whether log data files are whole, a line each.
#pragma once

#include "Options.h"

// Returns the exit status (TaqldfStatus).
int run_verify(const Options& options);
