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

char* forbidden_page() {
    return static_cast<char*>(mmap(nullptr, PAGE, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
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
        {"abort", [] { std::abort(); }, SIGABRT},
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
    std::filesystem::remove(dumps());
    const Outcome no_folder = run(bad_access);
    EXPECT_EQ(SIGSEGV, no_folder.signal);
    EXPECT_LT(no_folder.took, 5s);
}

} // namespace
