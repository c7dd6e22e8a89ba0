#include "LdfFixture.h"
#include "primitives/ldf/LdfBatch.h"

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

// Small records and the longest, over rotations, with a record that does not wait among them.
TEST_F(LdfWriterTest, GatheredRecordsMakeTheFilesOfSingleOnes) {
    std::string kept[2]; // without what tells the time
    for (const bool joins : {false, true}) {
        auto w = std::make_unique<LdfWriter>();
        ASSERT_EQ(LDF_OK, w->open("log", 0));
        w->set_maxlen(LDF_MIN_MAXLEN);
        for (unsigned seq = 0; seq < 500; ++seq) {
            gather(*w, seq, std::string(seq < 300 ? seq : (seq * 411) % LDF_TEXT_MAX, 'x'));
            if (!joins) w->write_gathered();
            if (seq % 97 == 0) write(*w, 1000 + seq);
        }
        w.reset(); // writes the last ones
        for (const char* file : {"ldf/log_C.ldf", "ldf/log_B.ldf", "ldf/log_A.ldf"}) {
            kept[joins] += temp.read(file).substr(57);
            fs::remove(temp.path(file));
        }
    }
    EXPECT_TRUE(kept[0] == kept[1]);
}

TEST_F(LdfWriterTest, ManyGatheredRecordsTakeTwoWrites) {
    std::vector<size_t> sizes;
    LdfWriter w; // ends first: its calls are noted
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    system_call_plan = [&](const SystemCall& call) { return sizes.push_back(call.size), PASS; };
    for (unsigned seq = 0; seq < LdfBatch::RECORDS; ++seq) gather(w, seq);
    EXPECT_TRUE(sizes.empty());
    gather(w, 64);
    for (int i = 0; i < 2; ++i) w.write_gathered(); // then there is nothing
    const size_t record = LDF_RECORD_HEADER_SIZE + 7;
    EXPECT_EQ((std::vector<size_t>{64 * record, LDF_HEADER_SIZE, record, LDF_HEADER_SIZE}), sizes);
    EXPECT_EQ(65u, seqs_in("log_A").size());
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
    const std::tuple<int64_t, int, bool, uint32_t> cases[] = {
        // size, limit (0: not set), whether the next record goes to a new file, offset_end (0: behind the
        // record)
        {65535, 1000, false, 0}, // the smallest limit
        {65536, 65535, true, 0},
        {65536, 65537, false, 0},
        {LDF_DEFAULT_MAXLEN - 1, 0, false, 0},
        {LDF_DEFAULT_MAXLEN, 0, true, 0},
        {5ll << 30, INT32_MAX, true, 0},
        // A record more would lie where no reader goes; the file never reaches its limit.
        {INT32_MAX - 100, INT32_MAX, true, INT32_MAX - 100}};
    for (const auto& [size, limit, rotated, end] : cases) {
        SCOPED_TRACE(size);
        LdfBuilder file = LdfBuilder().record({.seq = 1});
        if (end) file.offset_end(end);
        file.write(path(A));
        ASSERT_EQ(0, truncate(path(A).c_str(), size));
        LdfWriter w;
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        if (limit) w.set_maxlen(limit);
        write(w, 2);
        EXPECT_EQ(rotated ? Seqs{2} : (Seqs{1, 2}), seqs_in(A));
        EXPECT_TRUE(!rotated || seqs_in("log_B") == Seqs{1}); // however large it is
    }
}

// The names of readers and of writers, each kind for itself.
template <class Object>
static void expect_one_per_name(int (*open)(Object&, const char*), Object* (*find)(const char*)) {
    Object first, second;
    EXPECT_EQ(LDF_ENONAME, open(first, nullptr));
    EXPECT_EQ(LDF_OK, open(first, "f"));
    EXPECT_EQ(LDF_EREGISTERED, open(second, "F"));
    EXPECT_EQ(LDF_OK, open(first, "g")); // moves on
    EXPECT_TRUE(find("f") == nullptr && find("G") == &first);
    Object::destroy();
    EXPECT_EQ(LDF_ENOINIT, open(second, "h"));
    Object::init();
    EXPECT_EQ(LDF_OK, open(second, "g"));
    EXPECT_EQ(LDF_OK, open(first, "f")); // gives up a name that by now is another's
    EXPECT_EQ(&second, find("g"));
}

