// Each case runs in a child process, which must end by the fatal signal itself and leave its dump behind.
#include "FFDCFixture.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

#if defined(__SANITIZE_THREAD__)
constexpr bool UNDER_TSAN = true;
#else
constexpr bool UNDER_TSAN = false;
#endif

constexpr size_t PAGE = 4096;
volatile int zero = 0;

char* map_page(int protection, int flags, int fd = -1) {
    return static_cast<char*>(mmap(nullptr, PAGE, protection, flags, fd, 0));
}
char* forbidden_page() {
    return map_page(PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS);
}
void write_to(volatile char* place) {
    *place = 1;
}
void bad_access() {
    write_to(forbidden_page());
}

[[gnu::noinline]] int overflow_stack(int depth) {
    volatile char frame[4096];
    frame[0] = static_cast<char>(depth);
    return depth < 1 << 30 ? overflow_stack(depth + 1) + frame[0] : 0;
}

// A bug that writes over the end of a block is found when the block is freed.
struct Block : Pooled<MEM_MISC> {
    char text[32];
};

__attribute__((no_sanitize("address", "thread", "undefined"), noinline)) void overrun(volatile char* text) {
    for (size_t i = 0; i < sizeof(Block::text) + 8; ++i) text[i] = 'x';
}

void free_damaged_block() {
    auto* block = new Block;
    overrun(block->text);
    delete block;
}

class FFDCCrash : public FFDCFixture {
protected:
    struct Outcome {
        int signal = 0; // 0: the child did not end by a signal
        std::string path;
        std::chrono::milliseconds took{};
    };

    // The child captures three entries on its main thread, then crashes.
    Outcome run(const std::function<void()>& crash) {
        const auto start = std::chrono::steady_clock::now();
        const pid_t child = fork();
        if (child == 0) {
            const rlimit no_core = {0, 0};
            setrlimit(RLIMIT_CORE, &no_core);
            register_as(FFDC_ROLE_SVC_THREAD);
            for (long i = 1; i <= 3; ++i) capture(i);
            crash();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        const auto took = std::chrono::steady_clock::now() - start;
        return {WIFSIGNALED(status) ? WTERMSIG(status) : 0, dump_path("AGFWSvc", child),
                std::chrono::duration_cast<std::chrono::milliseconds>(took)};
    }
};

TEST_F(FFDCCrash, DumpIsCompleteAndTheSignalEndsTheProcess) {
    const struct {
        const char* name;
        std::function<void()> crash;
        int signal;
    } cases[] = {
        {"segmentation fault", bad_access, SIGSEGV},
        {"bus error behind the end of a file",
         [] { write_to(map_page(PROT_WRITE, MAP_SHARED, memfd_create("empty", MFD_CLOEXEC))); }, SIGBUS},
        {"abort", [] { std::abort(); }, SIGABRT},
        {"damaged block in the allocator", free_damaged_block, SIGABRT},
        {"fault while an entry is composed",
         [] { Log::write_ffdc(SEV_INFO, "f", "f.cpp", 1, 0, 1, 1, forbidden_page()); }, SIGSEGV},
        {"exhausted stack of a registered thread",
         [this] {
             std::thread([this] {
                 register_as(FFDC_ROLE_UBO);
                 zero = overflow_stack(0);
             }).join();
         },
         SIGSEGV},
        {"in a thread that is not registered", [] { std::thread(bad_access).join(); }, SIGSEGV},
        {"two threads at once",
         [] {
             std::atomic<int> waiting{2};
             const auto crash = [&waiting] {
                 for (--waiting; waiting > 0;) {
                 }
                 bad_access();
             };
             std::thread(crash).detach();
             crash();
         },
         SIGSEGV},
    };
    for (const auto& c : cases) {
        if (UNDER_TSAN && std::string(c.name).starts_with("exhausted")) continue; // its own stack overruns
        SCOPED_TRACE(c.name);
        const Outcome outcome = run(c.crash);
        EXPECT_EQ(c.signal, outcome.signal);
        EXPECT_LT(outcome.took, 5s);
        EXPECT_THAT(numbers_in(outcome.path), ElementsAre(1, 2, 3));
        EXPECT_EQ(0600u, mode_of(outcome.path));
    }
}

TEST_F(FFDCCrash, WithoutADumpTheSignalEndsTheProcessAsWell) {
    const Outcome off = run([] {
        Log::disable_ffdc();
        bad_access();
    });
    EXPECT_EQ(SIGSEGV, off.signal);
    EXPECT_EQ(0u, dump_count());

    std::filesystem::remove(dumps());
    const Outcome no_folder = run(bad_access);
    EXPECT_EQ(SIGSEGV, no_folder.signal);
    EXPECT_LT(no_folder.took, 5s);
}

// The signal meets a thread anywhere within capture: in the allocator, under the lock of the ring, between
// the steps that replace an entry; other threads go on capturing, or dump.
TEST_F(FFDCCrash, WhileThreadsCaptureAndDump) {
    if (UNDER_TSAN) GTEST_SKIP() << "a dump in a signal handler reads without locks, on purpose";
    constexpr int ROUNDS = 30;
    for (int round = 0; round < ROUNDS; ++round) {
        SCOPED_TRACE(round);
        const Outcome outcome = run([this, round] {
            std::atomic<long> captured{0};
            const auto work = [&](int role, long first) {
                register_as(role);
                for (long i = first;; ++i) {
                    capture(i);
                    ++captured;
                }
            };
            std::thread victim(work, FFDC_ROLE_AGFW_MAIN, 0L);
            std::thread(work, FFDC_ROLE_AGFW_MAIN, 1'000'000'000L).detach();
            std::thread([] {
                for (;;) Log::dump_ffdc(FFDC_ROLE_MAX, false);
            }).detach();
            while (captured < 3000 + 37 * round) std::this_thread::yield();
            pthread_kill(victim.native_handle(), SIGSEGV);
            victim.join();
        });
        EXPECT_EQ(SIGSEGV, outcome.signal);
        EXPECT_LT(outcome.took, 5s);
        std::string path = outcome.path;
        const std::vector<long> numbers = numbers_in(path.replace(path.find("AGFWSvc"), 7, "AGFWMain"));
        // An entry that was being replaced may stand at the wrong end; each is whole nevertheless.
        EXPECT_EQ(1024u, numbers.size());
        EXPECT_EQ(0, std::count(numbers.begin(), numbers.end(), -1)) << "torn entries";
        EXPECT_THAT(numbers_in(outcome.path), ElementsAre(1, 2, 3));
        std::filesystem::remove(path);
        std::filesystem::remove(outcome.path);
    }
}

} // namespace
