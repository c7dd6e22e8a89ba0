// Logs at the end of a process, in forked children, and beside other processes.
#include "LogFixture.h"
#include "platform/unix/QENPlatform.h"
#include "support/Bytes.h"
#include "support/FailingMalloc.h"

namespace {

using namespace std::chrono_literals;

class LogProcessTest : public LogFixture {
protected:
    static void put_all(Log& log, int count) {
        for (int i = 0; i < count; ++i) QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "n %d", i);
    }
    // A log for the rest of the process whose first write does something else before.
    static Log& log_that(const std::function<void()>& call) {
        static auto& log = *new Log; // the end of a static one would write what is queued
        static auto* const stream = new CallingStream([call, is_first = true](std::string_view) mutable {
            if (std::exchange(is_first, false)) call();
        });
        EXPECT_EQ(ULOG_OK, log.open("calling", stream->fp, 0, nullptr));
        return log;
    }
    long record_count(const std::string& name = "engine") const {
        return from_be(dir.read("ldf/" + name + "_A.ldf").substr(57, 4));
    }
};

TEST_F(LogProcessTest, ExitWritesWhatIsQueued) {
    static constexpr int MANY = 1000;
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
        [](Log& log) { // of the logger thread
            Log& exiting = log_that([&] {
                QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "n %d", MANY - 1);
                exit(0);
            });
            put_all(log, MANY - 1);
            put(exiting, "now");
            for (;;) pause();
        },
        [](Log& log) { // from within a write, whose log the logger thread waits for
            Log::stop_logger();
            static Log& writing = log_that([&] {
                Log::start_logger();
                put_all(log, MANY);
                std::thread([] { put(writing, "too late"); }).join();
                exit(0);
            });
            put(writing, "first");
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
        EXPECT_THAT(counted(lines(name + "_A.log")), testing::ElementsAre(std::pair("n", MANY)));
        EXPECT_EQ(MANY, record_count(name));
    }
}

// Each thing that a thread of the parent may be doing at a fork.
TEST_F(LogProcessTest, ForkedChildrenLogWhateverThreadsOfTheParentDo) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "a thread of the parent may have held the locks of the sanitizer's allocator";
#endif
    constexpr int CHILDREN = 60;
    Log::enable_ffdc();
    register_as(FFDC_ROLE_SVC_THREAD);
    auto shared = opened("engine");
    const auto terminal = opened("terminal", fopen("/dev/null", "w"));
    Log::start_logger();
    Producers producers(4, 10000, [&](size_t p, long n) {
        register_as(FFDC_ROLE_SVC_THREAD);
        QEN_MESSAGE(shared.get(), SEV_INFO, BARE, 25, 1, "%zu %ld", p, n);
        QEN_MESSAGE(terminal.get(), SEV_ERR, BARE & ~ULOG_NO_EVENT, 25, 1, "%ld", n);
        Log::unregister_for_ffdc();
    });
    Producers reporter(1, 50000, [](size_t, long) { QENSyslog(SEV_INFO, "parent"); });
    std::vector<pid_t> children;
    for (int c = 0; c < CHILDREN; ++c) {
        if (c == CHILDREN / 2) Log::stop_logger();
        children.push_back(start([&] {
            QEN_MESSAGE(shared.get(), SEV_ERR, BARE & ~ULOG_NO_EVENT, 25, 1, "child%d 0", c);
            QENSyslog(SEV_INFO, "child");
            Log::dump_ffdc(FFDC_ROLE_SVC_THREAD, false);
            if (c % 10 != 0) exit(0);
#ifndef __SANITIZE_THREAD__ // there a child of a parent with several threads may start none
            Log::start_logger();
#endif
            put_all(*opened("child" + std::to_string(c)).release(), 100);
            exit(0);
        }));
        std::this_thread::sleep_for(1ms);
    }
    for (const pid_t child : children) EXPECT_EQ(0, wait_for(child));
    producers.stop();
    reporter.stop();
    Log::unregister_for_ffdc();
    Log::stop_logger();
    shared.reset();

    std::map<std::string, long> expected;
    for (size_t p = 0; p < 4; ++p) expected[std::to_string(p)] = producers.sent[p];
    for (int c = 0; c < CHILDREN; ++c) {
        const std::string own = "child" + std::to_string(c);
        expected[own] = 1;
        if (c % 10 != 0) continue;
        EXPECT_THAT(counted(lines(own + "_A.log")), testing::ElementsAre(std::pair("n", 100)));
        EXPECT_EQ(100, record_count(own));
    }
    EXPECT_EQ(expected, counted(lines()));
    EXPECT_EQ(std::ssize(lines()) - CHILDREN, record_count());
    EXPECT_EQ(CHILDREN, std::ssize(dir.files("dumps"))) << "each under its own process number";
}

