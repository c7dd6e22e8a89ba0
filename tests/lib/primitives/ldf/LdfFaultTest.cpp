// Calls that fail, come up short or are the last of a process, and what stands in a writer's way.
#include "LdfFixture.h"

struct LdfFault : LdfFixture {
    // A file of one record that has reached the smallest limit.
    void lay_full(const std::string& name, unsigned seq) const {
        LdfBuilder().record({.seq = seq}).append(std::string(LDF_MIN_MAXLEN, '-')).write(path(name));
    }
    static void open_small(LdfWriter& w) {
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        w.set_maxlen(LDF_MIN_MAXLEN);
    }
    // What the generations hold, oldest first.
    Seqs kept() const {
        Seqs all;
        for (const char* name : {"log_C", "log_B", "log_A"})
            if (fs::is_regular_file(path(name)))
                for (const unsigned seq : seqs_in(name)) all.push_back(seq);
        return all;
    }
};

TEST_F(LdfFault, FailedWriteCostsItsRecordOnly) {
    const std::tuple<bool, std::vector<ssize_t>, Seqs> cases[] = {
        // whether 2 to 4 are gathered, answers of pwrite, and which records are there
        {false, {-EIO}, {1}},
        {false, {10, -ENOSPC}, {1}},
        {false, {0}, {1}},
        {false, {PASS, -EIO}, {1}}, // the header
        {false, {PASS, 64, -EIO}, {1}},
        {false, {1, 10, 20}, {1, 2}},
        {false, {PASS, 1, 60}, {1, 2}},
        {false, {-EINTR, PASS, -EINTR, -EINTR}, {1, 2}},
        {true, {-ENOSPC}, {1, 2, 3, 4}},
        {true, {40, -ENOSPC, PASS, PASS, -ENOSPC, PASS, PASS}, {1, 2, 4}},
        // the header, which is put back
        {true, {PASS, 60, -EIO, PASS, PASS, PASS, PASS, PASS, 10, -EIO}, {1, 2, 3}},
        {true, {-EIO, -EIO, -EIO, -EIO}, {1}}};
    for (auto [gathered, steps, expected] : cases) {
        SCOPED_TRACE(testing::PrintToString(steps));
        fs::remove(path("log_A"));
        LdfWriter w;
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        write(w, 1);
        for (const unsigned seq : {2u, 3u, 4u})
            if (gathered) gather(w, seq);
        plan("pwrite", steps);
        gathered ? w.write_gathered() : write(w, 2, "longer than the others", 1, 3);
        system_call_plan = nullptr;
        EXPECT_EQ(expected, seqs_in("log_A")); // right even before the next write
        EXPECT_EQ(!gathered && expected.size() == 2, header_of("log_A").total_error == 1);
        write(w, 5);
        expected.push_back(5);
        EXPECT_EQ(expected, seqs_in("log_A"));
    }
}

TEST_F(LdfFault, BlockedRotationIsReportedOnceAndTriedNowAndThen) {
    const std::string obstacle = temp.make("ldf/log_C.ldf/full");
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
    EXPECT_EQ(101u, seqs_in("log_A").size()) << "the current file goes on";
    fs::remove(obstacle);
    for (; seq <= 300; ++seq) write(w, seq);
    EXPECT_EQ(Seqs{99}, seqs_in("log_C"));
    EXPECT_EQ(302u, kept().size());
}

// A process dies before any of its calls, or in the middle of a write; the next one goes on.
TEST_F(LdfFault, DeathAtAnyCallCostsTheRecordInFlightOnly) {
    for (const auto& [halfway, has_links] : {std::pair(false, true), {true, true}, {false, false}}) {
        int status = 1;
        for (int step = 0; status != 0; ++step) {
            SCOPED_TRACE(testing::Message() << "step " << step << (halfway ? ", halfway" : "")
                                            << (has_links ? "" : ", no links"));
            fs::remove_all(folder);
            temp.make("ldf");
            for (unsigned seq : {1u, 2u, 3u}) lay_full(std::string("log_") + "?CBA"[seq], seq);
            status = in_child([&, mid = halfway, links = has_links] {
                int returned = 0, left = step;
                system_call_plan = [&](const SystemCall& call) {
                    if (left < 0 || (left == 0 && !(mid && call.size > 1))) _exit(10 + returned);
                    if (call.name == "link" && !links) return --left, ssize_t{-EPERM};
                    return left-- == 0 ? static_cast<ssize_t>(call.size / 2) : PASS;
                };
                LdfWriter w;
                open_small(w);
                for (; returned < 2; ++returned) write(w, 4 + static_cast<unsigned>(returned));
                return 0;
            });
            EXPECT_TRUE(!has_links || exists(path("log_A"))) << "always a current file";
            const int returned = status == 0 ? 2 : status - 10;
            {
                LdfWriter w;
                ASSERT_EQ(LDF_OK, w.open("log", 0));
                write(w, 6);
            }
            Seqs all = kept();
            if (all.front() == 1) all.erase(all.begin()); // the rotation drops it, early or late
            const Seqs expect[] = {{2, 3, 6}, {2, 3, 4, 6}, {2, 3, 4, 5, 6}};
            EXPECT_TRUE(all == expect[returned] || all == expect[std::min(returned + 1, 2)]);
            EXPECT_FALSE(exists(path("log_A") + ".err"));
        }
    }
}

TEST_F(LdfFault, ReadsInPiecesAndFailures) {
    const std::pair<std::vector<ssize_t>, size_t> cases[] = {
        // behind the read of the header, and the records that are read before a failure
        {{3, 1, 30, 2, 60, 7}, 3}, {{-EINTR, 10, -EINTR, PASS}, 3}, {{-EIO}, 0}, {{10, -EIO}, 0},
        {{30, -EIO}, 0},
    };
    for (const auto& [steps, records] : cases) {
        SCOPED_TRACE(testing::PrintToString(steps));
        LdfReader reader;
        open(reader, LdfBuilder().records(3, {.args = {"a", "bc"}}));
        int end = 0;
        plan("pread", steps);
        EXPECT_EQ(records, read_all(reader, {}, &end).size());
        system_call_plan = nullptr;
        EXPECT_EQ(records == 3 ? LDF_EEND : LDF_EFAIL, end);
        EXPECT_EQ(3 - records, read_all(reader).size()); // a failure that has passed costs nothing
    }
}
