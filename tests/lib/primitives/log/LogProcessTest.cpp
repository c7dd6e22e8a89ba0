// Logs at the end of a process, in forked children, and beside other processes.
#include "LogFixture.h"
#include "platform/unix/QENPlatform.h"
#include "support/FailingMalloc.h"

struct LogProcessTest : LogFixture {
    static void put_all(Log& log, int count) {
        for (int i = 0; i < count; ++i) QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "n %d", i);
    }
    void expect_all(const std::string& name) const {
        EXPECT_EQ((Counts{{"n", MANY}}), counted(name + "_A.log"));
        EXPECT_EQ(MANY, record_count(name));
    }
    // Exits within the first write of another log: by the logger thread, or by the caller when that is off.
    static void exit_within_a_write(Log& log) {
        auto* const writing = new Log; // nobody deletes it and its stream before the exit has written all
        auto* const stream = new CallingStream([&log, writing, is_first = true](std::string_view) mutable {
            if (!std::exchange(is_first, false)) return;
            Log::start_logger();
            QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "n %d", MANY - 1);
            std::thread([&] { put(*writing, "too late"); }).join();
            exit(0);
        });
        EXPECT_EQ(ULOG_OK, writing->open("writing", stream->fp, 0, nullptr));
        put_all(log, MANY - 1);
        put(*writing, "first");
        for (;;) pause();
    }
    static constexpr int MANY = 1000;
};

TEST_F(LogProcessTest, ExitWritesWhatIsQueued) {
    void (*const ends[])(Log&) = {
        [](Log& log) { // of a producer, after a stop and a start; it deletes the log
            static const std::unique_ptr<Log> last(&log);
            Log::stop_logger();
            Log::start_logger();
            std::thread([&] {
                put_all(log, MANY);
                exit(0);
            }).join();
        },
        [](Log& log) { // while another thread stops the logger
            put_all(log, MANY);
            std::thread(Log::stop_logger).detach();
            while (Log::run_thread()) std::this_thread::yield();
        },
        exit_within_a_write, // of the logger thread
        [](Log& log) {
            Log::stop_logger();
            exit_within_a_write(log);
        },
    };
    for (size_t i = 0; i < std::size(ends); ++i) {
        const std::string name = "engine" + std::to_string(i);
        const pid_t child = start([&] {
            Log* log = opened(name).release(); // deleted by nobody, but where exit does it
            Log::start_logger();
            ends[i](*log);
            exit(0);
        });
        EXPECT_EQ(0, wait_for(child)) << name;
        expect_all(name);
    }
}

// Producers over stops and starts of the logger, and over forks: each thing that a thread may be doing then.
TEST_F(LogProcessTest, ProducersAndForkedChildrenLoseNothing) {
#ifdef __SANITIZE_ADDRESS__
    constexpr int CHILDREN = 0; // a thread of the parent may hold the locks of the sanitizer's allocator
#else
    constexpr int CHILDREN = 60;
#endif
    Log::enable_ffdc();
    register_as(FFDC_ROLE_SVC_THREAD);
    auto shared = opened("engine");
    const auto terminal = opened("terminal", fopen("/dev/null", "w"));
    Producers producers(4, 10000, [&](int p, long n) {
        QEN_MESSAGE(shared.get(), SEV_INFO, BARE, 25, 1, "%d %ld", p, n);
        QEN_MESSAGE(terminal.get(), SEV_ERR, BARE & ~ULOG_NO_EVENT, 25, 1, "%ld", n);
        if (n % 20 == 0) std::this_thread::sleep_for(1ms); // or all is written before the last fork
    });
    Producers reporter(1, LONG_MAX, [](int, long) { QENSyslog(SEV_INFO, "parent"); });
    Producers capturers(3, LONG_MAX, [&](int p, long n) { // two of them are looked for in vain
        if (p == 0 && n % 10 == 0) register_as(FFDC_ROLE_SVC_THREAD);
        Log::write_ffdc(SEV_INFO, "f", "g", 1, 0, 25, 1, "captured");
        if (p == 0 && n % 10 == 9) Log::unregister_for_ffdc();
    });
    std::vector<pid_t> children;
    for (int c = 0; c < 80; ++c) {
        if (c % 2 == 0) Log::start_logger();
        shared->enable_debug("ipm");
        shared->clear_debug_flag(DBG_IPM, LOG_DBG_FLUSH);
        if (c % 2 != 0) Log::stop_logger();
        if (c >= CHILDREN) continue;
        children.push_back(start([&] {
            QEN_MESSAGE(shared.get(), SEV_ERR, BARE & ~ULOG_NO_EVENT, 25, 1, "child%d 0", c);
            QENSyslog(SEV_INFO, "child");
            Log::dump_ffdc(FFDC_ROLE_SVC_THREAD, false);
            if (c % 7 != 0) exit(0);
#ifndef __SANITIZE_THREAD__ // there a child of a parent with several threads may start none
            Log::start_logger();
#endif
            put_all(*opened("own" + std::to_string(c)).release(), MANY);
            exit(0);
        }));
        std::this_thread::sleep_for(1ms);
    }
    for (const pid_t child : children) EXPECT_EQ(0, wait_for(child));
    for (Producers* all : {&producers, &reporter, &capturers}) all->stop();
    shared.reset();

    Counts expected = producers.sent;
    for (int c = 0; c < CHILDREN; ++c) {
        const std::string own = std::to_string(c);
        expected["child" + own] = 1;
        if (c % 7 == 0) expect_all("own" + own);
    }
    EXPECT_EQ(expected, counted());
    EXPECT_EQ(line_count() - CHILDREN, record_count());
    EXPECT_EQ(CHILDREN, std::ssize(dir.files("dumps"))) << "each under its own process number";
}

