// The values of filters as users write them.
#pragma once

#include <string_view>

#include "RecordFilter.h"

// Add a value to the clause; false when it is none. The kind of the clause is set already.
bool add_severities(std::string_view word,
                    FilterClause& clause); // "error", "E", "critical,error", "error..critical"
bool add_identity(std::string_view word, FilterClause& clause); // "30523", "25-30523", "K-16-25-30523"
bool add_category(std::string_view word, FilterClause& clause);
bool add_object_type(std::string_view word, FilterClause& clause); // "RES"
bool add_position(std::string_view word, FilterClause& clause);    // "file" or "file:184"
