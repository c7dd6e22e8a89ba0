// Reads, writes and renames that fail, come up short or are interrupted at a chosen call. No file system does
// this on demand, so this program's own pread, pwrite and rename stand before those of the C library.
#include <cerrno>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "LdfFixture.h"

namespace {

constexpr ssize_t WHOLE = -1;       // let the call pass
constexpr ssize_t FAIL = -2;        // EIO
constexpr ssize_t INTERRUPTED = -3; // EINTR

// What happens to the next calls, in order; a size means that so many bytes are transferred.
std::vector<ssize_t> read_plan, write_plan;
int reads, writes, reports;
std::string unmovable; // letters of the generations whose files cannot be renamed

// The number of bytes to transfer, or a negative result with errno set.
ssize_t follow(std::vector<ssize_t>& plan, size_t size) {
    if (plan.empty()) return static_cast<ssize_t>(size);
    const ssize_t step = plan.front();
    plan.erase(plan.begin());
    if (step == WHOLE) return static_cast<ssize_t>(size);
    if (step >= 0) return std::min(step, static_cast<ssize_t>(size));
    errno = step == FAIL ? EIO : EINTR;
    return -1;
}

} // namespace

extern "C" ssize_t pread(int fd, void* buf, size_t size, off_t offset) {
    ++reads;
    const ssize_t n = follow(read_plan, size);
    return n < 0 ? n : syscall(SYS_pread64, fd, buf, n, offset);
}

extern "C" ssize_t pwrite(int fd, const void* buf, size_t size, off_t offset) {
    ++writes;
    const ssize_t n = follow(write_plan, size);
    return n < 0 ? n : syscall(SYS_pwrite64, fd, buf, n, offset);
}

extern "C" int rename(const char* from, const char* to) {
    const std::string_view path = from;
    if (path.ends_with(".ldf") && unmovable.find(path[path.size() - 5]) != std::string::npos) {
        errno = EPERM;
        return -1;
    }
    return renameat(AT_FDCWD, from, AT_FDCWD, to);
}

extern "C" void syslog(int, const char*, ...) {
    ++reports;
}

// What syslog is in builds with checked library calls.
extern "C" void __syslog_chk(int, int, const char*, ...) {
    ++reports;
}

class LdfFault : public LdfFixture {
protected:
    ~LdfFault() override {
        read_plan.clear();
        write_plan.clear();
        unmovable.clear();
    }
};

TEST_F(LdfFault, CallsAreFew) {
    LdfWriter w;
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    writes = 0;
    for (unsigned seq = 0; seq < 10; ++seq) write(w, seq);
    EXPECT_EQ(20, writes); // a record and a header each

    LdfReader reader;
    open(reader, LdfBuilder().records(62000, {.args = {"resource1", "ONLINE"}})); // 46 windows
    reads = 0;
    EXPECT_EQ(62000u, read_all(reader).size());
    EXPECT_LE(reads, 60);
    reads = 0;
    EXPECT_EQ(LDF_OK, reader.tail(20));
    EXPECT_LE(reads, 60);
}

