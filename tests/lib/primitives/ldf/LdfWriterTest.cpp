#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "LdfFixture.h"

namespace fs = std::filesystem;

class LdfWriterTest : public LdfFixture {
protected:
    const std::string A = "log_A";

    // The bytes of the current file with both times of the header blanked.
    std::string timeless() const { return bytes_of(A).replace(49, 8, 8, '\0'); }
};

TEST_F(LdfWriterTest, FileIsByteForByteWhatTheFormatSays) {
    fs::remove(root + "/ldf");
    const std::string host(40, 'h'); // cut to the 32 characters that fit
    setenv("ZORQ_LOCAL_NAME", host.c_str(), 1);
    LdfBuilder expect = LdfBuilder().system(host.substr(0, 32)).flags(1).created(0).modified(0);
    LdfWriter w;
    const time_t before = time(nullptr);
    ASSERT_EQ(LDF_OK, w.open("log", 1)); // makes the missing directory
    EXPECT_EQ(path(A), w.pathAp());
    EXPECT_EQ(LDF_DEFAULT_MAXLEN, w.maxlen());
    EXPECT_EQ(expect.bytes(), timeless());

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
    for (char obj = 0; obj <= 6; ++obj) {
        for (int sev : {0, 1, 2, 3, 4, 5, 57, 255}) {
            if (sev <= obj) continue; // different totals for each counter
            write(w, 9, "x", static_cast<char>(sev), obj);
            plain.sev = static_cast<uint8_t>(sev);
            plain.obj = static_cast<uint8_t>(obj);
            expect.record(plain);
        }
    }
    EXPECT_EQ(expect.bytes(), timeless());
    const ldf_header_t h = header_of(A);
    EXPECT_LE(before, h.datetime_create);
    EXPECT_LE(h.datetime_create, h.datetime_modify);
    EXPECT_LE(h.datetime_modify, time(nullptr));
}

TEST_F(LdfWriterTest, CountersStandStillAtTheirLimit) {
    LdfBuilder().record().total_msgs(INT32_MAX).put32(65, INT32_MAX).put32(69, 0x80000000).write(path(A));
    LdfWriter w;
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    for (int sev : {1, 2}) write(w, 1, "x", static_cast<char>(sev));
    const ldf_header_t h = header_of(A);
    EXPECT_EQ(INT32_MAX, h.total_msgs);
    EXPECT_EQ(INT32_MAX, h.total_error);
    EXPECT_EQ(INT32_MIN + 1, h.total_warning);
}

TEST_F(LdfWriterTest, LongestTextFitsAndALongerOneIsLeftOut) {
    LdfWriter w;
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    for (size_t len : {4089u, 4090u, 4091u, 100000u})
        write(w, 0, std::string(len, 'a')); // f, g, 3 separators, NUL
    std::vector<uint32_t> sizes;
    for (const auto& r : read_file(A)) sizes.push_back(r.data_size);
    EXPECT_EQ((std::vector<uint32_t>{4095, 4096, 1, 1}), sizes);
    EXPECT_EQ(fs::file_size(path(A)), header_of(A).offset_end);
}

TEST_F(LdfWriterTest, SizeOfTheFileDecidesAboutRotation) {
    const struct {
        int64_t size;
        uint32_t offset_end; // 0: behind the record
        int limit;
        bool rotated;
    } cases[] = {{65535, 0, 1000, false}, // the smallest limit
                 {65536, 0, 65535, true},
                 {65536, 0, 65537, false},
                 {LDF_DEFAULT_MAXLEN - 1, 0, 0, false}, // without set_maxlen
                 {LDF_DEFAULT_MAXLEN, 0, 0, true},
                 {5ll << 30, 0, INT32_MAX, true},
                 // A record more would lie where no reader goes; the file never reaches its limit.
                 {INT32_MAX - 100, INT32_MAX - 100, INT32_MAX, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        LdfBuilder file = LdfBuilder().record({.seq = 1});
        if (c.offset_end) file.offset_end(c.offset_end);
        file.write(path(A));
        LdfBuilder().record({.seq = 0}).write(path("log_B"));
        ASSERT_EQ(0, truncate(path(A).c_str(), c.size));
        LdfWriter w;
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        if (c.limit) w.set_maxlen(c.limit);
        write(w, 2);
        EXPECT_EQ(c.rotated ? Seqs{2} : (Seqs{1, 2}), seqs_in(A));
        EXPECT_EQ(c.rotated, exists(path("log_C")));
        fs::remove(path("log_C"));
    }
}

TEST_F(LdfWriterTest, OneWriterPerLog) {
    LdfWriter first, second;
    EXPECT_EQ(LDF_ENONAME, first.open(nullptr, 0));
    EXPECT_EQ(LDF_OK, first.open("log", 0));
    EXPECT_EQ(LDF_EREGISTERED, second.open("LOG", 0));
    EXPECT_EQ(&first, Ldf_obj("Log"));
    const struct {
        std::string root, name;
        int expect;
    } refused[] = {{root, "a/b", LDF_EFAIL},
                   {root + "/none", "b", LDF_EROOT},
                   {"/proc/self", "b", LDF_EFAIL}}; // "ldf" cannot be made there
    for (const auto& c : refused) {
        setenv("TAQ_LDF", c.root.c_str(), 1);
        EXPECT_EQ(c.expect, second.open(c.name.c_str(), 0)) << c.root << c.name;
        EXPECT_EQ(nullptr, Ldf_obj(c.name.c_str()));
        write(second, 0); // closed: nothing happens
    }
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
    const pid_t parent = getpid();
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
                  if (syslog_texts() !=
                      std::vector{"3Process " + std::to_string(parent) + " writes " + path(A)})
                      return 2;
                  if (own.open("childs", 0) != LDF_OK) return 3;
                  write(own, 5);
                  return w.open("other", 0) == LDF_OK ? 0 : 4;
              }));
    write(w, 3);
    EXPECT_EQ((Seqs{1, 3}), seqs_in(A));
    EXPECT_EQ(Seqs{5}, seqs_in("childs_A"));
    EXPECT_FALSE(exists(path("log_B")));
    LdfWriter again; // the lock of the dead is free
    EXPECT_EQ(LDF_OK, again.open("childs", 0));
    write(again, 6);
    EXPECT_EQ((Seqs{5, 6}), seqs_in("childs_A"));
}

