// What the first-failure capture costs beside formatting the same entry alone. bench/compare runs it; the
// other costs of a service are measured by the burst programs.
#include "BenchData.h"

#include "primitives/log/FFDC.h"
#include "primitives/log/Log.h"

#include <benchmark/benchmark.h>

namespace {

// One folder for all, made before the first log.
BenchData& data() {
    static BenchData shared;
    return shared;
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

BENCHMARK(BM_CapturedEntry);
BENCHMARK(BM_SnprintfOfEntry);

} // namespace

int main(int argc, char** argv) {
    Log::init("QEN", "K-16", nullptr);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
