#include <csignal>
#include <cstring>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "LdfFixture.h"

namespace fs = std::filesystem;

class LdfWriterTest : public LdfFixture {
protected:
    std::string A = "log_A";

    // The bytes of the current file with both times of the header blanked.
    std::string timeless() const {
        std::string bytes = slurp(path(A));
        EXPECT_GE(bytes.size(), 117u);
        return bytes.replace(49, 8, 8, '\0');
    }
};

TEST_F(LdfWriterTest, FileIsByteForByteWhatTheFormatSays) {
    fs::remove(root + "/ldf");
    LdfBuilder expect = LdfBuilder().flags(1).created(0).modified(0);
    LdfWriter w;
    const time_t before = time(nullptr);
    ASSERT_EQ(LDF_OK, w.open("log", 1)); // makes the missing directory
    EXPECT_EQ(path(A), w.pathAp());
    EXPECT_EQ(LDF_DEFAULT_MAXLEN, w.maxlen());
    EXPECT_EQ(expect.bytes(), timeless());

    w.write(1, 77, 3, 25u << 16 | 30001, "Log", 42, 0xFFFFFFFF, "open", "res1", "", nullptr, "lost", nullptr,
            nullptr);
    w.write(4, -1, 6, 0xFFFFFFFF, nullptr, -1, 0, "", "1", "2", "3", "4", "5", "6");
    w.write(57, 0, 0, 0, "f", 0, 1, "g", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    expect.record({.sev = 1, .obj = 3, .time = 77, .args = {"res1", " "}})
        .record({.sev = 4,
                 .obj = 6,
                 .cat = 65535,
                 .num = 65535,
                 .time = -1,
                 .line = 0xFFFFFFFF,
                 .seq = 0,
                 .file = " ",
                 .func = " ",
                 .args = {"1", "2", "3", "4", "5", "6"}})
        .record({.sev = 57,
                 .obj = 0,
                 .cat = 0,
                 .num = 0,
                 .time = 0,
                 .line = 0,
                 .seq = 1,
                 .file = "f",
                 .func = "g"});
    EXPECT_EQ(expect.bytes(), timeless());
    const ldf_header_t h = header_of(A);
    EXPECT_LE(before, h.datetime_create);
    EXPECT_LE(h.datetime_create, h.datetime_modify);
    EXPECT_LE(h.datetime_modify, time(nullptr));
}

TEST_F(LdfWriterTest, CountersFollowEverySeverityAndObjectType) {
    LdfWriter w;
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    LdfBuilder expect = LdfBuilder().created(0).modified(0);
    for (char obj = 0; obj <= 6; ++obj) {
        for (int sev : {0, 1, 2, 3, 4, 5, 57, 255}) {
            if (sev <= obj) continue; // different totals for each
            write(w, 0, "x", static_cast<char>(sev), obj);
            expect.record({.sev = static_cast<uint8_t>(sev), .obj = static_cast<uint8_t>(obj)});
        }
    }
    EXPECT_EQ(expect.bytes().substr(57, 52), timeless().substr(57, 52));
}

TEST_F(LdfWriterTest, LongestTextFitsAndALongerOneIsLeftOut) {
    LdfWriter w;
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    for (size_t len : {4089u, 4090u, 4091u, 100000u})
        write(w, 0, std::string(len, 'a')); // f, g, 3 separators, NUL
    const auto records = read_file(A);
    ASSERT_EQ(4u, records.size());
    for (size_t i : {0u, 1u}) EXPECT_EQ(4095u + i, records[i].header.data_size);
    for (size_t i : {2u, 3u}) {
        EXPECT_EQ(1u, records[i].header.data_size);
        EXPECT_EQ("<none>", records[i].file);
    }
    EXPECT_EQ(fs::file_size(path(A)), header_of(A).offset_end);
}

TEST_F(LdfWriterTest, SystemNameIsCutTo32Characters) {
    const std::string name(40, 'h');
    setenv("ZORQ_LOCAL_NAME", name.c_str(), 1);
    LdfWriter w;
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    EXPECT_EQ(name.substr(0, 32), header_of(A).system);
}

TEST_F(LdfWriterTest, ReopenedFileGoesOnBehindItsLastCompleteRecord) {
    for (unsigned seq = 0; seq < 3; ++seq) {
        LdfWriter w;
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        write(w, seq);
        std::ofstream(path(A), std::ios::app) << "a record without its header update";
        write(w, seq + 10); // overwrites it
    }
    EXPECT_EQ((std::vector<unsigned>{0, 10, 1, 11, 2, 12}), seqs(read_file(A)));
    EXPECT_FALSE(exists(path(A) + ".err"));
}

TEST_F(LdfWriterTest, OneWriterPerLog) {
    LdfWriter first, second;
    EXPECT_EQ(LDF_ENONAME, first.open(nullptr, 0));
    EXPECT_EQ(LDF_OK, first.open("log", 0));
    EXPECT_EQ(LDF_EREGISTERED, second.open("LOG", 0));
    EXPECT_EQ(&first, Ldf_obj("Log"));
    for (const char* name : {"a/b", "/", "../x"}) {
        EXPECT_EQ(LDF_EFAIL, second.open(name, 0));
        EXPECT_EQ(nullptr, Ldf_obj(name));
    }
    setenv("TAQ_LDF", (root + "/none").c_str(), 1);
    EXPECT_EQ(LDF_EROOT, second.open("b", 0));
    setenv("TAQ_LDF", "/proc/self", 1); // "ldf" cannot be made there
    EXPECT_EQ(LDF_EFAIL, second.open("b", 0));
    EXPECT_EQ(nullptr, Ldf_obj("b"));
    write(second, 0); // closed: nothing happens
    write(first, 7);
    setenv("TAQ_LDF", root.c_str(), 1);
    EXPECT_EQ((std::vector<unsigned>{7}), seqs(read_file(A)));
    LdfWriter::destroy();
    EXPECT_EQ(LDF_ENOINIT, second.open("c", 0));
}

TEST_F(LdfWriterTest, SetsAsideWhatItCannotContinue) {
    const struct {
        const char* name;
        std::function<void(const std::string&)> make;
        bool aside;
    } cases[] = {
        {"version 2.0", [](auto& p) { LdfBuilder().version(2, 0).write(p); }, true},
        {"bad signature", [](auto& p) { LdfBuilder().signature(0).write(p); }, true},
        {"end beyond the file", [](auto& p) { LdfBuilder().offset_end(118).write(p); }, true},
        {"end inside the header", [](auto& p) { LdfBuilder().record().offset_end(116).write(p); }, true},
        {"negative count", [](auto& p) { LdfBuilder().record().total_msgs(-1).write(p); }, true},
        {"directory", [](auto& p) { fs::create_directory(p); }, true},
        {"FIFO", [](auto& p) { ASSERT_EQ(0, mkfifo(p.c_str(), 0600)); }, true},
        {"link to a directory", [](auto& p) { fs::create_symlink("/tmp", p); }, true},
        {"short file", [](auto& p) { LdfBuilder().truncate(116).write(p); }, false},
        {"no file", [](auto&) {}, false},
        {"link to nothing", [](auto& p) { fs::create_symlink("nothing", p); }, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fs::remove_all(path(A));
        std::ofstream(path(A) + ".err") << "older";
        c.make(path(A));
        LdfWriter w;
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        write(w, 5);
        EXPECT_EQ((std::vector<unsigned>{5}), seqs(read_file(A)));
        EXPECT_EQ(!c.aside, fs::is_regular_file(path(A) + ".err") && slurp(path(A) + ".err") == "older");
        EXPECT_FALSE(exists(path(A) + ".new"));
        fs::remove_all(path(A) + ".err");
    }
}

TEST_F(LdfWriterTest, NeverTouchesTheTargetOfALinkThatIsNoLog) {
    std::ofstream(root + "/precious") << "short";
    fs::create_symlink(root + "/precious", path(A));
    LdfWriter w;
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    write(w, 1);
    EXPECT_EQ("short", slurp(root + "/precious"));
    EXPECT_EQ(1u, read_file(A).size());
}

TEST_F(LdfWriterTest, FailedOpenLeavesNothingWritable) {
    // A cannot be continued, and the place for what is set aside is taken.
    LdfBuilder().version(9, 0).record().write(path(A));
    const std::string before = slurp(path(A));
    fs::create_directories(path(A) + ".err/full");
    LdfWriter w;
    EXPECT_EQ(LDF_EFAIL, w.open("log", 0));
    EXPECT_FALSE(w.is_opened());
    EXPECT_EQ(&w, Ldf_obj("log"));
    write(w, 1);
    w.set_maxlen(70000);
    EXPECT_EQ(0, w.maxlen());
    EXPECT_EQ(before, slurp(path(A)));
}

TEST_F(LdfWriterTest, CountersStandStillAtTheirLimit) {
    LdfBuilder()
        .record({.sev = 1})
        .total_msgs(INT32_MAX)
        .put32(65, 0x7FFFFFFF)  // errors
        .put32(69, 0x80000000)  // warnings
        .put32(105, 0xFFFFFFFF) // QEN
        .write(path(A));
    LdfWriter w;
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    write(w, 1, "x", 1, 0);
    write(w, 2, "x", 2, 0);
    const ldf_header_t h = header_of(A);
    EXPECT_EQ(INT32_MAX, h.total_msgs);
    EXPECT_EQ(INT32_MAX, h.total_error);
    EXPECT_EQ(INT32_MIN + 1, h.total_warning);
    EXPECT_EQ(1, h.total_qen_msg);
}

TEST_F(LdfWriterTest, ObjectTypeOutsideTheTableIsFatal) {
    LdfWriter w;
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    for (int obj : {7, 8, -1})
        EXPECT_DEATH(write(w, 0, "x", 4, static_cast<char>(obj)), "ASSERTION FAILED") << obj;
    EXPECT_TRUE(read_file(A).empty());
}

TEST_F(LdfWriterTest, FullDiskLosesOnlyWhatDoesNotFit) {
    signal(SIGXFSZ, SIG_IGN);
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    LdfWriter w;
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    for (unsigned seq = 0; seq < 10; ++seq) write(w, seq, std::string(100, 'a'));

    // Every limit within the next record: nothing of it, a part of its head, a part of its text.
    const std::string before = slurp(path(A));
    const rlim_t end = before.size();
    for (rlim_t room : {rlim_t{0}, rlim_t{1}, rlim_t{23}, rlim_t{100}, rlim_t{129}}) {
        const rlimit limit = {end + room, old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        write(w, 99, std::string(101, 'b'));
        setrlimit(RLIMIT_FSIZE, &old);
        EXPECT_EQ(before, slurp(path(A)).substr(0, end)) << room;
        EXPECT_EQ(10u, read_file(A).size()) << room;
    }
    const rlimit limit = {end + 50, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    write(w, 98, std::string(101, 'b'));
    write(w, 10, ""); // a short one still fits
    setrlimit(RLIMIT_FSIZE, &old);
    write(w, 11);
    EXPECT_EQ((std::vector<unsigned>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}), seqs(read_file(A)));
    EXPECT_EQ(12, header_of(A).total_info);
}
