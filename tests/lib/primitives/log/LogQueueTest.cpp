// The logger thread and its queue, and logs that several threads write.
#include <dlfcn.h>

#include "LogFixture.h"
#include "primitives/ldf/LdfReader.h"
#include "primitives/log/LogQueue.h"

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

std::atomic<int> wake_ups; // of any thread, see the end of this file

class LogQueueTest : public LogFixture {
protected:
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
        EXPECT_THAT(strings_of(*kept, 21), ElementsAre(text)) << "stays the caller's";
    }
    Log log;
};

TEST_F(LogQueueTest, WritesInOrderAndStopsAtOnceAndStartsAgain) {
    long count = 0;
    const auto put_next = [&](int way) { put(log, "n " + std::to_string(count++), way); };
    std::chrono::steady_clock::duration shortest_stop = 1h;
    for (int i = 0; i < 5; ++i) {
        Log::start_logger();
        Log::start_logger(); // no effect
        EXPECT_TRUE(Log::run_thread());
        std::this_thread::sleep_for(20ms); // it waits for records, up to a second
        for (int n = 0; n < 500; ++n) put_next(n % 3);
        while (std::ssize(lines()) < count) std::this_thread::sleep_for(1ms);
        std::this_thread::sleep_for(20ms);
        const auto begin = std::chrono::steady_clock::now();
        Log::stop_logger();
        shortest_stop = std::min(shortest_stop, std::chrono::steady_clock::now() - begin);
        Log::stop_logger(); // no effect
        EXPECT_FALSE(Log::run_thread());
        put_next(1);
        EXPECT_EQ(count, counted(lines())["n"]);
    }
    EXPECT_LT(shortest_stop, 500ms) << "each one waited for its time-out";
    Log::enq(new vlog_msg_t(&log, {1, SEV_INFO, "f", "g", 1, BARE, 25, 1}, nullptr, message("t").release()));
    const std::unique_ptr<DList> records(Log::deq(-1));
    ASSERT_EQ(1, records->count());
    const std::unique_ptr<vlog_msg_t> taken(static_cast<vlog_msg_t*>(records->head()->object()));
    delete taken->msg_structp;
    EXPECT_EQ(nullptr, Log::deq(1));
}

TEST_F(LogQueueTest, ProducersOfOneLogOverStopsAndStartsOfTheLogger) {
    unsetenv("TAQ_ENABLE_LDF");
    auto shared = opened("shared");
    Producers producers(8, 12000, [&](size_t p, long n) {
        QEN_MESSAGE(shared.get(), SEV_INFO, BARE, 25, 1, "%zu %ld", p, n);
    });
    for (int i = 0; i < 200; ++i) {
        Log::start_logger();
        shared->enable_debug("ipm");
        shared->clear_debug_flag(DBG_IPM, LOG_DBG_FLUSH);
        Log::stop_logger();
    }
    producers.stop();
    shared.reset();

    Strings in_records;
    LdfReader::init();
    for (const char* generation : {"shared_C", "shared_B", "shared_A"}) {
        LdfReader reader;
        LdfRecordView view;
        if (reader.open(nullptr, generation) != LDF_OK) continue;
        while (reader.next_record({}, view) == LDF_OK) {
            Strings args;
            view.for_each_arg([&](std::string_view arg) { args.emplace_back(arg); });
            in_records.push_back(args.at(0) + " " + args.at(1));
        }
    }
    LdfReader::destroy();
    std::map<std::string, long> sent;
    for (size_t p = 0; p < 8; ++p) sent[std::to_string(p)] = producers.sent[p];
    EXPECT_EQ(sent, counted(lines("shared_A.log")));
    EXPECT_EQ(sent, counted(in_records));
}

TEST_F(LogQueueTest, ADeletedLogHasWrittenWhatWasQueuedForIt) {
    const Strings expected(500, "text");
    Log::start_logger();
    for (int round = 0; round < 10; ++round) {
        const std::string name = "log" + std::to_string(round);
        auto brief = opened(name);
        for (const auto& text : expected) put(*brief, text, 2);
        if (round % 2 == 0)
            brief.reset();
        else
            (void)brief->open("another", nullptr, 0, nullptr);
        EXPECT_EQ(expected, lines(name + "_A.log"));
    }
    Log::stop_logger();
}

// A stream of the program's that with each write shows a record on its log, and logs to it and to another
// one.
TEST_F(LogQueueTest, WithinItsOwnWriteALogShowsAndWritesNothing) {
    for (const bool queued : {false, true}) {
        std::unique_ptr<Log> talking;
        Strings written;
        std::atomic<int> writes{0};
        CallingStream stream([&](std::string_view bytes) {
            written.emplace_back(bytes);
            if (written.size() > 10) return;
            talking->display_ldf_entry(SEV_INFO, 0, 0, 25 << 16 | 1, nullptr, 0);
            put(*talking, "nested", 0);
            put(log, "about " + written.back().substr(0, 3), 2);
            ++writes;
        });
        talking = opened("talking", stream.fp);
        if (queued) Log::start_logger();
        put(*talking, "one", 2);
        put(*talking, "two", 1);
        while (writes < 2) std::this_thread::yield(); // and the logger thread goes on
        Log::stop_logger();
        EXPECT_THAT(written, ElementsAre("one\n", "two\n"));
        talking.reset();
    }
    EXPECT_THAT(lines(), ElementsAre("about one", "about two", "about one", "about two"));
}

// Remembers the texts it was given, when the gate is open.
struct GatedLog : Log {
    void write_log(time_t, int, const char*, const char*, int, int, int, int, const char* msgp,
                   MsgStruct*) override {
        ++begun;
        while (!is_open) std::this_thread::sleep_for(1ms);
        texts.emplace_back(msgp);
    }
    std::atomic<int> begun{0};
    std::atomic<bool> is_open{false};
    Strings texts;
};

TEST_F(LogQueueTest, NobodyOvertakesWhatTheFinishingThreadStillHasToWrite) {
    GatedLog gated;
    Log::start_logger();
    put(gated, "first", 0);
    while (gated.begun == 0) std::this_thread::yield(); // and now the thread is busy
    wake_ups = 0;
    Strings expected = {"first"};
    for (int i = 0; i < 100; ++i) put(gated, expected.emplace_back(std::to_string(i)), 0);
#ifndef __SANITIZE_THREAD__
    EXPECT_EQ(1, wake_ups) << "once per batch";
#endif
    std::thread stopper(Log::stop_logger), second_stopper(Log::stop_logger);
    while (Log::run_thread()) std::this_thread::yield();
    std::thread producer([&] { put(gated, expected.emplace_back("last"), 0); });
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(1, gated.begun);
    gated.is_open = true;
    for (std::thread* t : {&producer, &stopper, &second_stopper}) t->join();
    EXPECT_EQ(expected, gated.texts);
}

} // namespace

#ifndef __SANITIZE_THREAD__
// Counts, then does what the C library does. Where that has two of them, the later one knows our conditions.
extern "C" int pthread_cond_signal(pthread_cond_t* condition) noexcept {
    using Signal = int (*)(pthread_cond_t*);
    static void* const later = dlvsym(RTLD_NEXT, "pthread_cond_signal", "GLIBC_2.3.2");
    static const auto real =
        reinterpret_cast<Signal>(later != nullptr ? later : dlsym(RTLD_NEXT, "pthread_cond_signal"));
    ++wake_ups;
    return real(condition);
}
#endif
