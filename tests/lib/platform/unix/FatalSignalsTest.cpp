// Each case runs in a child process, which must end by the fatal signal itself.
#include "platform/unix/QENHooks.h"
#include "platform/unix/QENPlatform.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

volatile int zero = 0;

// The dump's trace, which the parent reads.
void write_mark(char mark) {
    (void)QENWriteAll(STDERR_FILENO, &mark, 1);
}

[[gnu::noinline]] int overflow_stack(int depth) {
    volatile char frame[4096];
    frame[0] = static_cast<char>(depth);
    return depth < 1 << 30 ? overflow_stack(depth + 1) + frame[0] : 0;
}

void crash_with_dump(void (*dump)(int), const std::function<void()>& crash) {
    const rlimit no_core = {0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    QENHooks hooks;
    hooks.dump_first_failure = dump;
    QENSetHooks(hooks);
    if (QENInstallFatalSignalHandlers() == 0) crash();
}

void trace_dump(int) {
    write_mark('d');
}
void slow_dump(int) {
    write_mark('d'), usleep(200'000), write_mark('e');
}
void hanging_dump(int) {
    write_mark('d');
    for (;;) pause();
}

TEST(FatalSignalsDeathTest, DumpRunsOnceAndTheFirstSignalEndsTheProcess) {
    const auto segv = [] { raise(SIGSEGV); };
    const struct {
        const char* name;
        std::function<void()> crash;
        int signal;
        void (*dump)(int) = trace_dump;
        const char* marks = "d";
    } cases[] = {
        {"stack overflow", [] { zero = overflow_stack(0); }, SIGSEGV},
        {"stack overflow in a thread",
         [] {
             std::thread([] {
                 if (QENInstallSignalStack() == 0) zero = overflow_stack(0);
             }).join();
         },
         SIGSEGV},
        {"dump aborts", segv, SIGABRT, [](int) { write_mark('d'), std::abort(); }},
        {"dump faults", segv, SIGSEGV, [](int) { write_mark('d'), raise(SIGBUS); }},
        {"second thread waits for the dump of the first",
         [] {
             std::thread other([] { usleep(50'000), raise(SIGBUS); });
             raise(SIGSEGV);
             other.join();
         },
         SIGSEGV, slow_dump, "de"},
        {"hanging dump, all signals blocked",
         [] {
             std::signal(SIGALRM, SIG_IGN); // nothing that the program does with alarms matters
             sigset_t all;
             sigfillset(&all);
             sigprocmask(SIG_BLOCK, &all, nullptr);
             std::abort();
         },
         SIGABRT, hanging_dump},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EXIT(crash_with_dump(c.dump, c.crash), testing::KilledBySignal(c.signal),
                    testing::StrEq(c.marks));
        const auto took = std::chrono::steady_clock::now() - start;
        EXPECT_LT(took, c.dump == hanging_dump ? 6s : 4s); // five, and a slow machine
    }
}

TEST(Signals, IgnoredSignalsDoNotEndTheProcess) {
    EXPECT_EQ(0, QENSigignore(SIGIO));
    raise(SIGIO);
    EXPECT_EQ(-1, QENSigignore(SIGKILL));
}

} // namespace
