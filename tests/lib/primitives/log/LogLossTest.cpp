// What a log tells about messages that it lost, and which messages it waits for until the disk has them.
#include <cerrno>
#include <regex>

#include "LogFixture.h"
#include "primitives/ldf/LdfReader.h"
#include "support/SystemCalls.h"

namespace {

// One kind of call fails while it lives.
struct Failing {
    explicit Failing(std::string_view name, size_t size = 0) {
        system_call_plan = [=](const SystemCall& call) {
            return call.name == name && (size == 0 || call.size == size) ? ssize_t{-EIO} : PASS;
        };
    }
    ~Failing() { system_call_plan = nullptr; }
};

class LogLossTest : public LogFixture {
protected:
    LogLossTest() { LdfReader::init(); }
    ~LogLossTest() override { unsetenv("QEN_LOG_SYNC"); }

    size_t text_size() const { return std::filesystem::file_size(log_path("engine_A.log")); }
    static void send(Log& log, const char* text, int sev = SEV_INFO) {
        log.write_buf("f", "g", 1, sev, BARE, 25, 1, text, text);
    }
    // Lines and records alike: the text of a message, or what a telling one tells: its number, how many
    // messages, and how many of them were critical, errors, warnings and others.
    Strings texts() const {
        Strings all;
        std::istringstream in(body());
        for (std::string line; std::getline(in, line);) {
            if (line[0] == '.') continue;
            std::smatch told;
            static const std::regex telling(
                R"(.* (\w+) K-16-1-(\d+) (\d+) messages .*since [\d/]{10} [\d:]{8} \((\d+) \w+, (\d+) \w+, (\d+) \w+, (\d+) .*)");
            if (std::regex_match(line, told, telling)) line = told.format("$2: $3=$4+$5+$6+$7 $1");
            all.push_back(line);
        }
        return all;
    }
    static Strings recorded() {
        Strings all;
        LdfReader reader;
        EXPECT_EQ(LDF_OK, reader.open(nullptr, "engine_A"));
        for (LdfRecordView view; reader.next_record({}, view) == LDF_OK;) {
            const auto arg = [&](size_t i) { return std::string(view.argv()[i]); };
            const std::string sev = ulog_app_sev_name(view.header.sev);
            const unsigned number = view.header.msgcat_id & 0xFFFF;
            all.push_back(number == 1 ? arg(0)
                                      : std::to_string(number) + ": " + arg(0) + "=" + arg(2) + "+" + arg(3) +
                                            "+" + arg(4) + "+" + arg(5) + " " + sev);
        }
        return all;
    }
};

TEST_F(LogLossTest, EachFileTellsWhatItLacks) {
    std::string heard;
    const auto hear = [](const LossNews& n, void* to) {
        *static_cast<std::string*>(to) += (n.is_told ? "told " : "lost ") + std::to_string(n.lines.total()) +
                                          "/" + std::to_string(n.records.total()) + " ";
    };
    const auto log = opened("engine");
    log->on_loss(hear, &heard);
    send(*log, "a");
    log->write_dbg(DBG_1, "f", "g", 1, BARE, 1, 1, std::string(3000, '.').c_str());
    send(*log, "b"); // the text log is longer than the record file now
    {
        const FullDisk limit(text_size());
        send(*log, "record only", SEV_ERR);
        const Failing records("pwrite");
        for (const int sev : {SEV_CRIT, SEV_ERR, SEV_WARN, SEV_NOTE, SEV_INFO, SEV_INFO})
            send(*log, "none", sev);
    }
    EXPECT_EQ("lost 1/0 ", heard) << "once, however many";
    {
        const Failing records("pwrite");
        send(*log, "line only", SEV_WARN);
        EXPECT_EQ("lost 1/0 told 7/0 ", heard) << "the record file has not told yet";
    }
    send(*log, "c");
    EXPECT_EQ((Strings{"a", "b", "50880: 7=1+2+1+3 ERROR", "line only", "c"}), texts());
    EXPECT_EQ((Strings{"a", "b", "record only", "50880: 7=1+1+2+3 ERROR", "c"}), recorded());
    EXPECT_EQ("lost 1/0 told 7/0 told 0/7 ", heard);
    EXPECT_TRUE(log->losses().lines_lost() == 7 && log->losses().records_lost() == 7);
    EXPECT_FALSE(log->losses().is_due());
}

TEST_F(LogLossTest, UnflushedDebugMessagesCountWhenTheirBufferIsLost) {
    auto log = opened("engine");
    log->enable_debug("DBG_1");
    const auto debug = [&](const char* text) { log->write_dbg(DBG_1, "f", "g", 1, BARE, 1, 1, text); };
    {
        debug("first");
        const FullDisk limit(text_size() + 12);
        for (const char* text : {"second", "third"}) debug(text);
        send(*log, "x"); // the first two debug lines are the last that fit
    }
    log.reset(); // what is due is told at the latest now
    EXPECT_EQ((Strings{"first", "50880: 3=0+0+0+3 WARNING"}), texts());
}

// The parent's losses are the parent's to tell.
TEST_F(LogLossTest, AChildTellsItsOwnLossesOnly) {
    const auto log = opened("engine");
    send(*log, "a");
    {
        const FullDisk limit(text_size());
        send(*log, "lost");
    }
    EXPECT_EQ(0, wait_for(start([&] { send(*log, "child"), _exit(0); })));
    send(*log, "b");
    EXPECT_EQ((Strings{"a", "child", "50880: 1=0+0+0+1 WARNING", "b"}), texts());
}

TEST_F(LogLossTest, AFullQueueIsToldOnceASecond) {
    time_t second;
    LogLoss loss;
    bool after_queue, after_write;
    do {
        second = time(nullptr);
        loss.note(LossReason::QUEUE, SEV_INFO);
        EXPECT_TRUE(loss.wants_telling());
        const LossNews news = {true, loss.lines.due(), loss.records.due()};
        loss.note(LossReason::QUEUE, MessageBuilder::logical_sev(DBG_1)); // meanwhile, and without a record
        loss.lines.told(news.lines, true);
        loss.records.told(news.records, true);
        loss.announce_told(news);
        EXPECT_TRUE(loss.lines.is_due() && !loss.records.is_due());
        after_queue = loss.wants_telling();
        loss.lines.note(LossReason::WRITE, SEV_INFO);
        after_write = loss.wants_telling();
        loss.forget();
    } while (time(nullptr) != second);
    EXPECT_TRUE(!after_queue && after_write);
}

TEST_F(LogLossTest, EachReasonHasItsMessage) {
    setenv("QEN_LOG_SYNC", "all", 1);
    const FullDisk limit(LDF_RECORD_MAX + LDF_HEADER_SIZE + 600); // a record may start in these 600 bytes
    const auto log = opened("engine");
    send(*log, "makes the files");
    {
        const Failing rotation("rename");
        for (int i = 0; i < 100 && log->losses().records_lost() == 0; ++i) send(*log, "a", SEV_CRIT);
    }
    {
        const Failing disk("fdatasync");
        send(*log, "unconfirmed"); // the line may be there, the record is taken back
    }
    send(*log, "b");
    EXPECT_EQ((Strings{"50882: 1=1+0+0+0 ERROR", "50883: 1=0+0+0+1 WARNING", "b"}), recorded());
}

// w: a record or a header is written, d: the disk is asked for a file's data, s: for names. What a power cut
// then leaves is for the tests of power cuts.
TEST_F(LogLossTest, WaitsForTheDiskOnlyWhenAsked) {
    const struct {
        const char* level;
        int sev;
        bool waits;
    } cases[] = {
        {"none", SEV_CRIT, false},    {"sometimes", SEV_CRIT, false}, {"critical", SEV_ERR, false},
        {"critical", SEV_CRIT, true}, {"error", SEV_WARN, false},     {"error", SEV_ERR, true},
        {"all", SEV_INFO, true},
    };
    for (const auto& [level, sev, waits] : cases) {
        SCOPED_TRACE(testing::Message() << level << " " << sev);
        setenv("QEN_LOG_SYNC", level, 1);
        const auto log = opened(std::string(level) + std::to_string(sev));
        log->set_debug_flag(DBG_1, LOG_DBG_ENABLED | LOG_DBG_FLUSH);
        send(*log, "makes the files", sev);
        std::string calls;
        system_call_plan = [&](const SystemCall& call) {
            if (call.name == "pwrite" || call.name.ends_with("sync")) calls += call.name[1];
            return PASS;
        };
        send(*log, "a", sev);
        log->rotate();
        send(*log, "b", sev);
        log->write_dbg(DBG_1, "f", "g", 1, BARE, 1, 1, "debug");
        system_call_plan = nullptr;
        EXPECT_EQ(waits ? "dwdwdwdswdwd" : "wwwww", calls) << "the new text log has a header and a name";
    }
}

} // namespace
