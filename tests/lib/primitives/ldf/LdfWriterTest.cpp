#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>

#include "LdfFixture.h"

namespace fs = std::filesystem;
using LdfWriterTest = LdfFixture;

static const std::string A = "log_A";

TEST_F(LdfWriterTest, FileIsByteForByteWhatTheFormatSays) {
    fs::remove(folder); // open makes it
    setenv("ZORQ_LOCAL_NAME", std::string(40, 'h').c_str(), 1);
    LdfBuilder expect = LdfBuilder().system(std::string(32, 'h')).flags(1);
    LdfWriter w;
    const time_t before = time(nullptr);
    ASSERT_EQ(LDF_OK, w.open("log", 1));
    w.write(1, 77, 3, 25u << 16 | 30001, "Log", 42, 0xFFFFFFFF, "open", "\xFFres1\xFF", "", nullptr, "lost",
            nullptr, nullptr);
    w.write(4, -1, 6, 0xFFFFFFFF, nullptr, -1, 0, "", "1", "2", "3", "4", "5", "6");
    const std::string_view seven[] = {"1", "2", "3", "4", "5", "6", "7"};
    w.append({0, 0, 4, -1, 0xFFFFFFFF, 6, 0xFFFFFFFF, 0}, {}, "", seven);
    LdfTestRecord most = {.obj = 6, .cat = 65535, .num = 65535, .time = -1, .line = 0xFFFFFFFF, .seq = 0};
    most.file = most.func = " ";
    most.args = {"1", "2", "3", "4", "5", "6"};
    expect.record({.sev = 1, .obj = 3, .time = 77, .args = {"?res1?", " "}}).records(2, most);
    LdfTestRecord plain = {
        .num = 7, .time = 1000, .line = 1, .seq = 9, .file = "f", .func = "g", .args = {"x"}};
    for (int obj = 0; obj <= 6; ++obj)
        for (int sev : {0, 1, 2, 3, 4, 5, 57, 255}) {
            if (sev <= obj) continue; // different totals for each counter
            write(w, 9, "x", sev, obj);
            plain.sev = static_cast<uint8_t>(sev);
            plain.obj = static_cast<uint8_t>(obj);
            expect.record(plain);
        }
    const ldf_header_t h = header_of(A);
    EXPECT_TRUE(before <= h.datetime_create && h.datetime_create <= h.datetime_modify);
    EXPECT_EQ(expect.created(h.datetime_create).modified(h.datetime_modify).bytes(),
              temp.read("ldf/log_A.ldf"));
    EXPECT_DEATH(write(w, 0, "x", 4, 7), "ASSERTION FAILED") << "no such object type";
}

TEST_F(LdfWriterTest, CountersAndTextsHaveTheirLimits) {
    LdfBuilder().record().total_msgs(INT32_MAX).put32(65, INT32_MAX).write(path("full_A"));
    LdfWriter full, w;
    ASSERT_EQ(LDF_OK, full.open("full", 0));
    write(full, 1, "x", 1);
    const ldf_header_t h = header_of("full_A");
    EXPECT_TRUE(h.total_msgs == INT32_MAX && h.total_error == INT32_MAX);

    ASSERT_EQ(LDF_OK, w.open("log", 0));
    for (size_t len : {4089u, 4090u, 4091u, 100000u}) // f, g, 3 separators, NUL
        write(w, 0, std::string(len, 'a'));
    EXPECT_EQ(4u, seqs_in(A).size());
    EXPECT_EQ(117u + 4 * 23 + 4095 + 4096 + 1 + 1, header_of(A).offset_end) << "left out when too long";
}

TEST_F(LdfWriterTest, SizeOfTheFileDecidesAboutRotation) {
    const struct {
        int64_t size;
        int limit; // 0: not set
        bool rotated;
        uint32_t offset_end = 0;       // 0: behind the record
    } cases[] = {{65535, 1000, false}, // the smallest limit
                 {65536, 65535, true},
                 {65536, 65537, false},
                 {LDF_DEFAULT_MAXLEN - 1, 0, false},
                 {LDF_DEFAULT_MAXLEN, 0, true},
                 {5ll << 30, INT32_MAX, true},
                 // A record more would lie where no reader goes; the file never reaches its limit.
                 {INT32_MAX - 100, INT32_MAX, true, INT32_MAX - 100}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        LdfBuilder file = LdfBuilder().record({.seq = 1});
        if (c.offset_end) file.offset_end(c.offset_end);
        file.write(path(A));
        ASSERT_EQ(0, truncate(path(A).c_str(), c.size));
        LdfWriter w;
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        if (c.limit) w.set_maxlen(c.limit);
        write(w, 2);
        EXPECT_EQ(c.rotated ? Seqs{2} : (Seqs{1, 2}), seqs_in(A));
    }
}

