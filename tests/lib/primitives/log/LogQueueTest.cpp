#include <climits>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>

#include <gmock/gmock.h>

#include "LogFixture.h"
#include "primitives/log/LogQueue.h"
#include "primitives/log/MessageSite.h"
#include "primitives/values/VList.h"

namespace {

constexpr int BARE = ULOG_BARE_TEXT | ULOG_NO_SOURCE;

class LogQueueTest : public LogFixture {
protected:
    LogQueueTest() {
        setenv("TAQ_ENABLE_LDF", "0", 1);
        EXPECT_EQ(ULOG_OK, log.open("engine", nullptr, 0, nullptr));
        log.set_maxlen(1 << 30);
    }
    std::vector<std::string> lines() const {
        std::vector<std::string> all;
        std::string text = body("engine_A.log"), line;
        for (char c : text) {
            if (c != '\n') {
                line += c;
                continue;
            }
            all.push_back(line);
            line.clear();
        }
        return all;
    }
    void put(const std::string& text) {
        log.write_app(SEV_INFO, "f", "g", 1, BARE | ULOG_HAND_OVER, 25, 1, message(text).release());
    }
    Log log;
};

TEST_F(LogQueueTest, EverythingQueuedIsWrittenInOrderBeforeStopReturns) {
    std::vector<std::string> expected;
    Log::start_logger();
    const auto kept = message("kept");
    for (int i = 0; i < 2500; ++i) {
        const std::string text = std::to_string(i);
        if (i % 4 == 0) {
            put(text);
        } else if (i % 4 == 1) {
            log.write_dbg(DBG_1, "f", "g", 1, BARE, 25, 1, text.c_str());
        } else if (i % 4 == 2) {
            log.write_buf("f", "g", 1, SEV_INFO, BARE, 25, 1, text.c_str());
        } else {
            char* mine = strcpy(new char[text.size() + 1], text.c_str());
            log.write_dbg(DBG_1, "f", "g", 1, BARE | ULOG_HAND_OVER, 25, 1, mine);
        }
        expected.push_back(text);
    }
    log.write_app(SEV_INFO, "f", "g", 1, BARE, 25, 1, kept.get());
    expected.emplace_back("kept");
    Log::stop_logger();
    EXPECT_EQ(expected, lines());
    EXPECT_STREQ("kept", kept->find(21)->getstr()) << "stays the caller's";
}

TEST_F(LogQueueTest, StopsAtOnceAndStartsAgain) {
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 5; ++i) {
        Log::start_logger();
        Log::start_logger(); // no effect
        EXPECT_TRUE(Log::run_thread());
        put("q" + std::to_string(i));
        Log::stop_logger();
        Log::stop_logger(); // no effect
        EXPECT_FALSE(Log::run_thread());
        put("d" + std::to_string(i));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2)) << "waited for its time-out";
    EXPECT_THAT(lines(), testing::ElementsAre("q0", "d0", "q1", "d1", "q2", "d2", "q3", "d3", "q4", "d4"));
}

TEST_F(LogQueueTest, ProducersOfAllThreadsKeepTheirOrderAcrossStartAndStop) {
    constexpr int THREADS = 4, EACH = 2000;
    // Producers write by themselves while the logger is stopped: one log for each, since a log is used by one
    // thread at a time.
    std::vector<std::unique_ptr<Log>> logs;
    for (int t = 0; t < THREADS; ++t) {
        logs.push_back(std::make_unique<Log>());
        ASSERT_EQ(ULOG_OK, logs.back()->open(("p" + std::to_string(t)).c_str(), nullptr, 0, nullptr));
        logs.back()->write_buf("f", "g", 1, SEV_INFO, BARE, 25, 1, "first");
    }
    Log::start_logger();
    std::vector<std::thread> producers;
    for (int t = 0; t < THREADS; ++t)
        producers.emplace_back([&logs, t] {
            for (int i = 0; i < EACH; ++i)
                logs[static_cast<size_t>(t)]->write_buf("f", "g", 1, SEV_INFO, BARE, 25, 1,
                                                        std::to_string(i).c_str());
        });
    Log::stop_logger();
    for (auto& p : producers) p.join();
    std::string expected = "first\n";
    for (int i = 0; i < EACH; ++i) expected += std::to_string(i) + "\n";
    for (int t = 0; t < THREADS; ++t) EXPECT_EQ(expected, body("p" + std::to_string(t) + "_A.log"));
}

// Remembers the texts it was given; the first one keeps the writing thread until the gate opens.
class GatedLog : public Log {
public:
    void write_log(time_t, int, const char*, const char*, int, int, int, int, const char* msgp,
                   MsgStruct*) override {
        std::unique_lock guard(_lock);
        _texts.emplace_back(msgp);
        _changed.notify_all();
        if (_texts.size() == 1) _changed.wait(guard, [this] { return _open; });
    }
    // Whether n texts came within the time.
    bool has(size_t n, std::chrono::milliseconds time) {
        std::unique_lock guard(_lock);
        return _changed.wait_for(guard, time, [&] { return _texts.size() >= n; });
    }
    std::vector<std::string> texts() {
        std::lock_guard guard(_lock);
        return _texts;
    }
    void open_gate() {
        std::lock_guard guard(_lock);
        _open = true;
        _changed.notify_all();
    }

private:
    std::mutex _lock;
    std::condition_variable _changed;
    bool _open = false;
    std::vector<std::string> _texts;
};

