// Walking a full log data file, with and without filters, and writing one record.
#include "BenchData.h"

#include "primitives/values/HashTable.h"
#include "primitives/values/VList.h"

#include <benchmark/benchmark.h>

namespace {

BenchData& data() {
    static BenchData shared;
    return shared;
}

void walk(benchmark::State& state, const LdfFilter& filter) {
    LdfReader reader;
    if (reader.open(nullptr, data().ldf_name()) != LDF_OK) return state.SkipWithError("open failed");
    for (auto _ : state) {
        LdfRecordView view;
        reader.rewind();
        while (reader.next_record(filter, view) == LDF_OK) benchmark::DoNotOptimize(view);
    }
    state.SetItemsProcessed(state.iterations() * BENCH_RECORDS);
}

void BM_WalkAll(benchmark::State& state) {
    walk(state, {});
}

void BM_WalkSeverity(benchmark::State& state) {
    LdfFilter filter;
    filter.sev = 1;
    walk(state, filter);
}

void BM_WalkObjectName(benchmark::State& state) {
    HashTable names;
    names.init(32, ht_func);
    names.append("web-000057", nullptr);
    LdfFilter filter;
    filter.onames = &names;
    filter.flags = LDF_MATCH_PIECES;
    walk(state, filter);
}

void BM_WalkLists(benchmark::State& state) {
    LdfReader reader;
    if (reader.open(nullptr, data().ldf_name()) != LDF_OK) return state.SkipWithError("open failed");
    for (auto _ : state) {
        ldf_msg_header_t header;
        VList* args = nullptr;
        reader.rewind();
        while (reader.get_next(-1, -1, '\xFF', '\xFF', nullptr, &header, nullptr, &args, 0) == LDF_OK)
            delete args;
    }
    state.SetItemsProcessed(state.iterations() * BENCH_RECORDS);
}

void BM_Tail20(benchmark::State& state) {
    LdfReader reader;
    if (reader.open(nullptr, data().ldf_name()) != LDF_OK) return state.SkipWithError("open failed");
    for (auto _ : state) {
        reader.rewind();
        benchmark::DoNotOptimize(reader.tail(20));
    }
}

void BM_WriteRecord(benchmark::State& state) {
    data();
    LdfWriter writer;
    if (writer.open("writing", 0) != LDF_OK) return state.SkipWithError("open failed");
    for (auto _ : state)
        writer.write(4, BENCH_FIRST_SECOND, 6, BENCH_CATEGORY << 16 | 1, "res.cpp", 120, LDF_NO_SEQ, "online",
                     "web-000001", "ONLINE", "node1", nullptr, nullptr, nullptr);
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(BM_WalkAll);
BENCHMARK(BM_WalkSeverity);
BENCHMARK(BM_WalkObjectName);
BENCHMARK(BM_WalkLists);
BENCHMARK(BM_Tail20);
BENCHMARK(BM_WriteRecord);

} // namespace

BENCHMARK_MAIN();
