// The logger thread and its queue, and logs that several threads write.
#include <array>
#include <atomic>
#include <climits>
#include <condition_variable>
#include <cstring>
#include <dlfcn.h>
#include <mutex>
#include <pthread.h>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>

#include "LogFixture.h"
#include "primitives/ldf/LdfReader.h"
#include "primitives/log/LogQueue.h"
#include "primitives/log/MessageSite.h"
#include "primitives/values/VList.h"

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

constexpr int BARE = ULOG_BARE_TEXT | ULOG_NO_SOURCE;
std::atomic<int> wake_ups; // of any thread, see the end of this file

class LogQueueTest : public LogFixture {
protected:
    LogQueueTest() {
        setenv("TAQ_ENABLE_LDF", "0", 1);
        EXPECT_EQ(ULOG_OK, log.open("engine", nullptr, 0, nullptr));
        log.set_maxlen(1 << 30);
    }
    std::vector<std::string> lines(const std::string& file = "engine_A.log") const {
        std::istringstream in(body(file));
        std::vector<std::string> all;
        for (std::string line; std::getline(in, line);) all.push_back(line);
        return all;
    }
    // The ways on which a text reaches a log: as a debug text, and as a message, which also flushes; each
    // copied, or handed over.
    static void put(Log& log, const std::string& text, int way) {
        if (way == 0) {
            log.write_dbg(DBG_1, "f", "g", 1, BARE, 25, 1, text.c_str());
        } else if (way == 1) {
            char* mine = strcpy(new char[text.size() + 1], text.c_str());
            log.write_dbg(DBG_1, "f", "g", 1, BARE | ULOG_HAND_OVER, 25, 1, mine);
        } else if (way == 2) {
            const auto kept = message(text);
            log.write_app(SEV_INFO, "f", "g", 1, BARE, 25, 1, kept.get());
            EXPECT_EQ(text, kept->find(21)->getstr()) << "stays the caller's";
        } else {
            log.write_app(SEV_INFO, "f", "g", 1, BARE | ULOG_HAND_OVER, 25, 1, message(text).release());
        }
    }
    vlog_msg_t* record(int id) {
        return new vlog_msg_t(&log, 1, SEV_INFO, "f", "g", 1, BARE, 25, id, nullptr, message("t").release());
    }
    Log log;
};

TEST_F(LogQueueTest, EverythingQueuedIsWrittenInOrderBeforeStopReturns) {
    std::vector<std::string> expected;
    Log::start_logger();
    for (int i = 0; i < 2500; ++i) {
        expected.push_back(std::to_string(i));
        put(log, expected.back(), i % 4);
    }
    Log::stop_logger();
    EXPECT_EQ(expected, lines());
}

TEST_F(LogQueueTest, WritesAndStopsAtOnceAndStartsAgain) {
    const auto let_it_wait = [] { std::this_thread::sleep_for(20ms); }; // for records, up to a second
    const auto begin = std::chrono::steady_clock::now();
    for (size_t i = 0; i < 5; ++i) {
        Log::start_logger();
        Log::start_logger(); // no effect
        EXPECT_TRUE(Log::run_thread());
        let_it_wait();
        put(log, "q" + std::to_string(i), 3);
        while (lines().size() <= 2 * i) std::this_thread::sleep_for(1ms);
        let_it_wait();
        Log::stop_logger();
        Log::stop_logger(); // no effect
        EXPECT_FALSE(Log::run_thread());
        put(log, "d" + std::to_string(i), 3);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s) << "waited for its time-out";
    EXPECT_THAT(lines(), ElementsAre("q0", "d0", "q1", "d1", "q2", "d2", "q3", "d3", "q4", "d4"));
}

// "<producer> <number>", the numbers of each producer being 0, 1, 2, ...
class Sequences {
public:
    void see(const std::string& text) {
        int producer = 0;
        long number = 0;
        ASSERT_EQ(2, sscanf(text.c_str(), "%d %ld", &producer, &number)) << text;
        ASSERT_EQ(_next[producer]++, number) << "of producer " << producer;
    }
    long count_of(int producer) { return _next[producer]; }

private:
    std::map<int, long> _next;
};