TEST_F(LogQueueTest, NobodyOvertakesWhatTheFinishingThreadStillHasToWrite) {
    GatedLog gated;
    const auto put_text = [&gated](const char* text) {
        gated.write_dbg(DBG_1, "f", "g", 1, BARE, 25, 1, text);
    };
    Log::start_logger();
    put_text("first");
    ASSERT_TRUE(gated.has(1, std::chrono::seconds(30)));
    put_text("second");
    std::thread stopper(Log::stop_logger);
    while (Log::run_thread()) std::this_thread::yield();
    std::thread producer(put_text, "third");
    EXPECT_FALSE(gated.has(2, std::chrono::milliseconds(50)));
    gated.open_gate();
    producer.join();
    stopper.join();
    EXPECT_THAT(gated.texts(), testing::ElementsAre("first", "second", "third"));
}

// Whichever way a message takes, its text and arguments must be those that the C library's formatter makes.
TEST_F(LogQueueTest, FormattedMessagesAreTheSameOnBothWays) {
    const std::string longest(4095, 'x'), longer(5000, 'y');
    const char* volatile null = nullptr; // the compiler must not see that it is null
    log.set_cache_enabled();
    std::vector<std::string> expected;
    for (bool queued : {false, true}) {
        if (queued) Log::start_logger();
        QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "plain 100%%");
        QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "%s%d|%i|%u|%ld|%li|%lu", "", INT_MIN, 7, UINT_MAX, LONG_MIN,
                    -1L, ULONG_MAX);
        QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "%s and %5d", null, 42);
        QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "<%s>%d", longest.c_str(), 5);
        QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "%s", longer.c_str());
        QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "%s", "");
        if (queued) Log::stop_logger();
        expected.insert(expected.end(),
                        {"plain 100%",
                         "-2147483648|7|4294967295|-9223372036854775808|-1|18446744073709551615",
                         "(null) and    42", "<" + longest.substr(1), longer.substr(0, 4095), ""});
    }
    EXPECT_EQ(expected, lines());
    const std::vector<std::vector<std::string>> args = {
        {},
        {"", "-2147483648", "7", "4294967295", "-9223372036854775808", "-1", "18446744073709551615"},
        {"(null)", "   42"},
        {longest, "5"},
        {longer.substr(0, 4095)},
        {""}};
    ASSERT_EQ(12, log.cache_vlistp()->count());
    const VElem* entry = log.cache_vlistp()->head();
    for (size_t i = 0; i < 12; ++i, entry = entry->next()) {
        std::vector<std::string> found;
        for (const MsgElem* e = entry->getmsg()->find(22); e != nullptr; e = e->next())
            found.emplace_back(e->getstr());
        EXPECT_EQ(args[i % 6], found) << i;
    }
}

TEST_F(LogQueueTest, AdminMessagesAndSwitchesPassThroughTheThread) {
    Log::start_logger();
    Log::admin_msg(SEV_ERR, "f", "g", 1, 25, 1, message("50% %s").release());
    Log::admin_msg(SEV_ERR, "f", "g", 1, 25, 1, new MsgStruct); // no text: nothing
    std::thread other([this] {                                  // while the thread may be writing
        for (int i = 0; i < 100; ++i) {
            log.enable_debug("ipm");
            (void)log.is_enabled(DBG_IPM);
            log.clear_debug_flag(DBG_IPM, LOG_DBG_FLUSH);
            Log::set_adminlog_facility(0);
        }
    });
    for (int i = 0; i < 100; ++i) log.write_dbg(DBG_IPM, "f", "g", 1, BARE, 25, 1, "x");
    other.join();
    put("flushes");
    Log::stop_logger();
    ASSERT_EQ(1u, syslog_lines().size());
    EXPECT_EQ("50% %s", syslog_lines()[0].text);
    EXPECT_EQ(101u, lines().size());
}

TEST_F(LogQueueTest, DequeueTakesAllRecordsAndLeavesAnEmptyQueue) {
    EXPECT_EQ(nullptr, Log::deq(1)) << "nothing within a millisecond";
    for (int i = 0; i < 3; ++i)
        Log::enq(
            new vlog_msg_t(&log, 1, SEV_INFO, "f", "g", 1, BARE, 25, i, nullptr, message("t").release()));
    std::unique_ptr<DList> records(Log::deq(-1));
    ASSERT_NE(nullptr, records);
    EXPECT_EQ(3, records->count());
    for (int i = 0; DLink* link = records->head(); ++i) {
        auto* record = static_cast<vlog_msg_t*>(link->object());
        EXPECT_EQ(i, record->id);
        delete record->msg_structp;
        delete record; // leaves the list
    }
    EXPECT_EQ(nullptr, Log::deq(0));
}

TEST_F(LogQueueTest, RecordsBehindTheLastDequeueAreWritten) {
    Log::enq(
        new vlog_msg_t(&log, 1, SEV_INFO, "f", "g", 1, BARE, 25, 1, nullptr, message("early").release()));
    Log::start_logger();
    Log::stop_logger();
    EXPECT_THAT(lines(), testing::ElementsAre("early"));
}

} // namespace