TEST_F(LogProcessTest, AForkedChildRotatesNothingAndFollowsItsParent) {
    auto log = opened("engine");
    const auto put_in_child = [&](const char* text) {
        const pid_t child = start([&] {
            log->rotate();
            put(*log, text);
            exit(0);
        });
        EXPECT_EQ(0, wait_for(child));
    };
    put_in_child("before the parent's first line");
    put(*log, "first");
    log->write_dbg(DBG_1, "f", "g", 1, BARE, 25, 1, "not yet flushed");
    put_in_child("child");
    EXPECT_EQ(1, record_count());
    put(*log, "second");
    EXPECT_EQ("before the parent's first line\nfirst\nchild\nnot yet flushed\nsecond\n", body());

    const pid_t child = start([&] {
        raise(SIGSTOP); // until the parent has rotated
        put(*log, "late child");
        exit(0);
    });
    ASSERT_EQ(child, waitpid(child, nullptr, WUNTRACED));
    log->rotate();
    put(*log, "third");
    kill(child, SIGCONT);
    EXPECT_EQ(0, wait_for(child));
    EXPECT_EQ("third\nlate child\n", body());
    EXPECT_EQ(3, record_count());
}

TEST_F(LogProcessTest, AForkWaitsNotForEverForAWriteInProgress) {
    std::atomic<int> state{0}, writes{0}; // state 1: the write has begun, 2: it may end
    CallingStream stream([&](std::string_view) {
        ++writes;
        state = 1;
        while (state != 2) std::this_thread::sleep_for(1ms);
    });
    const auto blocked = opened("blocked", stream.fp), other = opened("engine");
    std::thread writer([&] { put(*blocked, "long"); });
    while (state != 1) std::this_thread::yield();
    const pid_t child = start([&] {
        state = 2;
        put(*blocked, "dropped");
        put(*other, "child");
        _exit(writes - 1);
    });
    state = 2;
    writer.join();
    EXPECT_EQ(0, wait_for(child));
    EXPECT_EQ("child\n", body());
}

TEST_F(LogProcessTest, OneProcessWritesALog) {
    const auto open_in_child = [&] { // which ends without closing the log
        return wait_for(start([&] {
            Log::destroy(); // what a process of its own would not have
            Log::init("QEN", "K-16", nullptr);
            auto* log = new Log;
            const int result = log->open("engine", nullptr, 0, nullptr);
            if (result == ULOG_OK) put(*log, "other");
            const std::string writer = "3Process " + std::to_string(getppid()) + " writes ";
            EXPECT_EQ(Strings(result == ULOG_OK ? 0 : 1, writer + log_path("engine_A.log")), syslog_texts());
            _exit(HasFailure() ? 98 : result);
        }));
    };
    auto log = opened("engine");
    put(*log, "one");
    EXPECT_EQ(ULOG_EREGISTERED, open_in_child());
    ASSERT_EQ(ULOG_OK, log->open("another", stderr, 0, nullptr));
    EXPECT_EQ(ULOG_OK, open_in_child());
    ASSERT_EQ(ULOG_OK, log->open("engine", nullptr, 0, nullptr));
    EXPECT_EQ(ULOG_EREGISTERED, open_in_child());
    log.reset();
    EXPECT_EQ(ULOG_OK, open_in_child());
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
            _exit(rc == ULOG_ENOMEM && (Log_obj("engine") != nullptr || log.is_enabled(DBG_1) != 0) ? 97
                                                                                                    : rc);
        }));
        ASSERT_TRUE(result == ULOG_ENOMEM || result == ULOG_OK || result < 0) << result;
        refused += result == ULOG_ENOMEM ? 1 : 0;
    }
    EXPECT_GT(refused, 3);
}
#endif

} // namespace
