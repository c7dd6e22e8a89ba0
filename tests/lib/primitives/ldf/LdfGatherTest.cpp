// Records that are gathered and written together.
#include <cerrno>

#include "LdfFixture.h"

namespace {

class LdfGather : public LdfFixture {
protected:
    static void gather(LdfWriter& w, unsigned seq, const std::string& arg = "x") {
        const std::string_view args[] = {arg};
        w.gather({.data_size = 0,
                  .version = 0,
                  .sev = static_cast<int8_t>(seq % 5),
                  .timestamp = 1000,
                  .msgcat_id = 25u << 16 | 7,
                  .obj_type = static_cast<int8_t>(seq % 7),
                  .line_no = 1,
                  .seq = seq},
                 "f", "g", args);
    }
    std::string kept(const std::string& name) const { // without what tells the time
        std::string all;
        for (const char* generation : {"_C", "_B", "_A"})
            if (exists(path(name + generation)))
                all += temp.read("ldf/" + name + generation + ".ldf").substr(57);
        return all;
    }
};

// Small records and the longest, over rotations, with a record that does not wait among them.
TEST_F(LdfGather, FilesAreThoseOfRecordsWrittenOneByOne) {
    for (const char* name : {"single", "joined"}) {
        LdfWriter w;
        ASSERT_EQ(LDF_OK, w.open(name, 0));
        w.set_maxlen(LDF_MIN_MAXLEN);
        for (unsigned seq = 0; seq < 500; ++seq) {
            gather(w, seq, std::string(seq < 300 ? seq : (seq * 411) % LDF_TEXT_MAX, 'x'));
            if (*name == 's') w.write_gathered();
            if (seq % 97 == 0) write(w, 1000 + seq);
        }
    }
    EXPECT_TRUE(exists(path("single_C")));
    EXPECT_TRUE(kept("single") == kept("joined"));
}

TEST_F(LdfGather, TwoWritesForManyRecords) {
    LdfWriter w;
    ASSERT_EQ(LDF_OK, w.open("log", 0));
    std::vector<size_t> sizes;
    system_call_plan = [&](const SystemCall& call) { return sizes.push_back(call.size), PASS; };
    for (unsigned seq = 0; seq < LdfBatch::RECORDS; ++seq) gather(w, seq);
    EXPECT_TRUE(sizes.empty());
    gather(w, 64);
    w.write_gathered();
    w.write_gathered(); // there is nothing
    const size_t record = LDF_RECORD_HEADER_SIZE + 7;
    EXPECT_EQ((std::vector<size_t>{64 * record, LDF_HEADER_SIZE, record, LDF_HEADER_SIZE}), sizes);
    EXPECT_EQ(65u, seqs_in("log_A").size());
}

TEST_F(LdfGather, WhatFailsTogetherIsWrittenOneByOne) {
    const std::pair<std::vector<ssize_t>, Seqs> cases[] = {
        // answers of pwrite, and which of the records 1 to 3 are there
        {{-ENOSPC}, {1, 2, 3}},
        {{40, -ENOSPC, PASS, PASS, -ENOSPC, PASS, PASS}, {1, 3}},
        {{PASS, 60, -EIO, PASS, PASS, PASS, PASS, PASS, 10, -EIO}, {1, 2}}, // the header; which is put back
        {{-EIO, -EIO, -EIO, -EIO}, {}},
    };
    for (auto [steps, expected] : cases) {
        SCOPED_TRACE(testing::PrintToString(steps));
        std::filesystem::remove(path("log_A"));
        LdfWriter w;
        ASSERT_EQ(LDF_OK, w.open("log", 0));
        for (unsigned seq = 1; seq <= 3; ++seq) gather(w, seq);
        system_call_plan = [steps = steps](const SystemCall& call) mutable {
            if (call.name != "pwrite" || steps.empty()) return PASS;
            const ssize_t step = steps.front();
            steps.erase(steps.begin());
            return step;
        };
        w.write_gathered();
        system_call_plan = nullptr;
        EXPECT_EQ(expected, seqs_in("log_A"));
        write(w, 4);
        expected.push_back(4);
        EXPECT_EQ(expected, seqs_in("log_A"));
    }
}

} // namespace
