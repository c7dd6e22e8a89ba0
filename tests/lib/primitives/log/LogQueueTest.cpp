// The logger thread and its queue, and logs that several threads write.
#include "primitives/log/LogQueue.h"
#include "LogFixture.h"

// The linker sends calls of pthread_cond_signal here.
static std::atomic<int> wake_ups; // of any thread
extern "C" int __real_pthread_cond_signal(pthread_cond_t* condition);
extern "C" int __wrap_pthread_cond_signal(pthread_cond_t* condition) {
    ++wake_ups;
    return __real_pthread_cond_signal(condition);
}

struct LogQueueTest : LogFixture {
    LogQueueTest() {
        setenv("TAQ_ENABLE_LDF", "0", 1);
        EXPECT_EQ(ULOG_OK, log.open("engine", nullptr, 0, nullptr));
        log.set_maxlen(1 << 30);
    }
    // The ways on which a text reaches a log: as a debug text, and as a message, which also flushes, of the
    // caller's or handed over.
    static void put(Log& log, const std::string& text, int way) {
        if (way == 0) return log.write_dbg(DBG_1, "f", "g", 1, BARE, 25, 1, text.c_str());
        if (way == 1) return LogFixture::put(log, text);
        const auto kept = message(text);
        log.write_app(SEV_INFO, "f", "g", 1, BARE, 25, 1, kept.get());
        EXPECT_EQ(text, kept->find(MSGID_TEXT)->getstr()) << "stays the caller's";
    }
    Log log;
};

TEST_F(LogQueueTest, WritesInOrderAndStopsAtOnceAndStartsAgain) {
    long count = 0;
    std::chrono::steady_clock::duration shortest_stop = 1h;
    for (int round = 0; round < 6; ++round) {
        for (int i = 0; i < 2; ++i) Log::start_logger(); // once is enough
        EXPECT_TRUE(Log::run_thread());
        std::this_thread::sleep_for(20ms); // it waits for records, up to a second
        for (int n = 0; n < 500; ++n) put(log, "n " + std::to_string(count++), n % 3);
        while (line_count() < count) std::this_thread::sleep_for(1ms);

        const std::string name = "brief" + std::to_string(round);
        auto brief = opened(name);
        for (int n = 0; n < 500; ++n) put(*brief, "n " + std::to_string(n), 2);
        round % 2 == 0 ? brief.reset() : (void)brief->open("another", nullptr, 0, nullptr);
        EXPECT_EQ(500, counted(name + "_A.log")["n"]) << "a log ends with what was queued for it";

        std::this_thread::sleep_for(20ms);
        const auto begin = std::chrono::steady_clock::now();
        for (int i = 0; i < 2; ++i) Log::stop_logger();
        shortest_stop = std::min(shortest_stop, std::chrono::steady_clock::now() - begin);
        EXPECT_FALSE(Log::run_thread());
        put(log, "n " + std::to_string(count++), 1);
        EXPECT_EQ(count, counted()["n"]);
    }
    EXPECT_LT(shortest_stop, 500ms) << "each one waited for its time-out";
    Log::enq(new vlog_msg_t(&log, {1, SEV_INFO, "f", "g", 1, BARE, 25, 1}, nullptr, message("t").release()));
    const std::unique_ptr<DList> records(Log::deq(-1));
    ASSERT_EQ(1, records->count());
    const std::unique_ptr<vlog_msg_t> taken(static_cast<vlog_msg_t*>(records->head()->object()));
    delete taken->msg_structp;
    EXPECT_EQ(nullptr, Log::deq(1));
}

