// A data root of its own for each test, with verbs to put files there and to read them back.
#pragma once

#include "primitives/ldf/LdfReader.h"
#include "primitives/ldf/LdfWriter.h"
#include "support/ChildProcess.h"
#include "support/LdfBuilder.h"
#include "support/Prelude.h"
#include "support/SyslogTrap.h"
#include "support/SystemCalls.h"
#include "support/TempDir.h"

struct LdfFixture : testing::Test {
    LdfFixture() {
        setenv("TAQ_LDF", root.c_str(), 1);
        setenv("ZORQ_LOCAL_NAME", "node1", 1);
        LdfReader::init();
        LdfWriter::init();
    }
    ~LdfFixture() override {
        system_call_plan = nullptr;
        LdfReader::destroy();
        LdfWriter::destroy();
    }

    std::string path(const std::string& name) const { return folder + "/" + name + ".ldf"; }
    static bool exists(const std::string& p) {
        return std::filesystem::exists(std::filesystem::symlink_status(p));
    }

    // The sequence numbers of all records that pass, up to the first bad result, which goes to `end`.
    using Seqs = std::vector<unsigned>;
    static Seqs read_all(LdfReader& reader, const LdfFilter& filter = {}, int* end = nullptr) {
        Seqs seqs;
        LdfRecordView view;
        int rc;
        while ((rc = reader.next_record(filter, view)) == LDF_OK) seqs.push_back(view.header.seq);
        if (end) *end = rc;
        return seqs;
    }
    void open(LdfReader& reader, const LdfBuilder& file) const {
        file.write(path("f"));
        ASSERT_EQ(LDF_OK, reader.open(nullptr, "f"));
    }
    // Of a sound file.
    Seqs seqs_in(const std::string& name) const {
        LdfReader reader;
        EXPECT_EQ(LDF_OK, reader.open(nullptr, name.c_str())) << name;
        int end = 0;
        const Seqs seqs = read_all(reader, {}, &end);
        EXPECT_EQ(LDF_EEND, end) << name;
        EXPECT_EQ(reader.get_header()->total_msgs, static_cast<int>(seqs.size())) << name;
        return seqs;
    }
    ldf_header_t header_of(const std::string& name) const {
        LdfReader reader;
        EXPECT_EQ(LDF_OK, reader.open(nullptr, name.c_str())) << name;
        return *reader.get_header();
    }

    // Writes one record with seq as its number; the text is "f", "g" and one argument.
    static void write(LdfWriter& w, unsigned seq, const std::string& arg = "x", int sev = 4, int obj = 0) {
        w.write(static_cast<char>(sev), 1000, static_cast<char>(obj), 25u << 16 | 7, "f", 1, seq, "g",
                arg.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr);
    }

    // The same, gathered.
    static void gather(LdfWriter& w, unsigned seq, const std::string& arg = "x") {
        const std::string_view args[] = {arg};
        const auto sev = static_cast<int8_t>(seq % 5), obj = static_cast<int8_t>(seq % 7);
        w.gather({0, 0, sev, 1000, 25u << 16 | 7, obj, 1, seq}, "f", "g", args);
    }

    const TempDir temp;
    const std::string root = temp.path();
    const std::string folder = temp.make("ldf");
};
