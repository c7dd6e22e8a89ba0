// Each case runs in a child process, which must end by the fatal signal itself.
#include "platform/unix/QENHooks.h"
#include "platform/unix/QENPlatform.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

int trace_fd; // the dump writes a mark here for the parent
volatile int zero = 0;

void write_mark(char mark) {
    (void)QENWriteAll(trace_fd, &mark, 1);
}

[[gnu::noinline]] int overflow_stack(int depth) {
    volatile char frame[4096];
    frame[0] = static_cast<char>(depth);
    return depth < 1 << 30 ? overflow_stack(depth + 1) + frame[0] : 0;
}

struct Outcome {
    int signal = 0; // 0: the child did not end by a signal
    std::string marks;
};

Outcome run(void (*dump)(int), const std::function<void()>& crash) {
    int ends[2];
    if (pipe(ends) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
        const rlimit no_core = {0, 0};
        setrlimit(RLIMIT_CORE, &no_core);
        trace_fd = ends[1];
        QENHooks hooks;
        hooks.dump_first_failure = dump;
        QENSetHooks(hooks);
        if (QENInstallFatalSignalHandlers() != 0) _exit(1);
        crash();
        _exit(0);
    }
    close(ends[1]);
    Outcome outcome;
    char mark;
    while (read(ends[0], &mark, 1) == 1) outcome.marks += mark;
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
    return outcome;
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

TEST(FatalSignals, DumpRunsOnceAndTheFirstSignalEndsTheProcess) {
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
        const Outcome outcome = run(c.dump, c.crash);
        EXPECT_EQ(c.signal, outcome.signal);
        EXPECT_EQ(c.marks, outcome.marks);
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
