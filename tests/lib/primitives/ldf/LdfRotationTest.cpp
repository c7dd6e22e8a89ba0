#include <csignal>
#include <sys/resource.h>

#include "LdfFixture.h"

namespace fs = std::filesystem;

class LdfRotationTest : public LdfFixture {
protected:
    LdfRotationTest() {
        EXPECT_EQ(LDF_OK, w.open("log", 0));
        w.set_maxlen(1000);
    }
    // Writes 4000-byte records until file A has reached its limit.
    void fill() {
        const auto done = [&] { return fs::file_size(path("log_A")) >= LDF_MIN_MAXLEN; };
        do write(w, next++, std::string(4000, 'a'));
        while (!done());
    }
    std::vector<unsigned> all() const {
        std::vector<unsigned> total;
        for (const char* name : {"log_C", "log_B", "log_A"})
            if (fs::is_regular_file(path(name)))
                for (unsigned seq : seqs(read_file(name))) total.push_back(seq);
        return total;
    }
    static std::vector<unsigned> range(unsigned from, unsigned to) {
        std::vector<unsigned> r;
        while (from < to) r.push_back(from++);
        return r;
    }

    LdfWriter w;
    unsigned next = 0;
};

TEST_F(LdfRotationTest, LimitHasALowerBound) {
    EXPECT_EQ(65536, w.maxlen());
    const struct {
        int set, expect;
    } cases[] = {{65535, 65536}, {65536, 65536}, {65537, 65537}, {-1, 65536}, {INT32_MAX, INT32_MAX}};
    for (const auto& c : cases) {
        w.set_maxlen(c.set);
        EXPECT_EQ(c.expect, w.maxlen());
    }
}

TEST_F(LdfRotationTest, KeepsThreeGenerations) {
    fill();
    const unsigned per_file = next;
    EXPECT_FALSE(exists(path("log_B"))); // the limit is looked at before the next write
    for (int generation = 2; generation <= 5; ++generation) {
        fill();
        EXPECT_EQ(per_file * static_cast<unsigned>(generation), next);
        const unsigned kept = static_cast<unsigned>(std::min(generation, 3)) * per_file;
        EXPECT_EQ(range(next - kept, next), all());
    }
    EXPECT_LT(fs::file_size(path("log_B")), 65536u + LDF_RECORD_MAX);
}

TEST_F(LdfRotationTest, FileOfExactlyTheLimitIsRotated) {
    for (size_t size : {65535u, 65536u}) {
        fs::remove(path("log_B"));
        LdfBuilder file = LdfBuilder().record({.seq = 1});
        file.append(std::string(size - file.bytes().size(), '-')).write(path("exact_A"));
        LdfWriter x;
        ASSERT_EQ(LDF_OK, x.open("exact", 0));
        x.set_maxlen(65536);
        write(x, 2);
        EXPECT_EQ(size == 65536, exists(path("exact_B")));
        EXPECT_EQ(size == 65536 ? 1u : 2u, read_file("exact_A").size());
    }
}

TEST_F(LdfRotationTest, FileThatCannotBeRenamedIsContinued) {
    fs::create_directories(path("log_B") + "/full"); // neither renamed onto C nor replaced by A
    fs::create_directories(path("log_C") + "/full");
    fill();
    for (int i = 0; i < 3; ++i) write(w, next++);
    EXPECT_EQ(range(0, next), seqs(read_file("log_A")));
    EXPECT_FALSE(exists(path("log_A") + ".new"));
    fs::remove_all(path("log_B"));
    fs::remove_all(path("log_C"));
    write(w, next++);
    EXPECT_EQ(range(0, next), all());
    EXPECT_EQ(1u, read_file("log_A").size());
}

TEST_F(LdfRotationTest, NoNewFileNoRotation) {
    fill();
    const unsigned kept = next;
    fs::create_directories(path("log_A") + ".new/full"); // in the way of the new file
    for (int i = 0; i < 3; ++i) write(w, 1000);
    EXPECT_TRUE(w.is_opened());
    EXPECT_EQ(range(0, kept), seqs(read_file("log_A")));
    EXPECT_FALSE(exists(path("log_B")));
    fs::remove_all(path("log_A") + ".new");
    write(w, next++);
    EXPECT_EQ(range(0, next), all());
    EXPECT_TRUE(exists(path("log_B")));
}

TEST_F(LdfRotationTest, FullDiskAtRotationLosesNoFile) {
    signal(SIGXFSZ, SIG_IGN);
    fill();
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit limit = {116, old.rlim_max}; // one byte short of a new header
    setrlimit(RLIMIT_FSIZE, &limit);
    write(w, 1000);
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_FALSE(exists(path("log_A") + ".new"));
    EXPECT_EQ(range(0, next), all());
    write(w, next++);
    EXPECT_EQ(range(0, next), all());
}

TEST_F(LdfRotationTest, FileRemovedByHandIsStartedAnew) {
    fill();
    fs::remove(path("log_A"));
    write(w, next++);
    EXPECT_EQ(range(next - 1, next), all());
}

TEST_F(LdfRotationTest, ReopenedWriterRotatesAFileOverItsLimit) {
    LdfBuilder().record({.seq = 1}).append(std::string(LDF_DEFAULT_MAXLEN, '-')).write(path("big_A"));
    LdfWriter x;
    ASSERT_EQ(LDF_OK, x.open("big", 0));
    write(x, 2);
    EXPECT_EQ((std::vector<unsigned>{2}), seqs(read_file("big_A")));
    EXPECT_EQ((std::vector<unsigned>{1}), seqs(read_file("big_B")));
}

TEST_F(LdfRotationTest, MissingBDoesNotCostC) {
    LdfBuilder().record({.seq = 77}).write(path("log_C")); // B had become C when the writer died
    fill();
    write(w, next++);
    EXPECT_EQ((std::vector<unsigned>{77}), seqs(read_file("log_C")));
    EXPECT_EQ(next - 1, read_file("log_B").size());
}

TEST_F(LdfRotationTest, DeathBetweenTheRenamesIsMended) {
    const struct {
        const char* name;
        std::vector<const char*> files; // what the dead writer left
    } cases[] = {{"after B became C", {"_A", "_C"}},
                 {"after A became B", {"_B", "_C"}},
                 {"before the first", {"_A", "_B", "_C"}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string log = std::string("dead") + static_cast<char>('0' + (&c - cases));
        for (const char* suffix : c.files) LdfBuilder().records(2).write(path(log + suffix));
        LdfBuilder().truncate(60).write(path(log + "_A") + ".new");
        const bool had_a = exists(path(log + "_A"));
        LdfWriter x;
        ASSERT_EQ(LDF_OK, x.open(log.c_str(), 0));
        write(x, 5);
        EXPECT_EQ(had_a ? 3u : 1u, read_file(log + "_A").size());
        for (const char* suffix : c.files) EXPECT_TRUE(exists(path(log + suffix)));
        EXPECT_FALSE(exists(path(log + "_A") + ".err"));
    }
}
