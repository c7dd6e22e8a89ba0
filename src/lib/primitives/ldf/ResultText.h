// Words for the results of readers and writers of log data files, so that a program can print why one failed.
#pragma once

#include <cstddef>

inline namespace taq_1 {

// In English, without a full stop, never null; unknown codes are "unknown result". A missing root is told
// with its path and the variable that moves it, in room of the calling thread, which its next call uses
// again.
const char* ldf_result_text(int result);

// For rooms with results of their own: the text of a code in their table, and behind the code of a missing
// root its path and variable.
struct ResultText {
    int result;
    const char* text;
};
const char* find_result_text(const ResultText* table, size_t count, int result, int root_result,
                             const char* root_variable);

} // namespace taq_1
