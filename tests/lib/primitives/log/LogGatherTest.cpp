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
    void clear_files() const {
        for (const char* folder : {"log", "ldf"}) remove_tree(dir.path(folder));
        dir.make("ldf");
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
        clear_files();
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
    std::unique_ptr<Log> log;
    const auto add = [&](RecordWriter& to, int from, int end, int sev = SEV_INFO, int flags = BARE) {
        for (int i = from; i < end; ++i) to.write(queued(log.get(), "n " + std::to_string(i), sev, flags));
    };
    const struct {
        const char* name;
        std::function<void(RecordWriter&)> end;
        long written; // of five that were gathered before, and the others
        RecordWriter::Clock::duration longest = 1h;
    } cases[] = {
        {"nothing", [&](auto& w) { add(w, 5, 6); }, 0},
        {"the end of the list", [](auto& w) { w.flush(); }, 5},
        {"and a debug message that may wait",
         [&](auto& w) { add(w, 5, 6, DBG_1, BARE | ULOG_DEBUG), w.flush(); }, 6},
        {"another log", [&](auto& w) { w.write(queued(other.get(), "x")); }, 5},
        {"the system log", [](auto& w) { w.write(queued(nullptr, "x", SEV_ERR)); }, 5},
        {"an error", [&](auto& w) { add(w, 5, 6, SEV_ERR, EVENT); }, 6},
        {"a write at once", [&](auto&) { put(*log, "n 5"); }, 6},
        {"a rotation", [&](auto& w) { log->rotate(), add(w, 5, 6); }, 5},
        {"the close of the log",
         [&](auto& w) {
             EXPECT_EQ(ULOG_OK, log->open("next", nullptr, 0, nullptr));
             w.flush();
             (void)log->open("unused", nullptr, 0, nullptr);
         },
         5},
        {"64 messages", [&](auto& w) { add(w, 5, 70); }, 64},
        {"a millisecond", [&](auto& w) { std::this_thread::sleep_for(2ms), add(w, 5, 8); }, 8, 1ms},
        {"no child",
         [&](auto& w) {
             const auto put_and_end = [&] { put(*log, "child 0"), log->~Log(), _exit(0); };
             EXPECT_EQ(0, wait_for(start(put_and_end)));
             w.flush();
         },
         5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        log = opened("engine");
        RecordWriter writer(c.longest);
        add(writer, 0, 5);
        c.end(writer);
        long written = 0;
        for (const char* file : {"engine_A.log", "engine_B.log"})
            if (fs::exists(log_path(file))) written = std::max(written, counted(file)["n"]);
        EXPECT_EQ(c.written, written);
        EXPECT_GE(record_count(), written - 1) << "a debug message has no record";
        writer.flush();
        log.reset();
        clear_files();
    }
}

} // namespace
