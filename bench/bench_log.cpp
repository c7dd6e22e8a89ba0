// Showing one record, and logging one message.
#include "BenchCatalogs.h"
#include "BenchData.h"

#include "primitives/log/Log.h"
#include "primitives/log/MessageSite.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <iostream>
#include <memory>

namespace {

const std::string_view ARGUMENTS[] = {"web-000001", "ONLINE", "node1"};

// A log on standard output, as the command has it. The program's own report goes to standard error meanwhile.
struct DisplayLog {
    DisplayLog() {
        use_bench_catalogs();
        if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();
        log = std::make_unique<Log>();
        log->open("show", stdout, ULOG_NO_TIME | ULOG_NO_EVENT, nullptr);
    }
    std::unique_ptr<Log> log;
};

Log& display_log() {
    static DisplayLog shared;
    return *shared.log;
}

void BM_ShowRecord(benchmark::State& state) {
    Log& log = display_log();
    time_t second = BENCH_FIRST_SECOND;
    int i = 0;
    for (auto _ : state) {
        if (++i % 30 == 0) ++second; // thirty records a second
        log.display_ldf_record(SEV_INFO, 6, second, BENCH_CATEGORY << 16 | 1, ARGUMENTS, 3, 0);
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_WriteApp(benchmark::State& state) {
    static BenchData data;
    Log log;
    if (log.open("service", nullptr, 0, nullptr) != ULOG_OK) return state.SkipWithError("open failed");
    for (auto _ : state)
        QEN_MESSAGE(&log, SEV_INFO, 0, BENCH_CATEGORY, 1, "Resource %s is now %s on system %s", "web-000001",
                    "ONLINE", "node1");
    state.SetItemsProcessed(state.iterations());
}

void BM_DisabledDebugMessage(benchmark::State& state) {
    Log& log = display_log();
    for (auto _ : state) benchmark::DoNotOptimize(log.is_enabled(DBG_IPM));
}

BENCHMARK(BM_ShowRecord);
BENCHMARK(BM_WriteApp);
BENCHMARK(BM_DisabledDebugMessage);

} // namespace

int main(int argc, char** argv) {
    Log::init("QEN", "K-16", nullptr);
    benchmark::ConsoleReporter reporter;
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
