// The peer of burst_taq: the same bursts for another library's asynchronous logger, or, with "flushed", for
// its plain one, which gives each line to the system before the call returns. The lines have the same form.
// Usage: burst_spdlog [flushed] THREADS LENGTH ROUNDS [INTERVAL]   (burst.h; TAQ_LOG names the folder)
#include "burst.h"

#include <cstring>
#include <memory>
#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <string>

namespace {

constexpr size_t QUEUE_MESSAGES = 8192; // the library's default; a producer that finds it full waits
constexpr char LINE_PATTERN[] = "%Y-%m-%d %H:%M:%S QEN INFO K-16-200-1 %v";

class SpdlogLogger : public BurstLogger {
public:
    SpdlogLogger(const char* folder, bool flushed)
        : _path(std::string(folder) + "/spdlog.log"), _flushed(flushed) {}

    void start() override {
        if (_flushed) {
            _logger = spdlog::basic_logger_st("burst", _path, /*truncate=*/true);
            _logger->flush_on(spdlog::level::info);
        } else {
            spdlog::init_thread_pool(QUEUE_MESSAGES, 1);
            _logger = spdlog::basic_logger_mt<spdlog::async_factory>("burst", _path, /*truncate=*/true);
        }
        _logger->set_pattern(LINE_PATTERN);
    }
    void log() override {
        _logger->info("Resource {} is now {} on system {}", "web-000001", "ONLINE", "node1");
    }
    void finish() override {
        _logger.reset();
        spdlog::shutdown(); // writes what is queued
    }

private:
    std::string _path;
    bool _flushed;
    std::shared_ptr<spdlog::logger> _logger;
};

} // namespace

int main(int argc, char** argv) {
    const char* folder = std::getenv("TAQ_LOG");
    const bool flushed = argc > 1 && std::strcmp(argv[1], "flushed") == 0;
    BurstOptions options;
    if (folder == nullptr || !read_burst_options(argc - flushed, argv + flushed, &options)) {
        std::fprintf(stderr,
                     "usage: TAQ_LOG=FOLDER burst_spdlog [flushed] THREADS LENGTH ROUNDS [INTERVAL]\n");
        return 2;
    }
    SpdlogLogger logger(folder, flushed);
    Bursts(logger, options).run();
}
