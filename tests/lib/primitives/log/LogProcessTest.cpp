// Logs at the end of a process and in forked children.
#include <array>
#include <atomic>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>

#include "FFDCFixture.h"
#include "LogFixture.h"
#include "platform/unix/ByteOrder.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/log/MessageSite.h"
#include "support/FailingMalloc.h"

namespace {

using namespace std::chrono_literals;

constexpr int BARE = ULOG_BARE_TEXT | ULOG_NO_SOURCE;
constexpr unsigned HANGS_AFTER = 20; // seconds
#ifdef __SANITIZE_THREAD__
constexpr bool CHILD_MAY_START_THREADS = false; // of a parent with several threads
#else
constexpr bool CHILD_MAY_START_THREADS = true;
#endif

class LogProcessTest : public FFDCFixture {
protected:
    static void put(Log& log, const char* text) { QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "%s", text); }
    static void put_all(Log& log, int count) {
        for (int i = 0; i < count; ++i) put(log, std::to_string(i).c_str());
    }
    static std::string numbers(int count) {
        std::string all;
        for (int i = 0; i < count; ++i) all += std::to_string(i) + "\n";
        return all;
    }
    // Runs a function in a forked child, which must end with exit(0).
    static pid_t start(const std::function<void()>& run) {
        fflush(stdout); // or each child's exit writes it as well
        const pid_t child = fork();
        if (child != 0) return child;
        alarm(HANGS_AFTER);
        run();
        _exit(99);
    }
    static int wait_for(pid_t child) {
        int status = -1;
        EXPECT_EQ(child, waitpid(child, &status, 0));
        return status;
    }
    size_t records_in(const std::string& name) const {
        const std::string file = slurp(root + "/ldf/" + name + "_A.ldf");
        return file.size() < LDF_HEADER_SIZE ? 0 : get_be32(&file[57]);
    }
};

// When it is written, queues a message for another log and calls exit.
class ExitingLog : public Log {
public:
    ExitingLog(Log& log, std::string text) : _log(log), _text(std::move(text)) {}
    void write_log(time_t, int, const char*, const char*, int, int, int, int, const char*,
                   MsgStruct*) override {
        QEN_MESSAGE(&_log, SEV_INFO, BARE, 25, 1, "%s", _text.c_str());
        exit(0);
    }

private:
    Log& _log;
    std::string _text;
};

FILE* stream_that_writes_by(ssize_t (*write)(void*, const char*, size_t), void* cookie) {
    FILE* fp = fopencookie(cookie, "w", {nullptr, write, nullptr, nullptr});
    setvbuf(fp, nullptr, _IONBF, 0);
    return fp;
}

