// Shows the records of logs as they come.
#pragma once

#include <cstdint>
#include <vector>

#include "Inputs.h"
#include "Options.h"
#include "Progress.h"
#include "RecordFilter.h"
#include "Writer.h"

// Returns how many records were put out, when a signal or a closed pipe ends it. Without --follow it ends
// when all is read: what has come since the cursor was written.
int64_t follow_records(const Options& options, std::vector<LogInput> inputs, RecordFilter& filter,
                       Progress& progress, Problems& problems, Writer& writer, Output& output);