TEST_F(LogProcessTest, AForkedChildRotatesNothingAndFollowsItsParent) {
    const auto log = opened("engine");
    const auto put_in_child = [&](const char* text, const std::function<void()>& parent) {
        const pid_t child = start([&] {
            raise(SIGSTOP);
            log->rotate();
            put(*log, text);
            exit(0);
        });
        ASSERT_EQ(child, waitpid(child, nullptr, WUNTRACED));
        parent();
        kill(child, SIGCONT);
        EXPECT_EQ(0, wait_for(child));
    };
    put_in_child("before the parent's first line", [] {});
    put(*log, "first");
    log->write_dbg(DBG_1, "f", "g", 1, BARE, 25, 1, "not yet flushed");
    put_in_child("child", [] {});
    EXPECT_EQ(1, record_count());
    put(*log, "second");
    EXPECT_EQ("before the parent's first line\nfirst\nchild\nnot yet flushed\nsecond\n", body());
    put_in_child("late child", [&] { log->rotate(), put(*log, "third"); });
    EXPECT_EQ("third\nlate child\n", body());
    EXPECT_EQ(3, record_count());
}

TEST_F(LogProcessTest, AForkWaitsNotForEverForAWriteInProgress) {
    GatedStream gate;
    const auto blocked = opened("blocked", gate.fp), other = opened("engine");
    std::jthread writer([&] { put(*blocked, "long"); });
    while (gate.begun == 0) std::this_thread::yield();
    const pid_t child = start([&] {
        gate.is_open = true;
        put(*blocked, "dropped");
        put(*other, "child");
        _exit(gate.begun - 1);
    });
    gate.is_open = true;
    writer.join();
    EXPECT_EQ(0, wait_for(child));
    EXPECT_EQ("child\n", body());
}

TEST_F(LogProcessTest, OneProcessWritesALog) {
    auto log = opened("engine");
    put(*log, "one");
    const std::function<void()> steps[] = {[] {}, [&] { (void)log->open("another", stderr, 0, nullptr); },
                                           [&] { (void)log->open("engine", nullptr, 0, nullptr); },
                                           [&] { log.reset(); }};
    for (const auto& step : steps) {
        const int expected = (&step - steps) % 2 == 0 ? ULOG_EREGISTERED : ULOG_OK;
        step();
        EXPECT_EQ(expected, wait_for(start([&] {
                      Log::destroy(); // what a process of its own would not have
                      Log::init("QEN", "K-16", nullptr);
                      auto* other = new Log; // which is never closed
                      const int result = other->open("engine", nullptr, 0, nullptr);
                      if (result == ULOG_OK) put(*other, "other");
                      const std::string report = "3Process " + std::to_string(getppid()) + " writes ";
                      const bool is_told = syslog_texts() == Strings{report + log_path("engine_A.log")};
                      _exit(is_told == (result == ULOG_EREGISTERED) ? result : 98);
                  })));
    }
    EXPECT_EQ("one\nother\nother\n", body());
}

#if !defined __SANITIZE_ADDRESS__ && !defined __SANITIZE_THREAD__ // which bring their own operators
// Each allocation of open fails once. Where that is fatal by contract, the process ends with a report.
TEST_F(LogProcessTest, OpenWithoutMemoryGivesTheNameFree) {
    dir.make("log");
    int refused = 0;
    for (int calls = 0, result = ULOG_ENOMEM; result != ULOG_OK; ++calls) {
        result = wait_for(start([&] {
            close(STDERR_FILENO);
            Log log;
            auto limit = std::make_unique<FailingMalloc>(calls);
            const int rc = log.open("engine", nullptr, 0, nullptr);
            limit.reset();
            _exit(rc == ULOG_ENOMEM && Log_obj("engine") != nullptr ? 97 : rc);
        }));
        ASSERT_TRUE(result == ULOG_ENOMEM || result == ULOG_OK || result < 0) << result;
        refused += result == ULOG_ENOMEM ? 1 : 0;
    }
    EXPECT_GT(refused, 3);
}
#endif
