// A log is followed over rotations, over restarts with a cursor, and through what becomes of its files.
#include "Cursor.h"
#include "FollowedLog.h"
#include "primitives/ldf/LdfWriter.h"
#include "support/LdfBuilder.h"
#include "support/TempDir.h"

#include <fstream>
#include <gtest/gtest.h>
#include <random>

namespace {

class FollowTest : public testing::Test {
protected:
    FollowTest() {
        setenv("TAQ_LDF", _dir.path().c_str(), 1);
        _dir.make("ldf");
        LdfWriter::init();
        input.directory = _dir.path("ldf/");
        watch_id = watch.watch_names(input.directory.c_str());
        open();
    }
    void open() {
        EXPECT_EQ(LDF_OK, writer.open("other", 0)); // gives the name up
        EXPECT_EQ(LDF_OK, writer.open("n", 0));
        writer.set_maxlen(LDF_MIN_MAXLEN);
    }
    // 20 of them fill a file.
    void write(int count = 1) {
        for (; count > 0; --count)
            writer.write(4, 1000, 0, 1, "f", written++, 0xFFFFFFFF, "g", std::string(3276, 'x').c_str(),
                         nullptr, nullptr, nullptr, nullptr, nullptr);
    }
    void follow() {
        log = std::make_unique<FollowedLog>(
            input, filter, progress, problems, watch,
            [this] {
                if (meanwhile) std::exchange(meanwhile, nullptr)();
                take_events();
            },
            /*is_watched=*/true);
    }
    void take_events() {
        for (QENFileWatch::Event event; watch.next(event);) {
            if (event.kind == QENFileWatch::Event::NAME) log->appeared(event.name);
            if (event.kind == QENFileWatch::Event::WRITE && event.id == log->watch_id()) log->wake();
        }
    }
    // The numbers of the records that have come since.
    std::vector<int> read() {
        std::vector<int> numbers;
        take_events();
        while (log->next()) {
            LdfRecordView view;
            ldf_view_record(log->record().bytes, view);
            numbers.push_back(static_cast<int>(view.header.line_no));
        }
        return numbers;
    }
    std::vector<int> range(int from, int to) const {
        std::vector<int> numbers;
        for (; from < to; ++from) numbers.push_back(from);
        return numbers;
    }

    const TempDir _dir;
    LogInput input = {"", "n", {}};
    RecordFilter filter{FilterOptions()};
    Problems problems;
    Progress progress{true};
    QENFileWatch watch;
    int watch_id;
    LdfWriter writer;
    int written = 0;
    std::unique_ptr<FollowedLog> log;
    std::function<void()> meanwhile; // happens when the files are looked for
};

} // namespace

// Whatever is not shown is told, in files of 20 records. A restart goes on behind the cursor, or tells the
// gap.
TEST_F(FollowTest, EveryRecordComesOnceOrIsCountedAsLost) {
    std::mt19937 random(3);
    std::set<int> seen;
    long told = 0, restarts = 0;
    const std::string path = _dir.path("cursor");
    follow();
    for (int step = 0; step < 300; ++step) {
        write(static_cast<int>(random() % (step % 20 == 0 ? 200 : 25)));
        if (random() % 3 == 0) continue; // it is slow
        testing::internal::CaptureStderr();
        if (random() % 10 == 0) {
            Cursor cursor;
            ASSERT_TRUE(cursor.load(path, problems));
            follow();
            log->begin_at(cursor, /*otherwise_at_start=*/true);
            ++restarts;
        }
        const std::vector<int> numbers = read();
        Cursor cursor;
        ASSERT_TRUE(cursor.load(path, problems));
        log->keep_position(cursor);
        (void)cursor.save(/*at_once=*/true, problems);
        const std::string errors = testing::internal::GetCapturedStderr();
        if (const size_t lost = errors.find(" files were rotated"); lost != errors.npos)
            told += std::stol(errors.substr(errors.rfind(' ', lost - 1)));
        if (errors.find("the file of the cursor is gone") == errors.npos) {
            for (const int last = seen.empty() ? -1 : *seen.rbegin(); const int number : numbers)
                ASSERT_LT(last, number) << "step " << step;
        }
        for (const int number : numbers) ASSERT_TRUE(seen.insert(number).second) << number << " came twice";
    }
    write();
    ASSERT_EQ(written - 1, read().back());
    EXPECT_GT(restarts, 10);
    EXPECT_GT(told, 10);
}

