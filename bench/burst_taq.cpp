// Bursts of messages for the logger thread, or, with "direct", written by the calls themselves.
// Usage: burst_taq [direct] THREADS LENGTH ROUNDS [INTERVAL]   (burst.h; TAQ_LOG and TAQ_LDF name the root)
#include "burst.h"

#include "primitives/log/Log.h"
#include "primitives/log/MessageSite.h"

#include <cstring>

namespace {

class TaqLogger : public BurstLogger {
public:
    explicit TaqLogger(bool direct) : _direct(direct) {}

    bool open() { return _log.open("burst", /*fp=*/nullptr, /*flags=*/0, nullptr) == ULOG_OK; }
    void start() override {
        if (!_direct) Log::start_logger();
    }
    void log() override {
        QEN_MESSAGE(&_log, SEV_INFO, 0, 200, 1, "Resource %s is now %s on system %s", "web-000001", "ONLINE",
                    "node1");
    }
    void finish() override {
        if (!_direct) Log::stop_logger();
    }

private:
    bool _direct;
    Log _log;
};

} // namespace

int main(int argc, char** argv) {
    const bool direct = argc > 1 && std::strcmp(argv[1], "direct") == 0;
    BurstOptions options;
    if (!read_burst_options(argc - direct, argv + direct, &options)) {
        std::fprintf(stderr, "usage: burst_taq [direct] THREADS LENGTH ROUNDS [INTERVAL]\n");
        return 2;
    }
    Log::init("QEN", "K-16", nullptr);
    TaqLogger logger(direct);
    if (!logger.open()) {
        std::fprintf(stderr, "burst_taq: the log cannot be opened below TAQ_LOG\n");
        return 1;
    }
    Bursts(logger, options).run();
}
