// Calls that fail, come up short or are the last of a process, and what stands in a writer's way.
#include <cerrno>
#include <sys/wait.h>
#include <unistd.h>

#include "LdfFixture.h"
#include "support/SystemCalls.h"

namespace fs = std::filesystem;

namespace {

// What happens to the next calls of one name, in order: bytes that are transferred, or an error. More pass.
class Plan {
public:
    Plan(std::string_view name, std::vector<ssize_t> steps) : _steps(std::move(steps)) {
        system_call_plan = [this, name](const SystemCall& call) {
            if (call.name != name) return PASS;
            return _next < _steps.size() ? _steps[_next++] : PASS;
        };
    }
    ~Plan() { system_call_plan = nullptr; }
    Plan(const Plan&) = delete;
    Plan& operator=(const Plan&) = delete;
    bool is_done() const { return _next == _steps.size(); }

private:
    std::vector<ssize_t> _steps;
    size_t _next = 0;
};

} // namespace

class LdfFault : public LdfFixture {
protected:
    // A file of one record that has reached the smallest limit.
    void lay_full(const std::string& name, unsigned seq) const {
        LdfBuilder().record({.seq = seq}).append(std::string(LDF_MIN_MAXLEN, '-')).write(path(name));
    }
    static void open_small(LdfWriter& w) {
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        w.set_maxlen(LDF_MIN_MAXLEN);
    }
};

TEST_F(LdfFault, FailedWriteCostsItsRecordOnly) {
    const struct {
        const char* name;
        std::vector<ssize_t> plan;
        bool written;
    } cases[] = {
        {"record fails", {-EIO}, false},
        {"record comes up short, then fails", {10, -ENOSPC}, false},
        {"record takes nothing", {0}, false},
        {"header fails", {PASS, -EIO}, false},
        {"header fails behind the record count", {PASS, 64, -EIO}, false},
        {"record in pieces", {1, 10, 20}, true},
        {"header in pieces", {PASS, 1, 60}, true},
        {"interrupted before each", {-EINTR, PASS, -EINTR, -EINTR}, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fs::remove(path("log_A"));
        LdfWriter w;
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        write(w, 1);
        {
            const Plan plan("pwrite", c.plan);
            write(w, 2, "longer than the others", 1, 3);
            EXPECT_TRUE(plan.is_done());
        }
        EXPECT_EQ(c.written ? 2u : 1u, read_file("log_A").size()); // right even before the next write
        EXPECT_EQ(c.written, header_of("log_A").total_error == 1);
        EXPECT_EQ(c.written, header_of("log_A").total_grp_msg == 1);
        write(w, 3);
        EXPECT_EQ(c.written ? (Seqs{1, 2, 3}) : (Seqs{1, 3}), seqs_in("log_A"));
    }
}

TEST_F(LdfFault, BlockedRotationIsReportedOnceAndTriedNowAndThen) {
    for (const std::string obstacle : {"log_A.new", "log_C.ldf"}) {
        SCOPED_TRACE(obstacle);
        fs::remove_all(root + "/ldf");
        fs::create_directories(root + "/ldf/" + obstacle + "/full");
        lay_full("log_A", 0);
        lay_full("log_B", 99);
        LdfWriter w;
        open_small(w);
        clear_syslog();
        int calls = 0;
        system_call_plan = [&](const SystemCall& call) { return calls += call.size == 0, PASS; };
        unsigned seq = 1;
        for (; seq <= 100; ++seq) write(w, seq);
        system_call_plan = nullptr;
        EXPECT_LT(calls, 30);
        EXPECT_EQ(1u, syslog_texts().size());
        EXPECT_EQ(101u, read_file("log_A").size()) << "the current file goes on";
        fs::remove_all(root + "/ldf/" + obstacle);
        for (; seq <= 300; ++seq) write(w, seq);
        EXPECT_EQ(Seqs{99}, seqs_in("log_C"));
        EXPECT_EQ(302u, kept("log").size());
    }
}

// A process dies before any of its calls, or in the middle of a write; the next one goes on.
TEST_F(LdfFault, DeathAtAnyCallCostsTheRecordInFlightOnly) {
    for (const auto& [halfway, has_links] : {std::pair(false, true), {true, true}, {false, false}}) {
        int status = 1;
        for (int step = 0; status != 0; ++step) {
            SCOPED_TRACE(testing::Message() << "step " << step << (halfway ? ", halfway" : "")
                                            << (has_links ? "" : ", no links"));
            fs::remove_all(root + "/ldf");
            fs::create_directory(root + "/ldf");
            for (unsigned seq : {1u, 2u, 3u}) lay_full(std::string("log_") + "?CBA"[seq], seq);
            const pid_t child = fork();
            if (child == 0) {
                int returned = 0, left = step;
                system_call_plan = [&](const SystemCall& call) {
                    if (left < 0 || (left == 0 && !(halfway && call.size > 1))) _exit(10 + returned);
                    if (call.name == "link" && !has_links) return --left, ssize_t{-EPERM};
                    return left-- == 0 ? static_cast<ssize_t>(call.size / 2) : PASS;
                };
                {
                    LdfWriter w;
                    open_small(w);
                    for (; returned < 2; ++returned) write(w, 4 + static_cast<unsigned>(returned));
                }
                _exit(0);
            }
            waitpid(child, &status, 0);
            EXPECT_TRUE(!has_links || exists(path("log_A"))) << "always a current file";
            const int returned = status == 0 ? 2 : WEXITSTATUS(status) - 10;
            {
                LdfWriter w;
                ASSERT_EQ(LDF_OK, w.open("log", 0));
                write(w, 6);
            }
            Seqs all = seqs(kept("log"));
            if (all.front() == 1) all.erase(all.begin()); // the rotation drops it, early or late
            const Seqs expect[] = {{2, 3, 6}, {2, 3, 4, 6}, {2, 3, 4, 5, 6}};
            EXPECT_TRUE(all == expect[returned] || all == expect[std::min(returned + 1, 2)]);
            EXPECT_FALSE(exists(path("log_A") + ".err"));
        }
    }
}

TEST_F(LdfFault, ReadsInPiecesAndFailures) {
    const struct {
        const char* name;
        std::vector<ssize_t> plan; // behind the read of the header
        size_t records;
        int end;
    } cases[] = {
        {"in pieces", {3, 1, 30, 2, 60, 7}, 3, LDF_EEND},
        {"interrupted", {-EINTR, 10, -EINTR, PASS}, 3, LDF_EEND},
        {"fails at once", {-EIO}, 0, LDF_EFAIL},
        {"fails within a fixed part", {10, -EIO}, 0, LDF_EFAIL},
        {"fails within a text", {30, -EIO}, 0, LDF_EFAIL},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LdfReader reader;
        open(reader, LdfBuilder().records(3, {.args = {"a", "bc"}}));
        int end = 0;
        {
            const Plan plan("pread", c.plan);
            EXPECT_EQ(c.records, read_all(reader, {}, &end).size());
        }
        EXPECT_EQ(c.end, end);
        EXPECT_EQ(3 - c.records, read_all(reader).size()); // a failure that has passed costs nothing
    }
}