// Its stream shows a record on it with each write, and logs to it and to another one.
TEST_F(LogQueueTest, WithinItsOwnWriteALogShowsAndWritesNothing) {
    for (const bool is_queued : {false, true}) {
        std::unique_ptr<Log> talking;
        std::string written;
        std::atomic<int> writes{0};
        CallingStream stream([&](std::string_view bytes) {
            written += bytes;
            if (writes > 10) return;
            talking->display_ldf_entry(SEV_INFO, 0, 0, 25 << 16 | 1, nullptr, 0);
            put(*talking, "nested", 0);
            put(log, "about " + std::string(bytes.substr(0, 3)), 2);
            ++writes;
        });
        talking = opened("talking", stream.fp);
        if (is_queued) Log::start_logger();
        put(*talking, "one", 2);
        put(*talking, "two", 1);
        while (writes < 2) std::this_thread::yield(); // and the logger thread goes on
        Log::stop_logger();
        EXPECT_EQ("one\ntwo\n", written);
        talking.reset();
    }
    EXPECT_EQ("about one\nabout two\nabout one\nabout two\n", body());
}

TEST_F(LogQueueTest, NobodyOvertakesWhatTheFinishingThreadStillHasToWrite) {
    GatedStream gate;
    const auto gated = opened("gated", gate.fp);
    Log::start_logger();
    put(*gated, "first", 0);
    while (gate.begun == 0) std::this_thread::yield(); // and now the thread is busy
    wake_ups = 0;
    std::string expected = "first\n";
    const auto put_next = [&](const std::string& text) { put(*gated, text, 0), expected += text + "\n"; };
    for (int i = 0; i < 100; ++i) put_next(std::to_string(i));
    EXPECT_EQ(1, wake_ups) << "once per batch";
    {
        const std::jthread stopper(Log::stop_logger), second_stopper(Log::stop_logger);
        while (Log::run_thread()) std::this_thread::yield();
        const std::jthread producer([&] { put_next("last"); });
        std::this_thread::sleep_for(50ms);
        EXPECT_EQ(1, gate.begun);
        gate.is_open = true;
    }
    EXPECT_EQ(expected, gate.written);
}

TEST_F(LogQueueTest, ALogEndsWithWhatWaitsAndAChildWritesNothingOfIt) {
    GatedStream gate;
    const auto gated = opened("gated", gate.fp);
    auto brief = opened("brief");
    Log::start_logger();
    put(*gated, "first", 0);
    while (gate.begun == 0) std::this_thread::yield(); // and now the thread is busy
    for (int n = 0; n < 5000; ++n) put(*brief, "n " + std::to_string(n), 1);
#if !defined __SANITIZE_ADDRESS__ && !defined __SANITIZE_THREAD__ // whose children may start no thread here
    EXPECT_EQ(0, wait_for(start([] { Log::start_logger(), Log::stop_logger(), _exit(0); })));
#endif
    std::jthread ender([&] { brief.reset(); });
    std::this_thread::sleep_for(20ms);
    gate.is_open = true;
    ender.join();
    EXPECT_EQ(5000, counted("brief_A.log")["n"]);
    Log::stop_logger();
}

TEST_F(LogQueueTest, NobodyWakesAThreadThatNapsAndASleepingOneIsWoken) {
    std::atomic<int> writes{0};
    CallingStream stream([&](std::string_view) { ++writes; });
    const auto watched = opened("watched", stream.fp);
    Log::start_logger();
    int fewest = INT_MAX; // wake-ups, for 100 messages in short intervals
    for (int round = 0; round < 50 && fewest > 3; ++round) {
        wake_ups = 0;
        for (int i = 0; i < 100; ++i) {
            const auto next = std::chrono::steady_clock::now() + 100us;
            put(*watched, "x", 1);
            while (std::chrono::steady_clock::now() < next) {
            }
        }
        fewest = std::min<int>(fewest, wake_ups);
    }
    EXPECT_LE(fewest, 3);
    std::chrono::steady_clock::duration longest{};
    for (int i = 0; i < 400; ++i) { // when the nap ends, and around it
        const int before = writes;
        const auto begin = std::chrono::steady_clock::now();
        put(*watched, "x", 1);
        while (writes == before) std::this_thread::yield();
        longest = std::max(longest, std::chrono::steady_clock::now() - begin);
        std::this_thread::sleep_for(std::chrono::microseconds(i * 3));
    }
    EXPECT_LT(longest, 900ms) << "a message waited for the end of a sleep";
    Log::stop_logger();
}
