#include <unistd.h>

#include "LdfFixture.h"

namespace fs = std::filesystem;

class LdfRotationTest : public LdfFixture {
protected:
    LdfRotationTest() {
        EXPECT_EQ(LDF_OK, w.open("log", 0));
        w.set_maxlen(1000);
    }
    // Writes as many records as bring an empty file A to its limit.
    static constexpr unsigned PER_FILE = 17;
    void fill() {
        for (unsigned i = 0; i < PER_FILE; ++i) write(w, next++, std::string(4000, 'a'));
    }
    // All generations together hold the records from `from` to the last one written, each once.
    void expect_kept(unsigned from = 0) const {
        Seqs range;
        for (unsigned seq = from; seq < next; ++seq) range.push_back(seq);
        EXPECT_EQ(range, seqs(kept("log")));
    }

    LdfWriter w;
    unsigned next = 0;
};

TEST_F(LdfRotationTest, LimitHasALowerBound) {
    for (int limit : {1000, 65535, 65536, 65537, -1, INT32_MAX}) {
        w.set_maxlen(limit);
        EXPECT_EQ(std::max(limit, 65536), w.maxlen());
    }
}

TEST_F(LdfRotationTest, KeepsThreeGenerations) {
    fill();
    EXPECT_FALSE(exists(path("log_B"))); // the limit is looked at before the next write
    for (unsigned generation = 2; generation <= 5; ++generation) {
        fill();
        expect_kept(next - std::min(generation, 3u) * PER_FILE);
        EXPECT_EQ(PER_FILE, read_file("log_B").size());
    }
}

TEST_F(LdfRotationTest, SizeOfTheFileFoundDecides) {
    const struct {
        int64_t size;
        uint32_t offset_end; // 0: behind the record
        int limit;
        bool rotated;
    } cases[] = {{65535, 0, 65536, false},
                 {65536, 0, 65536, true},
                 {LDF_DEFAULT_MAXLEN - 1, 0, 0, false}, // without set_maxlen
                 {LDF_DEFAULT_MAXLEN, 0, 0, true},
                 {5ll << 30, 0, INT32_MAX, true},
                 // A record more would lie where no reader goes; the file never reaches its limit.
                 {INT32_MAX - 100, INT32_MAX - 100, INT32_MAX, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        fs::remove(path("big_B"));
        LdfBuilder file = LdfBuilder().record({.seq = 1});
        if (c.offset_end) file.offset_end(c.offset_end);
        file.write(path("big_A"));
        ASSERT_EQ(0, truncate(path("big_A").c_str(), c.size));
        LdfWriter x;
        ASSERT_EQ(LDF_OK, x.open("big", 0));
        if (c.limit) x.set_maxlen(c.limit);
        write(x, 2);
        EXPECT_EQ(c.rotated ? Seqs{2} : (Seqs{1, 2}), seqs_in("big_A"));
        EXPECT_EQ(c.rotated, exists(path("big_B")));
    }
}

TEST_F(LdfRotationTest, NoNewFileNoRotation) {
    fill();
    fs::create_directories(path("log_A") + ".new/full"); // in the way of the new file
    for (int i = 0; i < 3; ++i) write(w, 1000);
    EXPECT_TRUE(w.is_opened());
    EXPECT_FALSE(exists(path("log_B")));
    expect_kept();
    fs::remove_all(path("log_A") + ".new");
    write(w, next++);
    expect_kept();
    EXPECT_TRUE(exists(path("log_B")));
}

TEST_F(LdfRotationTest, FileRemovedByHandIsStartedAnew) {
    fill();
    fs::remove(path("log_A"));
    write(w, next++);
    expect_kept(next - 1);
}

TEST_F(LdfRotationTest, DeathBetweenTheRenamesIsMended) {
    const struct {
        std::vector<const char*> files;        // what the dead writer left, each with one record
        Seqs kept;                             // after writing 5 and, rotated, 6
    } cases[] = {{{"_A", "_C"}, {2, 0, 5, 6}}, // B had become C, which a missing B must not cost
                 {{"_B", "_C"}, {1, 5, 6}},
                 {{"_A", "_B", "_C"}, {1, 0, 5, 6}}};
    for (const auto& c : cases) {
        const std::string log = std::string("dead") + static_cast<char>('0' + (&c - cases));
        SCOPED_TRACE(log);
        for (const char* suffix : c.files)
            LdfBuilder().record({.seq = static_cast<uint32_t>(suffix[1] - 'A')}).write(path(log + suffix));
        LdfBuilder().truncate(60).write(path(log + "_A") + ".new");
        for (unsigned seq : {5u, 6u}) {
            LdfWriter x;
            ASSERT_EQ(LDF_OK, x.open(log.c_str(), 0));
            write(x, seq);
            EXPECT_EQ(0, truncate(path(log + "_A").c_str(), LDF_DEFAULT_MAXLEN));
        }
        EXPECT_EQ(c.kept, seqs(kept(log)));
        EXPECT_FALSE(exists(path(log + "_A") + ".err"));
    }
}
