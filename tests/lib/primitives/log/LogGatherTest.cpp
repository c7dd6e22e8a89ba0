// Messages that the logger thread gathers and writes together.
#include "LogFixture.h"
#include "primitives/log/LogQueue.h"

namespace {

constexpr int EVENT = BARE & ~ULOG_NO_EVENT; // with SEV_ERR: for the administrator, too

class LogGatherTest : public LogFixture {
protected:
    LogGatherTest() { setenv("QEN_LOG_MAXLEN", "65536", 1); }

    // A message of the queue; with ULOG_DEBUG a debug text.
    static vlog_msg_t* queued(Log* log, const std::string& text, int sev = SEV_INFO, int flags = BARE) {
        const LogCall call(/*time=*/1, sev, "f", "g", 1, flags, 25, 1);
        const bool is_debug = (flags & ULOG_DEBUG) != 0;
        char* const debug_text = is_debug ? strcpy(new char[text.size() + 1], text.c_str()) : nullptr;
        MsgStruct* const structp = is_debug ? nullptr : message(text, {text}).release();
        auto* record = new vlog_msg_t(log, call, debug_text, structp);
        record->is_to_log = log != nullptr;
        return record;
    }
    // All that a log has left, without what tells the time.
    Strings files(const std::string& name) const {
        Strings all;
        for (const auto& file : dir.files()) {
            if (file.starts_with("log/" + name)) all.push_back(body(file.substr(4)));
            if (file.starts_with("ldf/" + name)) all.push_back(dir.read(file).substr(57));
        }
        return all;
    }
    // Puts the same messages into two logs, one by one and gathered, within one second, since a log tells
    // when it lost messages. They must leave the same.
    using Put = std::function<void(Log&, const std::function<void(vlog_msg_t*)>&)>;
    void compare(const Put& put) const {
        const time_t start = time(nullptr);
        {
            const auto single = opened("single"), joined = opened("joined");
            put(*single, [&](vlog_msg_t* record) {
                const std::unique_ptr<vlog_msg_t> r(record);
                const std::unique_ptr<char[]> text(r->en_msgp);
                const std::unique_ptr<MsgStruct> structp(r->msg_structp);
                single->write_log(r->timet, r->sev, r->whop, r->filep, r->line, r->flags, r->cat, r->id,
                                  text.get(), structp.get());
            });
            RecordWriter writer(1h);
            put(*joined, [&](vlog_msg_t* record) { writer.write(record); });
        }
        const bool in_one_second = time(nullptr) == start;
        EXPECT_TRUE(!in_one_second || files("single") == files("joined"));
        EXPECT_FALSE(files("single").empty());
        for (const char* folder : {"log", "ldf"}) remove_tree(dir.path(folder));
        dir.make("ldf");
        if (!in_one_second) compare(put);
    }
};

// Texts of many lengths, with a source line or without, debug messages that wait for others, more than a file
// of 64 KiB holds, and some that no batch holds.
TEST_F(LogGatherTest, FilesAreThoseOfMessagesWrittenOneByOne) {
    compare([](Log& log, const auto& write) {
        log.enable_debug("ipm");
        for (size_t i = 0; i < 700; ++i) {
            std::string text = std::to_string(i) + std::string(i * 37 % 400, 'x');
            if (i % 100 == 99) text += std::string(i * 30, 'y');
            const int flags = i % 5 == 0 ? ULOG_SOURCE : BARE;
            const bool is_debug = i % 7 == 0;
            write(is_debug ? queued(&log, text, DBG_IPM, flags | ULOG_DEBUG)
                           : queued(&log, text, i % 11 == 0 ? SEV_ERR : SEV_INFO, flags));
            if (i == 350) log.rotate();
        }
    });
}

// The disk is full in the middle of a batch, wherever that is, and has room again later.
TEST_F(LogGatherTest, AFullDiskCostsWhatWouldNotFitAlone) {
    for (size_t room = 0; room < 700; room += 23) {
        SCOPED_TRACE(room);
        compare([room](Log& log, const auto& write) {
            write(queued(&log, "first", SEV_ERR, EVENT)); // which ends a batch
            for (const char* word : {"full", "free"}) {
                const FullDisk limit(*word == 'f' && word[1] == 'u' ? 150 + room : size_t{1} << 30);
                for (size_t i = 0; i < 40; ++i)
                    write(queued(&log, word + std::string(i * 17 % 50, 'x') + (i % 4 == 0 ? "\nmore" : "")));
                write(queued(&log, "last", SEV_ERR, EVENT));
            }
        });
    }
}

TEST_F(LogGatherTest, WhatEndsABatch) {
    const auto other = opened("other");
    const struct {
        const char* name;
        std::function<void(Log&, RecordWriter&)> end;
        long written; // of five that were gathered before, and the others
        RecordWriter::Clock::duration longest = 1h;
    } cases[] = {
        {"nothing", [](Log& log, RecordWriter& w) { w.write(queued(&log, "n 5")); }, 0},
        {"the end of the list", [](Log&, RecordWriter& w) { w.flush(); }, 5},
        {"the end behind a debug message that may wait",
         [](Log& log, RecordWriter& w) { w.write(queued(&log, "n 5", DBG_1, BARE | ULOG_DEBUG)), w.flush(); },
         6},
        {"another log", [&](Log&, RecordWriter& w) { w.write(queued(other.get(), "x")); }, 5},
        {"the system log", [](Log&, RecordWriter& w) { w.write(queued(nullptr, "x", SEV_ERR)); }, 5},
        {"an error", [](Log& log, RecordWriter& w) { w.write(queued(&log, "n 5", SEV_ERR, EVENT)); }, 6},
        {"a write at once", [](Log& log, RecordWriter&) { put(log, "n 5"); }, 6},
        {"a rotation", [](Log& log, RecordWriter& w) { log.rotate(), w.write(queued(&log, "n 5")); }, 5},
        {"the close of the log",
         [](Log& log, RecordWriter& w) {
             EXPECT_EQ(ULOG_OK, log.open("next", nullptr, 0, nullptr));
             w.flush();
             (void)log.open("unused", nullptr, 0, nullptr);
         },
         5},
        {"64 messages",
         [](Log& log, RecordWriter& w) {
             for (int i = 5; i < 70; ++i) w.write(queued(&log, "n " + std::to_string(i)));
         },
         64},
        {"a millisecond",
         [](Log& log, RecordWriter& w) {
             std::this_thread::sleep_for(2ms);
             for (int i = 5; i < 8; ++i) w.write(queued(&log, "n " + std::to_string(i)));
         },
         8, 1ms},
        {"no child",
         [](Log& log, RecordWriter& w) {
             const auto put_and_end = [&] { put(log, "child 0"), log.~Log(), _exit(0); };
             EXPECT_EQ(0, wait_for(start(put_and_end)));
             w.flush();
         },
         5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto log = opened("engine");
        RecordWriter writer(c.longest);
        for (int i = 0; i < 5; ++i) writer.write(queued(log.get(), "n " + std::to_string(i)));
        c.end(*log, writer);
        long written = 0;
        for (const char* file : {"engine_A.log", "engine_B.log"})
            if (fs::exists(log_path(file))) written = std::max(written, counted(file)["n"]);
        EXPECT_EQ(c.written, written);
        EXPECT_GE(record_count(), written - 1) << "a debug message has no record";
        writer.flush();
        for (const char* folder : {"log", "ldf"}) remove_tree(dir.path(folder));
        dir.make("ldf");
    }
}

} // namespace
