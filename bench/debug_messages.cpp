// Passes COUNT debug messages of a level that is not enabled: scripts/check-costs counts their instructions.
// Usage: debug_messages COUNT
#include "primitives/log/Log.h"
#include "primitives/log/MessageSite.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 0;
    Log::init("QEN", "K-16", nullptr);
    Log log;
    if (log.open("debug", stdout, ULOG_BARE_TEXT, nullptr) != ULOG_OK) return 1;
    ILog* const logp = &log; // as most programs know their log
    for (int i = 0; i < count; ++i) QEN_DEBUG(logp, DBG_IPM, 0, 25, 1, "passing %d of %d", i, count);
    return 0;
}
