// What logging costs a service, beside the system calls alone and beside another logging library in the same
// run.
#include "BenchData.h"

#include "primitives/log/FFDC.h"
#include "primitives/log/Log.h"
#include "primitives/log/MessageSite.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int BURST = 1000;
constexpr int FULL_QUEUE = 20'000;
constexpr char LINE_PATTERN[] = "%Y-%m-%d %H:%M:%S QEN INFO K-16-200-1 %v";

// One folder for all, made before the first log.
BenchData& data() {
    static BenchData shared;
    return shared;
}

void log_message(Log* log, const char* system) {
    QEN_MESSAGE(log, SEV_INFO, 0, BENCH_CATEGORY, 1, "Resource %s is now %s on system %s", "web-000001",
                "ONLINE", system);
}

struct ServiceLog {
    explicit ServiceLog(const char* name) { opened = log.open(name, nullptr, 0, nullptr) == ULOG_OK; }
    Log log;
    bool opened;
};

void BM_WriteApp(benchmark::State& state) {
    data();
    ServiceLog service("service");
    if (!service.opened) return state.SkipWithError("open failed");
    for (auto _ : state) log_message(&service.log, "node1");
    state.SetItemsProcessed(state.iterations());
}

// The system calls that a message cannot do without: its line, its record, the header.
void BM_ThreeBareWrites(benchmark::State& state) {
    constexpr size_t LINE_SIZE = 89, RECORD_SIZE = 88, HEADER_SIZE = 117;
    const std::string text = data().dir() + "/bare.log", records = data().dir() + "/bare.ldf";
    const int text_fd = open(text.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    const int ldf_fd = open(records.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    const char bytes[HEADER_SIZE] = {};
    off_t end = HEADER_SIZE;
    for (auto _ : state) {
        if (write(text_fd, bytes, LINE_SIZE) < 0 || pwrite(ldf_fd, bytes, RECORD_SIZE, end) < 0 ||
            pwrite(ldf_fd, bytes, HEADER_SIZE, 0) < 0)
            return state.SkipWithError("write failed");
        end = (end + static_cast<off_t>(RECORD_SIZE)) % (4 << 20);
    }
    close(text_fd);
    close(ldf_fd);
    state.SetItemsProcessed(state.iterations());
}

void BM_SpdlogFlushed(benchmark::State& state) {
    auto logger = spdlog::basic_logger_st("flushed", data().dir() + "/flushed.log");
    logger->set_pattern(LINE_PATTERN);
    logger->flush_on(spdlog::level::info);
    for (auto _ : state) logger->info("Resource {} is now {} on system {}", "web-000001", "ONLINE", "node1");
    spdlog::drop("flushed");
    state.SetItemsProcessed(state.iterations());
}

// Producer's side: the time of a burst until the last call has returned. The queue drains outside of it.
void BM_LoggerProducer(benchmark::State& state) {
    data();
    ServiceLog service("producer");
    for (auto _ : state) {
        state.PauseTiming();
        Log::start_logger();
        state.ResumeTiming();
        for (int i = 0; i < BURST; ++i) log_message(&service.log, "node1");
        state.PauseTiming();
        Log::stop_logger();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * BURST);
}

void BM_SpdlogAsyncProducer(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        spdlog::init_thread_pool(8192, 1);
        auto logger = spdlog::basic_logger_mt<spdlog::async_factory>("async", data().dir() + "/async.log");
        logger->set_pattern(LINE_PATTERN);
        state.ResumeTiming();
        for (int i = 0; i < BURST; ++i)
            logger->info("Resource {} is now {} on system {}", "web-000001", "ONLINE", "node1");
        state.PauseTiming();
        logger.reset();
        spdlog::shutdown(); // drains
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * BURST);
}

// From the first call until everything is written; many messages to one start and stop of the thread.
void BM_LoggerDrain(benchmark::State& state) {
    data();
    ServiceLog service("drain");
    for (auto _ : state) {
        Log::start_logger();
        for (int i = 0; i < FULL_QUEUE; ++i) log_message(&service.log, "node1");
        Log::stop_logger();
    }
    state.SetItemsProcessed(state.iterations() * FULL_QUEUE);
}

void BM_CapturedEntry(benchmark::State& state) {
    Log::enable_ffdc();
    Log::register_for_ffdc(FFDC_ROLE_SVC_THREAD, "bench", data().dir().c_str(), 1);
    for (auto _ : state)
        Log::write_ffdc(SEV_INFO, __func__, __FILE__, __LINE__, 0, BENCH_CATEGORY, 1,
                        "Resource web-000001 is now ONLINE");
    Log::unregister_for_ffdc();
    Log::disable_ffdc();
}

void BM_SnprintfOfEntry(benchmark::State& state) {
    char entry[4096];
    unsigned long number = 0;
    for (auto _ : state) {
        const int used =
            std::snprintf(entry, sizeof entry, "%s [FFDC] [%u] %s %s %d %s\n", "2026-11-24 13:31:18 ", 4242u,
                          "QEN", "INFO", 13107201, "Resource web-000001 is now ONLINE");
        std::snprintf(entry + used, sizeof entry - static_cast<size_t>(used), "\t%s:%s[%d]:%lu\n", __FILE__,
                      __func__, __LINE__, ++number);
        benchmark::DoNotOptimize(entry);
    }
}

BENCHMARK(BM_WriteApp);
BENCHMARK(BM_ThreeBareWrites);
BENCHMARK(BM_SpdlogFlushed);
BENCHMARK(BM_LoggerProducer)->UseRealTime();
BENCHMARK(BM_SpdlogAsyncProducer)->UseRealTime();
BENCHMARK(BM_LoggerDrain)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(BM_CapturedEntry);
BENCHMARK(BM_SnprintfOfEntry);

} // namespace

int main(int argc, char** argv) {
    Log::init("QEN", "K-16", nullptr);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