TEST_F(LdfWriterTest, OneObjectPerName) {
    for (const char* name : {"f", "g"}) LdfBuilder().write(path(name));
    expect_one_per_name<LdfReader>([](LdfReader& r, const char* name) { return r.open(nullptr, name); },
                                   LdfReader_obj);
    expect_one_per_name<LdfWriter>([](LdfWriter& w, const char* name) { return w.open(name, 0); }, Ldf_obj);
    LdfWriter w;
    EXPECT_EQ(LDF_EFAIL, w.open("a/b", 0));
    setenv("TAQ_LDF", (root + "/none").c_str(), 1);
    EXPECT_EQ(LDF_EROOT, w.open("b", 0));
    EXPECT_EQ(nullptr, Ldf_obj("b"));
    write(w, 0); // closed: nothing happens
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
                  EXPECT_EQ(LDF_EREGISTERED, own.open("log", 0));
                  EXPECT_TRUE(!own.is_opened() && Ldf_obj("log") == nullptr);
                  EXPECT_EQ(std::vector{told}, syslog_texts());
                  EXPECT_EQ(LDF_OK, own.open("childs", 0));
                  write(own, 5);
                  EXPECT_EQ(LDF_OK, w.open("other", 0));
                  return HasFailure() ? 1 : 0;
              }));
    write(w, 3);
    EXPECT_EQ((Seqs{1, 3}), seqs_in(A));
    EXPECT_FALSE(exists(path("log_B")));
    EXPECT_EQ(LDF_OK, w.open("childs", 0)); // the lock of the dead is free
    write(w, 6);
    EXPECT_EQ((Seqs{5, 6}), seqs_in("childs_A"));
}

// What stands where the current file belongs: what a reader says of it, and whether a writer keeps it aside.
TEST_F(LdfWriterTest, SetsAsideWhatItCannotContinue) {
    using Step = std::function<void(const std::string&)>;
    const auto file = [](const LdfBuilder& content) -> Step { return [=](auto& p) { content.write(p); }; };
    const auto link = [](const std::string& to) -> Step {
        return [=](auto& p) { fs::create_symlink(to, p); };
    };
    const std::string precious = temp.write("precious", "short");
    const std::tuple<Step, int, bool> cases[] = {
        {file(LdfBuilder().signature(0).version(4, 0)), LDF_EFAIL, true},
        {file(LdfBuilder().version(4, 0)), LDF_EVERSION, true},
        {file(LdfBuilder().version(3, 1)), LDF_EVERSION, true},
        {file(LdfBuilder().offset_end(118)), LDF_EFAIL, true},
        {file(LdfBuilder().offset_end(0x80000000u)), LDF_EFAIL, true},
        {file(LdfBuilder().record().offset_end(116)), LDF_OK, true},
        {file(LdfBuilder().record().total_msgs(-1)), LDF_OK, true},
        {file(LdfBuilder().record().append(std::string(100, '\0')).offset_end(150 + 60)), LDF_OK,
         true}, // a hole
        {[](auto& p) { fs::create_directory(p); }, LDF_EFAIL, true},
        {[](auto& p) { ASSERT_EQ(0, mkfifo(p.c_str(), 0600)); }, LDF_EFAIL, true}, // not waited for
        {link("/tmp"), LDF_EFAIL, true},
        {file(LdfBuilder().truncate(116)), LDF_EFAIL, false},
        {[](auto&) {}, LDF_EFAIL, false},
        {link("nothing"), LDF_EFAIL, false},
        {link(precious), LDF_EFAIL, false}, // the target of a link is not ours
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const auto& [lay, result, kept] = c;
        fs::remove(path(A));
        lay(path(A));
        const bool stays = kept || fs::is_symlink(path(A));
        {
            LdfReader reader;
            EXPECT_EQ(result, reader.open(nullptr, A.c_str()));
            EXPECT_EQ(result == LDF_OK ? &reader : nullptr, LdfReader_obj(A.c_str()));
        }
        EXPECT_EQ(stays, exists(path(A))) << "a reader removes a file without room for a header";
        fs::remove_all(path(A));
        fs::remove_all(path(A) + ".err");
        temp.write("ldf/log_A.ldf.err", "older");
        lay(path(A));
        LdfWriter w;
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        write(w, 5);
        EXPECT_EQ(Seqs{5}, seqs_in(A));
        EXPECT_EQ(kept, !fs::is_regular_file(path(A) + ".err") || temp.read("ldf/log_A.ldf.err") != "older");
    }
    EXPECT_EQ("short", temp.read("precious"));

    fs::remove_all(path(A) + ".err");
    LdfBuilder().version(9, 0).write(path(A)); // and it cannot be set aside
    temp.make("ldf/log_A.ldf.err/full");
    LdfWriter w;
    EXPECT_EQ(LDF_EFAIL, w.open("log", 0));
    EXPECT_TRUE(!w.is_opened() && Ldf_obj("log") == &w);
    write(w, 1);
    EXPECT_EQ(LdfBuilder().version(9, 0).bytes(), temp.read("ldf/log_A.ldf"));
}

// The descriptors of the process are used up: the file that cannot be opened is as good as before.
TEST_F(LdfWriterTest, ShortageOfDescriptorsCostsNoFile) {
    LdfBuilder().record().write(path(A));
    rlimit limit;
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
    for (const rlim_t left : {0U, 1U}) {
        const int next = dup(0);
        const rlimit none = {static_cast<rlim_t>(next) + left, limit.rlim_max};
        close(next);
        setrlimit(RLIMIT_NOFILE, &none);
        LdfWriter w;
        EXPECT_EQ(LDF_EFAIL, w.open("log", 0)) << left;
        setrlimit(RLIMIT_NOFILE, &limit);
        EXPECT_EQ(LdfBuilder().record().bytes(), temp.read("ldf/log_A.ldf")) << left;
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
