// Showing one record, and asking for a debug message that is switched off.
#include "BenchCatalogs.h"

#include "primitives/ldf/QENObjTags.h"
#include "primitives/log/LineBuffer.h"
#include "primitives/log/LogCore.h"
#include "primitives/log/ShownRecord.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <iostream>
#include <memory>

namespace {

constexpr unsigned CATEGORY = 200;
constexpr time_t FIRST_SECOND = 1'790'000'000;
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
    time_t second = FIRST_SECOND;
    static char room[LineBuffer::CAPACITY];
    LineBuffer out(stdout, room);
    int i = 0;
    for (auto _ : state) {
        if (++i % 30 == 0) ++second; // thirty records a second
        LogCore::display(log, {SEV_INFO, OBJTAG_RES, second, i18n_msgcat_id(CATEGORY, 1)}, ARGUMENTS, 0, out);
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_DisabledDebugMessage(benchmark::State& state) {
    Log& log = display_log();
    for (auto _ : state) benchmark::DoNotOptimize(log.is_enabled(DBG_IPM));
}

BENCHMARK(BM_ShowRecord);
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