TEST_F(LdfFault, FailedWriteCostsItsRecordOnly) {
    const struct {
        const char* name;
        std::vector<ssize_t> plan;
        bool written;
    } cases[] = {
        {"record fails", {FAIL}, false},
        {"record comes up short, then fails", {10, FAIL}, false},
        {"record takes nothing", {0}, false},
        {"header fails", {WHOLE, FAIL}, false},
        {"header fails behind the record count", {WHOLE, 64, FAIL}, false},
        {"record in pieces", {1, 10, 20}, true},
        {"header in pieces", {WHOLE, 1, 60}, true},
        {"interrupted before each", {INTERRUPTED, WHOLE, INTERRUPTED, INTERRUPTED}, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::filesystem::remove(path("log_A"));
        LdfWriter w;
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        write(w, 1);
        write_plan = c.plan;
        write(w, 2, "longer than the others", 1, 3);
        EXPECT_TRUE(write_plan.empty());
        EXPECT_EQ(c.written ? 2u : 1u, read_file("log_A").size()); // right even before the next write
        EXPECT_EQ(c.written, header_of("log_A").total_error == 1);
        EXPECT_EQ(c.written, header_of("log_A").total_grp_msg == 1);
        write(w, 3);
        EXPECT_EQ(c.written ? (Seqs{1, 2, 3}) : (Seqs{1, 3}), seqs_in("log_A"));
    }
}

TEST_F(LdfFault, FailedNewFileLeavesNoTrace) {
    LdfWriter w;
    write_plan = {50, FAIL, FAIL}; // the first header, and the one that setting aside would make
    EXPECT_EQ(LDF_EFAIL, w.open("log", 0));
    EXPECT_TRUE(std::filesystem::is_empty(root + "/ldf"));

    LdfBuilder().record({.seq = 1}).append(std::string(LDF_DEFAULT_MAXLEN, '-')).write(path("full_A"));
    ASSERT_EQ(LDF_OK, w.open("full", 0));
    write_plan = {116, FAIL}; // a disk with no room for another file
    write(w, 2);
    EXPECT_FALSE(exists(path("full_A") + ".new"));
    EXPECT_EQ(Seqs{1}, seqs(kept("full")));
    write(w, 3);
    EXPECT_EQ((Seqs{1, 3}), seqs(kept("full")));
}

// However often a rotation is tried in vain, it costs no more than the one generation that it may cost.
TEST_F(LdfFault, FileThatCannotBeRenamedCostsNoGeneration) {
    const struct {
        const char *unmovable, *in_the_way; // a directory
        Seqs kept;                          // of 1 in C, 2 in B, 3 in a full A, and 4 to 6 written in vain
    } cases[] = {{"A", "", {2, 3, 4, 5, 6}},           {"B", "", {1, 3, 4, 5, 6}},
                 {"AB", "", {1, 2, 3, 4, 5, 6}},       {"A", "log_C.ldf/full", {2, 3, 4, 5, 6}},
                 {"", "log_C.ldf", {2, 3, 4, 5, 6}}, // an empty one gives way
                 {"A", "log_B.ldf/full", {3, 4, 5, 6}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.unmovable) + " " + c.in_the_way);
        for (unsigned seq : {1u, 2u, 3u}) {
            const std::string file = path(std::string("log_") + "?CBA"[seq]);
            std::filesystem::remove_all(file);
            LdfBuilder().record({.seq = seq}).append(std::string(LDF_MIN_MAXLEN, '-')).write(file);
        }
        if (*c.in_the_way) {
            std::filesystem::remove(root + "/ldf/" + std::string(c.in_the_way, 9));
            std::filesystem::create_directories(root + "/ldf/" + c.in_the_way);
        }
        LdfWriter w;
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        w.set_maxlen(LDF_MIN_MAXLEN);
        unmovable = c.unmovable;
        for (unsigned seq : {4u, 5u, 6u}) write(w, seq);
        EXPECT_EQ(c.kept, seqs(kept("log")));
        EXPECT_FALSE(exists(path("log_A") + ".new"));
        unmovable.clear();
        for (const char* name : {"log_B", "log_C"})
            if (std::filesystem::is_directory(path(name))) std::filesystem::remove_all(path(name));
        write(w, 7); // the obstacle is gone
        EXPECT_EQ(*c.unmovable == 'A' ? 1u : 4u, read_file("log_A").size());
    }
}

TEST_F(LdfFault, FailureThatLastsIsReportedOnce) {
    LdfBuilder().append(std::string(LDF_DEFAULT_MAXLEN, '-')).write(path("log_A"));
    LdfWriter w;
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    reports = 0;
    unmovable = "A";
    read_plan = {FAIL};
    write(w, 1); // a rotation that neither moves A nor can go on with it
    EXPECT_FALSE(w.is_opened());
    write_plan = {FAIL, FAIL, FAIL}; // A goes on, but now there is no room for a new file
    for (unsigned seq : {2u, 3u, 4u}) write(w, seq);
    EXPECT_EQ(1, reports);
    std::filesystem::remove(path("log_A"));
    std::filesystem::create_directory(path("log_A"));
    for (unsigned seq : {5u, 6u, 7u}) write(w, seq); // A can neither be moved nor opened
    EXPECT_EQ(2, reports);
}

TEST_F(LdfFault, ReadsInPiecesAndFailures) {
    const struct {
        const char* name;
        std::vector<ssize_t> plan; // behind the read of the header
        size_t records;
        int end;
    } cases[] = {
        {"in pieces", {3, 1, 30, 2, 60, 7}, 3, LDF_EEND},
        {"interrupted", {INTERRUPTED, 10, INTERRUPTED, WHOLE}, 3, LDF_EEND},
        {"fails at once", {FAIL}, 0, LDF_EFAIL},
        {"fails within a fixed part", {10, FAIL}, 0, LDF_EFAIL},
        {"fails within a text", {30, FAIL}, 0, LDF_EFAIL},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LdfReader reader;
        open(reader, LdfBuilder().records(3, {.args = {"a", "bc"}}));
        read_plan = c.plan;
        int end = 0;
        EXPECT_EQ(c.records, read_all(reader, {}, &end).size());
        EXPECT_EQ(c.end, end);
        read_plan.clear();
        EXPECT_EQ(3 - c.records, read_all(reader).size()); // a failure that has passed costs nothing
    }
    for (ssize_t step : {FAIL, ssize_t{116}}) {
        read_plan = {step};
        LdfReader reader;
        EXPECT_EQ(LDF_EFAIL, reader.open(nullptr, "f"));
    }
}
