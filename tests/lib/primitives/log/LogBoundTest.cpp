// The bound of the logger's queue, and the memory of what waits in it.
#include "LogFixture.h"
#include "primitives/log/LogQueue.h"

namespace {

// Counts the messages that it is given, and takes none while the gate is shut.
struct GatedLog : Log {
    void write_log(time_t, int, const char*, const char*, int, int, int, int, const char*,
                   MsgStruct*) override {
        while (!is_open) std::this_thread::sleep_for(1ms);
        ++written;
    }
    std::atomic<int> written{0};
    std::atomic<bool> is_open{false};
};

class LogBoundTest : public LogFixture {
protected:
    LogBoundTest() { bound("10"); }
    ~LogBoundTest() override {
        gated.is_open = true;
        Log::stop_logger();
        bound(nullptr);
    }
    static void bound(const char* most, const char* full = nullptr) {
        most != nullptr ? setenv("QEN_LOG_QUEUE_MAX", most, 1) : unsetenv("QEN_LOG_QUEUE_MAX");
        full != nullptr ? setenv("QEN_LOG_QUEUE_FULL", full, 1) : unsetenv("QEN_LOG_QUEUE_FULL");
    }
    static bool post(ILog* log, int sev = SEV_INFO, int flags = BARE) {
        return logger_thread().post(
            new vlog_msg_t(log, {1, sev, "f", "g", 1, flags, 25, 1}, nullptr, message("x").release()));
    }
    void fill() {
        Log::start_logger();
        for (int i = 0; i < 10; ++i) EXPECT_TRUE(post(&gated));
    }

    GatedLog gated;
};

TEST_F(LogBoundTest, OnlyNumbersOfMessagesBound) {
    const auto most = [] { return QueueBound::from_environment().most; };
    for (const char* wrong :
         {"0", "-1", "2147483648", "99999999999999999999", "", " 5", "5k", "+5", "0x10"}) {
        bound(wrong);
        EXPECT_EQ(0u, most()) << wrong;
    }
    bound(nullptr);
    EXPECT_EQ(0u, most());
    bound("2147483647");
    EXPECT_EQ(2147483647u, most());
    for (const char* full : {"drop", "block", "DROP", "", "dropped"}) {
        bound("1", full);
        EXPECT_EQ(full == std::string("drop"), QueueBound::from_environment().drops) << full;
    }
}

TEST_F(LogBoundTest, AFullQueueBlocksUntilSomethingIsWritten) {
    fill();
    std::atomic<int> sent{10};
    std::vector<std::thread> producers;
    for (int p = 0; p < 3; ++p)
        producers.emplace_back([&] {
            for (int i = 0; i < 20; ++i, ++sent) EXPECT_TRUE(post(&gated));
        });
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(10, sent);
    EXPECT_EQ(0, wait_for(start([] { // a child has no queue
                  _exit(LoggerThread::is_on() ? 1 : 0);
              })));
    std::thread stopper([] { Log::stop_logger(); });
    while (Log::run_thread()) std::this_thread::yield();
    gated.is_open = true;
    stopper.join();
    for (std::thread& producer : producers) producer.join();
    EXPECT_EQ(70, gated.written);
}

TEST_F(LogBoundTest, AFullQueueDropsWhatIsNoError) {
    bound("10", "drop");
    fill();
    EXPECT_FALSE(post(&gated, SEV_WARN));
    EXPECT_FALSE(post(&gated, DBG_1, BARE | ULOG_DEBUG));
    put(gated, "dropped");
    gated.write_dbg(DBG_1, "f", "g", 1, BARE, 25, 1, "dropped");
    EXPECT_EQ(2u, gated.losses().lines_lost());
    EXPECT_EQ(1u, gated.losses().records_lost());
    std::atomic<int> sent{0};
    {
        std::vector<std::jthread> waiting;
        for (const auto& [log, sev] : {std::pair<ILog*, int>(nullptr, SEV_INFO), // for the system log
                                       {&gated, SEV_ERR},
                                       {&gated, SEV_CRIT}})
            waiting.emplace_back([&, l = log, s = sev] { EXPECT_TRUE(post(l, s)), ++sent; });
        std::this_thread::sleep_for(50ms);
        EXPECT_EQ(0, sent);
        gated.is_open = true;
    }
    Log::stop_logger();
    EXPECT_EQ(12, gated.written);
    EXPECT_EQ(Strings{"6x"}, syslog_texts());
}

TEST_F(LogBoundTest, DroppedMessagesAreToldWhenNoOtherFollows) {
    bound("10", "drop");
    const auto log = opened("engine");
    fill();
    for (int i = 0; i < 3; ++i) put(*log, "dropped");
    gated.is_open = true;
    Log::stop_logger();
    EXPECT_FALSE(log->losses().is_due());
    EXPECT_EQ(1, record_count());
    EXPECT_EQ(1, line_count());
}

// The logger thread itself, and a thread within a log for which the logger thread may wait.
TEST_F(LogBoundTest, WhoMustNotWaitAppends) {
    const auto log = opened("engine");
    CallingStream stream([&](std::string_view) {
        for (int i = 0; i < 20; ++i) put(*log, "n");
    });
    const auto talking = opened("talking", stream.fp);
    fill();
    talking->write_log(1, SEV_INFO, "f", "g", 1, BARE, 25, 1, nullptr, message("x").get());
    gated.is_open = true;
    put(*talking, "x"); // by the logger thread
    Log::stop_logger();
    EXPECT_EQ(40, line_count());
}

TEST_F(LogBoundTest, AServiceUnderFullLoadStopsSoon) {
    bound("20000");
    const auto log = opened("engine");
    Log::start_logger();
    Producers producers(
        3, 1 << 30, [&](int p, long n) { QEN_MESSAGE(log.get(), SEV_INFO, BARE, 25, 1, "%d %ld", p, n); });
    std::this_thread::sleep_for(500ms);
    const auto begin = std::chrono::steady_clock::now();
    Log::stop_logger(); // while the producers go on
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
    producers.stop();
}

// ---- Memory

TEST(RecordPool, KeepsItsBytesApartAndGivesMemoryBack) {
    struct Late { // ends after the memory of its thread
        ~Late() {
            void* const record = RecordPool::get(100);
            memset(record, 'l', 100);
            RecordPool::release(record);
        }
    };
    for (int round = 0; round < 3; ++round) {
        std::vector<std::pair<char*, size_t>> records[8];
        std::vector<std::thread> threads;
        for (auto& mine : records)
            threads.emplace_back([&mine, mark = static_cast<char>('a' + (&mine - records))] {
                thread_local Late late;
                (void)&late;
                for (size_t i = 0; i < 3000; ++i) {
                    const size_t size = i % 500 == 0 ? 70000 : 1 + i * 37 % 900;
                    char* const record = static_cast<char*>(RecordPool::get(size));
                    EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(record) % 8);
                    memset(record, mark, size);
                    mine.emplace_back(record, size);
                }
            });
        for (auto& thread : threads) thread.join();
        const int taken = RecordPool::stretches();
        for (size_t t = 0; t < 8; ++t)
            for (const auto& [record, size] : records[t]) {
                EXPECT_EQ(size, static_cast<size_t>(std::count(record, record + size, "abcdefgh"[t])));
                RecordPool::release(record);
            }
        const int freed = taken - RecordPool::stretches(); // all but 4 MiB
        EXPECT_GT(freed, 100);
        EXPECT_LT(freed, 200) << "and the next round needs less";
        EXPECT_LT(RecordPool::stretches(), 67) << "and nothing of the ended threads stays";
    }
}

} // namespace
