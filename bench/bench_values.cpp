// The allocator, lists and hash tables.
#include "primitives/memory/Memory.h"
#include "primitives/values/HashTable.h"
#include "primitives/values/NVList.h"
#include "primitives/values/VList.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void BM_Malloc(benchmark::State& state) {
    const auto size = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void* p = std::malloc(size);
        benchmark::DoNotOptimize(p);
        std::free(p);
    }
}

void BM_AccountedAllocation(benchmark::State& state) {
    const auto size = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void* p = taq_mem.get(0, size, MEM_MISC);
        benchmark::DoNotOptimize(p);
        taq_mem.release(p, MEM_MISC);
    }
}

void BM_ListOfThreeStrings(benchmark::State& state) {
    for (auto _ : state) {
        VList list;
        list.append_copy("web-000001", 10);
        list.append_copy("ONLINE", 6);
        list.append_copy("node1", 5);
        benchmark::DoNotOptimize(list.head());
    }
}

void BM_HashLookup(benchmark::State& state) {
    HashTable table;
    table.init(32, ht_func);
    std::vector<std::string> keys;
    for (int i = 0; i < 64; ++i) keys.push_back("resource" + std::to_string(i));
    for (const auto& key : keys) table.append(key.c_str());
    size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(table.inquire(keys[i++ % keys.size()].c_str()));
}

void BM_SortedNameListLookup(benchmark::State& state) {
    NVList list;
    list.set_key_sorted(true);
    for (int i = 0; i < 64; ++i) list.append(("resource" + std::to_string(i)).c_str(), i, nullptr, true);
    for (auto _ : state) benchmark::DoNotOptimize(list.inquire("resource42", false));
}

BENCHMARK(BM_Malloc)->Arg(16)->Arg(72);
BENCHMARK(BM_AccountedAllocation)->Arg(16)->Arg(72);
BENCHMARK(BM_ListOfThreeStrings);
BENCHMARK(BM_HashLookup);
BENCHMARK(BM_SortedNameListLookup);

} // namespace

BENCHMARK_MAIN();