TEST_F(LogProcessTest, ExitWritesWhatIsQueued) {
    constexpr int MANY = 1000;
    const struct {
        const char* name;
        void (*run)(Log& log);
    } cases[] = {
        {"of the main thread",
         [](Log& log) {
             put_all(log, MANY);
             exit(0);
         }},
        {"of a producer",
         [](Log& log) {
             std::thread([&] {
                 put_all(log, MANY);
                 exit(0);
             }).join();
         }},
        {"while another thread stops the logger",
         [](Log& log) {
             put_all(log, MANY);
             std::thread(Log::stop_logger).detach();
             while (Log::run_thread()) {
             }
             exit(0);
         }},
        {"of the logger thread",
         [](Log& log) {
             static ExitingLog exiting(log, std::to_string(MANY - 1));
             put_all(log, MANY - 1);
             exiting.write_dbg(DBG_1, "f", "g", 1, BARE, 25, 1, "now");
             for (;;) pause();
         }},
        {"after a stop and a start",
         [](Log& log) {
             Log::stop_logger();
             Log::start_logger();
             put_all(log, MANY);
             exit(0);
         }},
        {"that deletes the log",
         [](Log& log) {
             static const std::unique_ptr<Log> last(&log);
             put_all(log, MANY);
             exit(0);
         }},
        {"from within a write, whose log the logger thread waits for",
         [](Log& log) {
             Log::stop_logger();
             static Log* other = &log;
             static Log writing;
             const auto write = [](void*, const char*, size_t size) {
                 static bool first = true;
                 if (!std::exchange(first, false)) return static_cast<ssize_t>(size);
                 Log::start_logger();
                 put_all(*other, MANY);
                 std::thread([] { put(writing, "too late"); }).join();
                 exit(0);
             };
             ASSERT_EQ(ULOG_OK, writing.open("writing", stream_that_writes_by(write, nullptr), 0, nullptr));
             put(writing, "first");
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const int status = wait_for(start([&] {
            auto* log = opened("engine").release(); // deleted by nobody, but where exit does it
            Log::start_logger();
            c.run(*log);
        }));
        EXPECT_EQ(0, status);
        EXPECT_EQ(numbers(MANY), body("engine_A.log"));
        EXPECT_EQ(static_cast<size_t>(MANY), records_in("engine"));
        std::filesystem::remove_all(root + "/log");
        std::filesystem::remove(root + "/ldf/engine_A.ldf");
    }
}

// Each thing that a thread of the parent may be doing at a fork.
TEST_F(LogProcessTest, ForkedChildrenLogWhateverThreadsOfTheParentDo) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "a thread of the parent may have held the locks of the sanitizer's allocator";
#endif
    constexpr int PRODUCERS = 4, CHILDREN = 60;
    register_as(FFDC_ROLE_SVC_THREAD);
    auto shared = opened("engine");
    const std::unique_ptr<Log> terminal = opened("terminal", fopen("/dev/null", "w"));
    Log::start_logger();
    std::atomic<bool> is_over{false};
    std::array<long, PRODUCERS> sent = {};
    std::vector<std::thread> producers;
    for (int p = 0; p < PRODUCERS; ++p)
        producers.emplace_back([&, p] {
            register_as(FFDC_ROLE_SVC_THREAD);
            for (long& n = sent[static_cast<size_t>(p)]; n < 10000 && !is_over; ++n) {
                QEN_MESSAGE(shared.get(), SEV_INFO, BARE, 25, 1, "%d %ld", p, n);
                QEN_MESSAGE(terminal.get(), SEV_ERR, BARE & ~ULOG_NO_EVENT, 25, 1, "%ld", n);
            }
            Log::unregister_for_ffdc();
        });
    producers.emplace_back([&] {
        for (int n = 0; n < 50000 && !is_over; ++n) QENSyslog(SEV_INFO, "parent");
    });
    std::vector<pid_t> children;
    for (int c = 0; c < CHILDREN; ++c) {
        if (c == CHILDREN / 2) Log::stop_logger();
        children.push_back(start([&] {
            QEN_MESSAGE(shared.get(), SEV_ERR, BARE & ~ULOG_NO_EVENT, 25, 1, "child %d", c);
            QENSyslog(SEV_INFO, "child");
            Log::dump_ffdc(FFDC_ROLE_SVC_THREAD, false);
            if (c % 10 != 0) exit(0);
            if (CHILD_MAY_START_THREADS) Log::start_logger();
            Log* own = opened(("child" + std::to_string(c)).c_str()).release();
            put_all(*own, 100);
            exit(0);
        }));
        std::this_thread::sleep_for(1ms);
    }
    for (const pid_t child : children) EXPECT_EQ(0, wait_for(child));
    is_over = true;
    for (auto& p : producers) p.join();
    Log::unregister_for_ffdc();
    Log::stop_logger();
    shared.reset();

    std::map<std::string, long> next;
    std::istringstream lines(body("engine_A.log"));
    for (std::string line; std::getline(lines, line);) {
        const std::string who = line.substr(0, line.find(' '));
        if (who == "child")
            ++next[line];
        else
            EXPECT_EQ(who + " " + std::to_string(next[who]++), line);
    }
    long total = 0;
    for (int p = 0; p < PRODUCERS; ++p) {
        EXPECT_EQ(sent[static_cast<size_t>(p)], next[std::to_string(p)]);
        total += sent[static_cast<size_t>(p)];
    }
    for (int c = 0; c < CHILDREN; ++c) {
        EXPECT_EQ(1, next["child " + std::to_string(c)]) << c;
        const std::string own = "child" + std::to_string(c);
        EXPECT_EQ(c % 10 == 0 ? numbers(100) : "<no header>", body(own + "_A.log"));
        EXPECT_EQ(c % 10 == 0 ? 100u : 0u, records_in(own));
    }
    EXPECT_EQ(static_cast<size_t>(total), records_in("engine"));
    EXPECT_EQ(static_cast<size_t>(CHILDREN), dump_count()) << "each under its own process number";
}

TEST_F(LogProcessTest, AForkedChildRotatesNothingAndFollowsItsParent) {
    auto log = opened("engine");
    const auto put_in_child = [&](const char* text) {
        EXPECT_EQ(0, wait_for(start([&] {
                      log->rotate();
                      put(*log, text);
                      exit(0);
                  })));
    };
    put_in_child("before the parent's first line");
    EXPECT_EQ("before the parent's first line\n", body("engine_A.log"));
    put(*log, "first");
    log->write_dbg(DBG_1, "f", "g", 1, BARE, 25, 1, "not yet flushed");
    put_in_child("child");
    put(*log, "second");
    EXPECT_EQ("before the parent's first line\nfirst\nchild\nnot yet flushed\nsecond\n",
              body("engine_A.log"));

    int ready[2], rotated[2];
    ASSERT_TRUE(pipe(ready) == 0 && pipe(rotated) == 0);
    const pid_t child = start([&] {
        char byte = 0;
        (void)!write(ready[1], &byte, 1);
        (void)!read(rotated[0], &byte, 1);
        put(*log, "late child");
        exit(0);
    });
    char byte = 0;
    ASSERT_EQ(1, read(ready[0], &byte, 1));
    log->rotate();
    put(*log, "third");
    ASSERT_EQ(1, write(rotated[1], &byte, 1));
    EXPECT_EQ(0, wait_for(child));
    EXPECT_EQ("third\nlate child\n", body("engine_A.log"));
    EXPECT_EQ(3u, records_in("engine"));
    for (const int fd : {ready[0], ready[1], rotated[0], rotated[1]}) close(fd);
}

TEST_F(LogProcessTest, AForkWaitsNotForEverForAWriteInProgress) {
    static std::atomic<int> state{0}; // 1: the write has begun, 2: it may end
    static std::atomic<int> writes{0};
    const auto write = [](void*, const char*, size_t size) {
        ++writes;
        state = 1;
        while (state != 2) std::this_thread::sleep_for(1ms);
        return static_cast<ssize_t>(size);
    };
    FILE* fp = stream_that_writes_by(write, nullptr);
    const auto blocked = opened("blocked", fp), free_log = opened("engine");
    std::thread writer([&] { put(*blocked, "long"); });
    while (state != 1) std::this_thread::yield();
    const pid_t child = start([&] {
        state = 2;
        put(*blocked, "dropped");
        put(*free_log, "child");
        _exit(writes - 1);
    });
    state = 2;
    writer.join();
    EXPECT_EQ(0, wait_for(child));
    EXPECT_EQ("child\n", body("engine_A.log"));
    fclose(fp);
}

TEST_F(LogProcessTest, OneProcessWritesALog) {
    const auto open_in_child = [&](bool deletes) {
        const int status = wait_for(start([&] {
            Log::destroy(); // what a process of its own would not have
            Log::init("QEN", "K-16", nullptr);
            clear_syslog();
            auto* log = new Log;
            const int result = log->open("engine", nullptr, 0, nullptr);
            if (result == ULOG_OK) put(*log, "other");
            if (deletes) delete log;
            const std::string report =
                "3Process " + std::to_string(getppid()) + " writes " + log_path("engine_A.log");
            _exit(syslog_texts() == (result == 0 ? std::vector<std::string>() : std::vector{report}) ? result
                                                                                                     : 98);
        }));
        return WEXITSTATUS(status);
    };
    auto log = opened("engine");
    put(*log, "one");
    for (const bool deletes : {false, true}) EXPECT_EQ(ULOG_EREGISTERED, open_in_child(deletes));
    ASSERT_EQ(ULOG_OK, log->open("another", stderr, 0, nullptr));
    EXPECT_EQ(ULOG_OK, open_in_child(/*deletes=*/false)) << "the process ends without closing the log";
    ASSERT_EQ(ULOG_OK, log->open("engine", nullptr, 0, nullptr));
    EXPECT_EQ(ULOG_EREGISTERED, open_in_child(true));
    log.reset();
    EXPECT_EQ(ULOG_OK, open_in_child(true));
    EXPECT_EQ("one\nother\nother\n", body("engine_A.log"));
}

#if !defined __SANITIZE_ADDRESS__ && !defined __SANITIZE_THREAD__ // which bring their own operators
// Each allocation of open fails once. Where that is fatal by contract, the process ends with a report.
TEST_F(LogProcessTest, OpenWithoutMemoryGivesTheNameFree) {
    int refused = 0;
    for (int calls = 0, result = ULOG_ENOMEM; result != ULOG_OK && calls < 100; ++calls) {
        const int status = wait_for(start([&] {
            close(STDERR_FILENO);
            Log log;
            int rc;
            {
                const FailingMalloc limit(calls);
                rc = log.open("engine", nullptr, 0, nullptr);
            }
            const bool is_closed = Log_obj("engine") == nullptr && log.is_enabled(DBG_1) == 0;
            if (rc == ULOG_ENOMEM && (!is_closed || opened("engine") == nullptr)) _exit(97);
            _exit(rc);
        }));
        if (WIFSIGNALED(status)) continue;
        result = WEXITSTATUS(status);
        ASSERT_TRUE(result == ULOG_ENOMEM || result == ULOG_OK) << result;
        if (result == ULOG_ENOMEM) ++refused;
    }
    EXPECT_GT(refused, 3);
}
#endif

TEST_F(LogProcessTest, ADaemonsStandardDescriptorsStayClosed) {
    EXPECT_EQ(0, wait_for(start([&] {
                  setenv("TAQ_ENABLE_LDF", "0", 1);
                  for (const int fd : {0, 1, 2}) close(fd);
                  auto log = opened("engine");
                  for (int i = 0; i < 2; ++i) {
                      put(*log, "text");
                      log->rotate();
                  }
                  log.reset();
                  log = opened("engine"); // continues the file
                  put(*log, "text");
                  for (const int fd : {0, 1, 2})
                      if (fcntl(fd, F_GETFD) != -1) _exit(1);
                  exit(0);
              })));
    EXPECT_EQ("text\ntext\n", body("engine_A.log"));
}

} // namespace
