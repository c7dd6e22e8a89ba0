// What an allocation costs while the process has one thread, later, and when another thread frees the block.
//
// The same source gives two programs, because the global operators of the library serve a whole process:
// bench_memory measures new and delete, bench_malloc (BENCH_MALLOC) measures malloc and free without the
// library. bench/compare_allocation.py runs them in turn.
#include <array>
#include <barrier>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <new>
#include <thread>

namespace {

#ifdef BENCH_MALLOC
inline void* obtain(size_t size) {
    return std::malloc(size);
}
inline void give_back(void* p) {
    std::free(p);
}
#else
inline void* obtain(size_t size) {
    return ::operator new(size);
}
inline void give_back(void* p) {
    ::operator delete(p);
}
#endif

// Frees the oldest of a few blocks and allocates another. They lie at different places of a page, since a
// block that crosses the end of a page costs more to fill.
void pairs(benchmark::State& state) {
    const auto size = static_cast<size_t>(state.range(0));
    std::array<void*, 8> live;
    for (void*& p : live) p = obtain(size);
    size_t turn = 0;
    for (auto _ : state) {
        void*& p = live[turn++ % live.size()];
        give_back(p);
        p = obtain(size);
        benchmark::DoNotOptimize(p);
    }
    for (void* p : live) give_back(p);
}

// The process has had one thread so far: the benchmarks with threads come later.
void BM_Alone(benchmark::State& state) {
    pairs(state);
}

// Another thread has run, at the latest in front of this benchmark.
void BM_Pair(benchmark::State& state) {
    pairs(state);
}
void run_a_thread(const benchmark::State&) {
    std::thread([] {}).join();
}

double thread_seconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Each thread allocates a batch, then frees its neighbour's. Waiting for each other does not count.
constexpr size_t BATCH = 256, MAX_THREADS = 8;
std::array<std::array<void*, BATCH>, MAX_THREADS> batches;
std::unique_ptr<std::barrier<>> together;

void BM_FreedElsewhere(benchmark::State& state) {
    const auto size = static_cast<size_t>(state.range(0));
    const auto mine = static_cast<size_t>(state.thread_index()),
               threads = static_cast<size_t>(state.threads());
    for (auto _ : state) {
        const double start = thread_seconds();
        for (void*& p : batches[mine]) p = obtain(size);
        const double full = thread_seconds();
        together->arrive_and_wait();
        const double all_full = thread_seconds();
        for (void* p : batches[(mine + 1) % threads]) give_back(p);
        const double freed = thread_seconds();
        together->arrive_and_wait();
        state.SetIterationTime((full - start) + (freed - all_full));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(BATCH));
}
void prepare_barrier(const benchmark::State& state) {
    together = std::make_unique<std::barrier<>>(state.threads());
}

const std::vector<int64_t> SIZES = {8, 32, 128, 512};

BENCHMARK(BM_Alone)->ArgName("size")->ArgsProduct({SIZES});
BENCHMARK(BM_Pair)->ArgName("size")->ArgsProduct({SIZES})->Setup(run_a_thread)->ThreadRange(1, 8);
BENCHMARK(BM_FreedElsewhere)
    ->ArgName("size")
    ->ArgsProduct({SIZES})
    ->Setup(prepare_barrier)
    ->UseManualTime()
    ->ThreadRange(2, MAX_THREADS);

} // namespace

BENCHMARK_MAIN();
