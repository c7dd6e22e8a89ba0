// The peer of burst_taq: the same bursts for another library's asynchronous logger, with a line of the same
// form. Usage: burst_spdlog THREADS LENGTH ROUNDS [INTERVAL]   (burst.h; TAQ_LOG names the folder)
#include "burst.h"

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
    explicit SpdlogLogger(const char* folder) : _path(std::string(folder) + "/spdlog.log") {}

    void start() override {
        spdlog::init_thread_pool(QUEUE_MESSAGES, 1);
        _logger = spdlog::basic_logger_mt<spdlog::async_factory>("burst", _path, /*truncate=*/true);
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
    std::shared_ptr<spdlog::logger> _logger;
};

} // namespace

int main(int argc, char** argv) {
    const char* folder = std::getenv("TAQ_LOG");
    BurstOptions options;
    if (folder == nullptr || !read_burst_options(argc, argv, &options)) {
        std::fprintf(stderr, "usage: TAQ_LOG=FOLDER burst_spdlog THREADS LENGTH ROUNDS [INTERVAL]\n");
        return 2;
    }
    SpdlogLogger logger(folder);
    Bursts(logger, options).run();
}