TEST_F(LdfWriterTest, DescriptorsAreNoStandardOnesAndDoNotOutliveExec) {
    LdfBuilder().record().write(path("f"));
    EXPECT_EQ(0, in_child([&] {
                  for (int fd = 0; fd < 100; ++fd) close(fd);
                  LdfReader reader;
                  LdfWriter created, continued;
                  if (reader.open(nullptr, "f") || created.open("log", 0) || continued.open("log2", 0))
                      return 1;
                  created.XXDEBUG_OPEN((root + "/t").c_str());
                  for (int fd = 0; fd < 100; ++fd) {
                      const int flags = fcntl(fd, F_GETFD);
                      if (flags != -1 && (fd < 3 || flags != FD_CLOEXEC)) return 2;
                  }
                  return 0;
              }));
}

TEST_F(LdfWriterTest, SetsAsideWhatItCannotContinue) {
    std::ofstream(root + "/precious") << "short";
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
        {"link to a short file", [this](auto& p) { fs::create_symlink(root + "/precious", p); }, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fs::remove_all(path(A));
        std::ofstream(path(A) + ".err") << "older";
        c.make(path(A));
        LdfWriter w;
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        write(w, 5);
        EXPECT_EQ(Seqs{5}, seqs_in(A));
        EXPECT_EQ(!c.aside,
                  fs::is_regular_file(path(A) + ".err") && temp.read("ldf/log_A.ldf.err") == "older");
        EXPECT_FALSE(exists(root + "/ldf/log_A.new"));
        fs::remove_all(path(A) + ".err");
    }
    EXPECT_EQ("short", temp.read("precious")); // the target of a link is not ours
}

TEST_F(LdfWriterTest, FailedOpenLeavesNothingWritable) {
    LdfBuilder().version(9, 0).record().write(path(A)); // and the place for what is set aside is taken
    const std::string before = bytes_of(A);
    fs::create_directories(path(A) + ".err/full");
    LdfWriter w;
    EXPECT_EQ(LDF_EFAIL, w.open("log", 0));
    EXPECT_FALSE(w.is_opened());
    EXPECT_EQ(&w, Ldf_obj("log"));
    write(w, 1);
    w.set_maxlen(70000);
    EXPECT_EQ(0, w.maxlen());
    EXPECT_EQ(before, bytes_of(A));
}

// The descriptors of the process are used up: the file that cannot be opened is as good as before.
TEST_F(LdfWriterTest, ShortageOfDescriptorsCostsNoFile) {
    LdfBuilder().record().write(path(A));
    const std::string before = bytes_of(A);
    for (const rlim_t left : {0, 1}) {
        rlimit limit;
        ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
        const int next = dup(0);
        const rlimit none = {static_cast<rlim_t>(next) + left, limit.rlim_max};
        close(next);
        ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &none));
        LdfWriter w;
        EXPECT_EQ(LDF_EFAIL, w.open("log", 0)) << left;
        ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
        EXPECT_EQ(before, bytes_of(A)) << left;
    }
}

TEST_F(LdfWriterTest, ObjectTypeOutsideTheTableIsFatal) {
    LdfWriter w;
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    for (int obj : {7, -1})
        EXPECT_DEATH(write(w, 0, "x", 4, static_cast<char>(obj)), "ASSERTION FAILED") << obj;
}

TEST_F(LdfWriterTest, TraceFileHoldsTheLines) {
    const std::string name = root + "/t";
    LdfReader reader;
    LdfWriter w;
    reader.XXDEBUG("unheard");
    reader.XXDEBUG_OPEN(name.c_str());
    reader.XXDEBUG("one %s");
    w.XXDEBUG_OPEN((name + std::string(5000, 'n')).c_str()); // cut
    w.XXDEBUG("two");
    EXPECT_EQ("one %s\n", temp.read("t-ldfr.debug"));
    EXPECT_EQ("two\n", temp.read("t" + std::string(254 - name.size(), 'n')));
}