TEST_F(LogQueueTest, ProducersOfOneLogOverStopsAndStartsOfTheLogger) {
    constexpr int PRODUCERS = 8, STOPS = 200;
    unsetenv("TAQ_ENABLE_LDF");
    auto shared = opened("shared");
    std::atomic<bool> is_over{false};
    std::array<long, PRODUCERS> sent = {};
    std::vector<std::thread> producers;
    for (int p = 0; p < PRODUCERS; ++p)
        producers.emplace_back([&, p] {
            for (long& n = sent[static_cast<size_t>(p)]; n == 0 || (n < 12000 && !is_over); ++n)
                QEN_MESSAGE(shared.get(), SEV_INFO, BARE, 25, 1, "%d %ld", p, n);
        });
    for (int i = 0; i < STOPS; ++i) {
        Log::start_logger();
        std::this_thread::yield();
        Log::stop_logger();
    }
    is_over = true;
    for (auto& p : producers) p.join();
    shared.reset();

    Sequences in_lines, in_records;
    for (const auto& line : lines("shared_A.log")) in_lines.see(line);
    LdfReader::init();
    for (const char* generation : {"shared_C", "shared_B", "shared_A"}) {
        LdfReader reader;
        if (reader.open(nullptr, generation) != LDF_OK) continue;
        LdfRecordView view;
        while (reader.next_record({}, view) == LDF_OK) {
            std::string text;
            view.for_each_arg([&](std::string_view arg) { text.append(arg) += ' '; });
            in_records.see(text);
        }
    }
    LdfReader::destroy();
    for (int p = 0; p < PRODUCERS; ++p) {
        EXPECT_EQ(sent[static_cast<size_t>(p)], in_lines.count_of(p));
        EXPECT_EQ(sent[static_cast<size_t>(p)], in_records.count_of(p));
    }
}

TEST_F(LogQueueTest, ADeletedLogHasWrittenWhatWasQueuedForIt) {
    std::vector<std::string> expected;
    for (int i = 0; i < 500; ++i) expected.push_back(std::to_string(i));
    Log::start_logger();
    for (int round = 0; round < 10; ++round) {
        const std::string name = "log" + std::to_string(round);
        auto brief = opened(name.c_str());
        for (const auto& text : expected) put(*brief, text, 2);
        if (round % 2 == 0)
            brief.reset();
        else
            EXPECT_EQ(ULOG_OK, brief->open("another", nullptr, 0, nullptr));
        EXPECT_EQ(expected, lines(name + "_A.log"));
    }
    Log::stop_logger();
}

// A stream of the program's that logs with each write: to the log that it belongs to, and to another one.
struct LoggingStream {
    Log &same, &other;
    std::string written{};
    std::atomic<int> writes{0};

    FILE* open() {
        FILE* fp = fopencookie(this, "w", {nullptr, write, nullptr, nullptr});
        setvbuf(fp, nullptr, _IONBF, 0);
        return fp;
    }
    static ssize_t write(void* cookie, const char* bytes, size_t size) {
        auto* self = static_cast<LoggingStream*>(cookie);
        const std::string text(bytes, size);
        self->written += text;
        for (Log* log : {&self->same, &self->other})
            log->write_dbg(DBG_1, "f", "g", 1, BARE, 25, 1, ("about " + text).c_str());
        ++self->writes;
        return static_cast<ssize_t>(size);
    }
};

TEST_F(LogQueueTest, AMessageFromWithinTheWriteOfItsLogIsDropped) {
    for (const bool queued : {false, true}) {
        Log talking;
        LoggingStream stream{talking, log};
        FILE* fp = stream.open();
        ASSERT_EQ(ULOG_OK, talking.open("talking", fp, 0, nullptr));
        if (queued) Log::start_logger();
        put(talking, "one", 2);
        put(talking, "two", 3);
        while (stream.writes < 2) std::this_thread::yield(); // and the logger thread goes on
        if (queued) Log::stop_logger();
        EXPECT_EQ("one\ntwo\n", stream.written);
        fclose(fp);
    }
    put(log, "end", 2); // flushes
    EXPECT_THAT(lines(),
                ElementsAre("about one", "", "about two", "", "about one", "", "about two", "", "end"));
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
    Log::start_logger();
    put(gated, "first", 0);
    ASSERT_TRUE(gated.has(1, 30s));
    put(gated, "second", 0);
    std::thread stopper(Log::stop_logger), second_stopper(Log::stop_logger);
    while (Log::run_thread()) std::this_thread::yield();
    std::thread producer([&gated] { put(gated, "third", 0); });
    EXPECT_FALSE(gated.has(2, 50ms));
    gated.open_gate();
    for (std::thread* t : {&producer, &stopper, &second_stopper}) t->join();
    EXPECT_THAT(gated.texts(), ElementsAre("first", "second", "third"));
}

