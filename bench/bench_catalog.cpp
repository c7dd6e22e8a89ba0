// Looking texts up: the first time on a handle, again, and with arguments that do not fit.
#include "BenchCatalogs.h"

#include "i18n/common/i18n.h"

#include <benchmark/benchmark.h>

namespace {

constexpr uint32_t CATEGORY = 200;

void lookup(benchmark::State& state, const char* arg3) {
    void* handle = nullptr;
    if (i18nOpen(&handle, BENCH_CATALOG_ROOT, "KORE", "en") != I18N_SOK)
        return state.SkipWithError("no catalogs");
    for (auto _ : state) {
        char* text;
        int32_t size;
        const int rc = i18nGetSafeMsg(&handle, CATEGORY, 1, &text, &size, "web-000001", "ONLINE", arg3);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(text);
    }
    i18nClose(&handle);
}

void BM_Lookup(benchmark::State& state) {
    lookup(state, "node1");
}
void BM_LookupMismatch(benchmark::State& state) {
    lookup(state, nullptr);
}

void BM_OpenAndFirstLookup(benchmark::State& state) {
    for (auto _ : state) {
        void* handle = nullptr;
        char* text;
        int32_t size;
        if (i18nOpen(&handle, BENCH_CATALOG_ROOT, "KORE", "en") != I18N_SOK)
            return state.SkipWithError("no catalogs");
        benchmark::DoNotOptimize(i18nGetSimpleMsg(&handle, CATEGORY, 1, &text, &size));
        i18nClose(&handle);
    }
}

BENCHMARK(BM_Lookup);
BENCHMARK(BM_LookupMismatch);
BENCHMARK(BM_OpenAndFirstLookup);

} // namespace

BENCHMARK_MAIN();