TEST_F(FollowTest, WhatBecomesOfTheFiles) {
    follow();
    log->begin_at_end(); // there is none
    write(3);
    EXPECT_EQ(range(0, 3), read());
    EXPECT_EQ(range(0, 0), read());
    follow();
    log->begin_at_end();
    write(2);
    EXPECT_EQ(range(3, 5), read());

    // Removed, and made again by hand and by a writer.
    std::filesystem::remove(_dir.path("ldf/n_A.ldf"));
    EXPECT_EQ(range(0, 0), read());
    LdfBuilder().record({.line = 77}).write(_dir.path("ldf/n_A.ldf"));
    EXPECT_EQ(std::vector{77}, read());
    open();
    write(1);
    EXPECT_EQ(std::vector{5}, read());

    // Set aside, which is told.
    LdfBuilder().version(9, 0).write(_dir.path("ldf/n_A.ldf"));
    testing::internal::CaptureStderr();
    open();
    write(1);
    EXPECT_EQ(std::vector{6}, read());
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("n_A.ldf.err: set aside"));
    // The directory's events are lost; the files still tell.
    log->events_were_lost();
    write(25);
    EXPECT_EQ(range(7, 32), read());

    // Too fast for it: what is open is read to its end, and whole files are told.
    write(1);
    meanwhile = [this] { write(99); };
    testing::internal::CaptureStderr();
    const long missing = 100 - std::ssize(read());
    const std::string errors = testing::internal::GetCapturedStderr();
    const size_t lost = errors.find(" files were rotated");
    ASSERT_NE(errors.npos, lost) << errors;
    EXPECT_EQ(missing, 20 * std::stol(errors.substr(errors.rfind(' ', lost - 1))));
}

TEST_F(FollowTest, ADamagedCursorIsRefused) {
    const std::string path = _dir.path("cursor"), form = "taqldf cursor 1\n";
    LogPosition position;
    position.created = -1;
    position.last_hash = ~uint64_t{0};
    position.record = 7;
    {
        Cursor cursor;
        EXPECT_TRUE(cursor.load(path, problems)) << "none yet";
        cursor.set("a host\n%", "", position);
        EXPECT_EQ(-1, cursor.save(/*at_once=*/false, problems));
        cursor.set("b", "log", position);
        EXPECT_LT(500, cursor.save(/*at_once=*/false, problems)) << "once a second";
        EXPECT_EQ(-1, cursor.save(/*at_once=*/true, problems));
    }
    Cursor cursor;
    EXPECT_TRUE(cursor.load(path, problems));
    const LogPosition* const found = cursor.find("a host\n%", "");
    ASSERT_NE(nullptr, found);
    EXPECT_TRUE(found->created == -1 && found->last_hash == ~uint64_t{0} && found->record == 7);
    EXPECT_EQ(nullptr, cursor.find("a host\n%", "log"));
    const std::string whole = _dir.read("cursor");
    testing::internal::CaptureStderr();
    for (const std::string& wrong :
         {std::string("x"), whole.substr(0, whole.size() - 5), whole + "x\n", form + "a b 1 2 3:4 -5 6 7\n",
          form + "a%zz b 1 2 3:4 5 6 7\n", form + "\x80 b 1 2 3:4 5 6 7\n", form + "\n"}) {
        _dir.write("cursor", wrong);
        EXPECT_FALSE(Cursor().load(path, problems)) << wrong;
    }
    EXPECT_EQ(TAQLDF_FAILED, problems.status(true));
    testing::internal::GetCapturedStderr();
}