TEST_F(LdfWriterTest, OneWriterPerLog) {
    LdfWriter first, second;
    EXPECT_EQ(LDF_ENONAME, first.open(nullptr, 0));
    EXPECT_EQ(LDF_OK, first.open("log", 0));
    EXPECT_EQ(LDF_EREGISTERED, second.open("LOG", 0));
    EXPECT_EQ(LDF_EFAIL, second.open("a/b", 0));
    setenv("TAQ_LDF", (root + "/none").c_str(), 1);
    EXPECT_EQ(LDF_EROOT, second.open("b", 0));
    EXPECT_EQ(nullptr, Ldf_obj("b"));
    write(second, 0); // closed: nothing happens
    setenv("TAQ_LDF", root.c_str(), 1);
    write(first, 7);
    EXPECT_EQ(Seqs{7}, seqs_in(A));
    EXPECT_EQ(LDF_OK, second.open("next", 0));
    EXPECT_EQ(LDF_OK, second.open("third", 0)); // moves on
    EXPECT_EQ(nullptr, Ldf_obj("next"));
    LdfWriter::destroy();
    EXPECT_EQ(LDF_ENOINIT, second.open("c", 0));
}

TEST_F(LdfWriterTest, OneProcessPerLog) {
    const std::string told = "3Process " + std::to_string(getpid()) + " writes " + path(A);
    LdfWriter w;
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    write(w, 1);
    w.set_maxlen(LDF_MIN_MAXLEN);
    EXPECT_EQ(0, in_child([&] {
                  for (int i = 0; i < 40; ++i)
                      write(w, 2, std::string(4000, 'x')); // neither record nor rotation
                  LdfWriter::destroy();
                  LdfWriter::init(); // as if it were another program
                  clear_syslog();
                  LdfWriter own;
                  if (own.open("log", 0) != LDF_EREGISTERED || own.is_opened() || Ldf_obj("log") != nullptr)
                      return 1;
                  if (syslog_texts() != std::vector{told}) return 2;
                  if (own.open("childs", 0) != LDF_OK) return 3;
                  write(own, 5);
                  return w.open("other", 0) == LDF_OK ? 0 : 4;
              }));
    write(w, 3);
    EXPECT_EQ((Seqs{1, 3}), seqs_in(A));
    EXPECT_FALSE(exists(path("log_B")));
    LdfWriter again; // the lock of the dead is free
    EXPECT_EQ(LDF_OK, again.open("childs", 0));
    write(again, 6);
    EXPECT_EQ((Seqs{5, 6}), seqs_in("childs_A"));
}

TEST_F(LdfWriterTest, SetsAsideWhatItCannotContinue) {
    const auto file = [](const LdfBuilder& content) {
        return [=](const std::string& p) { content.write(p); };
    };
    const auto link = [](const std::string& to) {
        return [=](const std::string& p) { fs::create_symlink(to, p); };
    };
    const std::string precious = temp.write("precious", "short");
    const std::pair<std::function<void(const std::string&)>, bool> cases[] = {
        // and whether it is kept
        {file(LdfBuilder().version(2, 0)), true},
        {file(LdfBuilder().record().offset_end(116)), true},
        {file(LdfBuilder().record().total_msgs(-1)), true},
        {[](auto& p) { fs::create_directory(p); }, true},
        {[](auto& p) { ASSERT_EQ(0, mkfifo(p.c_str(), 0600)); }, true},
        {link("/tmp"), true},
        {file(LdfBuilder().truncate(116)), false},
        {[](auto&) {}, false},
        {link("nothing"), false},
        {link(precious), false}, // the target of a link is not ours
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        fs::remove_all(path(A));
        fs::remove_all(path(A) + ".err");
        temp.write("ldf/log_A.ldf.err", "older");
        c.first(path(A));
        LdfWriter w;
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        write(w, 5);
        EXPECT_EQ(Seqs{5}, seqs_in(A));
        EXPECT_EQ(c.second,
                  !fs::is_regular_file(path(A) + ".err") || temp.read("ldf/log_A.ldf.err") != "older");
    }
    EXPECT_EQ("short", temp.read("precious"));

    fs::remove_all(path(A) + ".err");
    LdfBuilder().version(9, 0).write(path(A)); // and it cannot be set aside
    fs::create_directories(path(A) + ".err/full");
    LdfWriter w;
    EXPECT_EQ(LDF_EFAIL, w.open("log", 0));
    EXPECT_TRUE(!w.is_opened() && Ldf_obj("log") == &w);
    write(w, 1);
    EXPECT_EQ(LdfBuilder().version(9, 0).bytes(), temp.read("ldf/log_A.ldf"));
}

// The descriptors of the process are used up: the file that cannot be opened is as good as before.
TEST_F(LdfWriterTest, ShortageOfDescriptorsCostsNoFile) {
    LdfBuilder().record().write(path(A));
    const std::string before = temp.read("ldf/log_A.ldf");
    for (const rlim_t left : {0U, 1U}) {
        rlimit limit;
        ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
        const int next = dup(0);
        const rlimit none = {static_cast<rlim_t>(next) + left, limit.rlim_max};
        close(next);
        ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &none));
        LdfWriter w;
        EXPECT_EQ(LDF_EFAIL, w.open("log", 0)) << left;
        ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
        EXPECT_EQ(before, temp.read("ldf/log_A.ldf")) << left;
    }
}

TEST_F(LdfWriterTest, TraceFilesHoldTheLines) {
    LdfReader reader;
    LdfWriter w;
    reader.XXDEBUG("unheard");
    reader.XXDEBUG_OPEN(temp.path("t").c_str()), w.XXDEBUG_OPEN(temp.path("t").c_str());
    reader.XXDEBUG("one %s"), w.XXDEBUG("two");
    EXPECT_EQ("one %s\ntwo\n", temp.read("t-ldfr.debug") + temp.read("t-ldfw.debug"));
}
