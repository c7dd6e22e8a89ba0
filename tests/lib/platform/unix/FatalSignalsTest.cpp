// Each case runs in a child process, which must end by the fatal signal itself.
#include "platform/unix/QENHooks.h"
#include "platform/unix/QENPlatform.h"
#include "support/Prelude.h"

static volatile int zero = 0;

static void mark(char c) { // the dump's trace, which the parent reads
    (void)QENWriteAll(STDERR_FILENO, &c, 1);
}

[[gnu::noinline]] static int overflow_stack(int depth) {
    volatile char frame[4096];
    frame[0] = static_cast<char>(depth);
    return depth < 1 << 30 ? overflow_stack(depth + 1) + frame[0] : 0;
}

static void crash_with_dump(void (*dump)(int), void (*crash)()) {
    QENSetHooks({.dump_first_failure = dump});
    if (QENInstallFatalSignalHandlers() == 0) crash();
}

TEST(FatalSignalsDeathTest, DumpRunsOnceAndTheFirstSignalEndsTheProcess) {
    void (*const trace)(int) = [](int) { mark('d'); };
    const std::tuple<int, const char*, void (*)(int), void (*)()> cases[] = {
        {SIGSEGV, "^d$", trace, [] { zero = overflow_stack(0); }},
        {SIGSEGV, "^d$", trace,
         [] { std::thread([] { zero = QENInstallSignalStack() == 0 ? overflow_stack(0) : 0; }).join(); }},
        {SIGABRT, "^d$", [](int) { mark('d'), std::abort(); }, [] { raise(SIGSEGV); }},
        {SIGSEGV, "^de$", [](int) { mark('d'), usleep(200'000), mark('e'); },
         [] { // the second thread waits for the dump of the first
             std::thread other([] { usleep(50'000), raise(SIGBUS); });
             raise(SIGSEGV), other.join();
         }},
        {SIGABRT, "^d$",
         [](int) {
             for (mark('d');;) pause();
         },
         [] { // nothing that the program does with alarms matters
             std::signal(SIGALRM, SIG_IGN);
             sigset_t all;
             sigfillset(&all), sigprocmask(SIG_BLOCK, &all, nullptr);
             std::abort();
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const auto& [signal, marks, dump, crash] = c;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EXIT(crash_with_dump(dump, crash), testing::KilledBySignal(signal), marks);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 6s); // the watchdog's five, and a slow machine
    }
}
