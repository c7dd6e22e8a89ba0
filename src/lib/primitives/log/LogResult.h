// Words for the results of logs.
#pragma once

inline namespace taq_1 {

// In English, without a full stop, never null; unknown codes are "unknown result". A missing root is told
// with its path and the variable that moves it, in room of the calling thread, which its next call uses
// again.
//
//     if (const int rc = log.open("engine", nullptr, 0, nullptr)) fprintf(stderr, "engine: %s\n",
//     ulog_result_text(rc));
const char* ulog_result_text(int result);

} // namespace taq_1