#ifndef __SANITIZE_THREAD__
TEST_F(LogQueueTest, WakesTheThreadOncePerBatch) {
    GatedLog gated;
    Log::start_logger();
    put(gated, "first", 0);
    ASSERT_TRUE(gated.has(1, 30s)); // and now the thread is busy
    wake_ups = 0;
    for (int i = 0; i < 100; ++i) put(gated, "next", 0);
    EXPECT_EQ(1, wake_ups);
    gated.open_gate();
    Log::stop_logger();
    EXPECT_EQ(101u, gated.texts().size());
}
#endif

// Whichever way a message takes, its text and arguments must be those that the C library's formatter makes.
TEST_F(LogQueueTest, FormattedMessagesAreTheSameOnBothWays) {
    const std::string longest(4095, 'x'), longer(5000, 'y');
    const char* volatile null = nullptr; // the compiler must not see that it is null
    log.set_cache_enabled();
    for (bool queued : {false, true}) {
        if (queued) Log::start_logger();
        QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "plain 100%%");
        QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "%s%d|%i|%u|%ld|%li|%lu", "", INT_MIN, 7, UINT_MAX, LONG_MIN,
                    -1L, ULONG_MAX);
        QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "%s and %5d", null, 42);
        QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "<%s>%d", longest.c_str(), 5);
        QEN_MESSAGE(&log, SEV_INFO, BARE, 25, 1, "%s", longer.c_str());
        if (queued) Log::stop_logger();
    }
    const std::vector<std::vector<std::string>> expected = {
        // text and arguments
        {"plain 100%"},
        {"-2147483648|7|4294967295|-9223372036854775808|-1|18446744073709551615", "", "-2147483648", "7",
         "4294967295", "-9223372036854775808", "-1", "18446744073709551615"},
        {"(null) and    42", "(null)", "   42"},
        {"<" + longest.substr(1), longest, "5"},
        {longer.substr(0, 4095), longer.substr(0, 4095)}};
    ASSERT_EQ(10u, lines().size());
    ASSERT_EQ(10, log.cache_vlistp()->count());
    const VElem* entry = log.cache_vlistp()->head();
    for (size_t i = 0; i < 10; ++i, entry = entry->next()) {
        std::vector<std::string> found = {lines()[i]};
        for (const MsgElem* e = entry->getmsg()->find(22); e != nullptr; e = e->next())
            found.emplace_back(e->getstr());
        EXPECT_EQ(expected[i % 5], found) << i;
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
    for (int i = 0; i < 100; ++i) put(log, "x", i % 4);
    other.join();
    Log::stop_logger();
    EXPECT_THAT(syslog_texts(), ElementsAre("350% %s"));
    EXPECT_EQ(100u, lines().size());
}

TEST_F(LogQueueTest, DequeueTakesAllRecordsAndTheLoggerWhatIsLeft) {
    EXPECT_EQ(nullptr, Log::deq(1)) << "nothing within a millisecond";
    for (int i = 0; i < 3; ++i) Log::enq(record(i));
    std::unique_ptr<DList> records(Log::deq(-1));
    ASSERT_NE(nullptr, records);
    EXPECT_EQ(3, records->count());
    for (int i = 0; DLink* link = records->head(); ++i) {
        auto* taken = static_cast<vlog_msg_t*>(link->object());
        EXPECT_EQ(i, taken->id);
        delete taken->msg_structp;
        delete taken; // leaves the list
    }
    EXPECT_EQ(nullptr, Log::deq(0));
    Log::enq(record(4));
    Log::start_logger();
    Log::stop_logger();
    EXPECT_THAT(lines(), ElementsAre("t"));
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
