// recover: the records of a damaged file in a new one.
#pragma once

#include "Options.h"

// Returns the exit status (TaqldfStatus).
int run_recover(const Options& options);
