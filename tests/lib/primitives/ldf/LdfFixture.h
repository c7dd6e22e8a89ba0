// A data root of its own for each test, with verbs to put files there and to read them back.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "primitives/ldf/LdfReader.h"
#include "primitives/ldf/LdfWriter.h"
#include "support/LdfBuilder.h"
#include "support/SyslogTrap.h"
#include "support/SystemCalls.h"
#include "support/TempDir.h"

class LdfFixture : public testing::Test {
protected:
    LdfFixture() {
        std::filesystem::create_directory(root + "/ldf");
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

    std::string path(const std::string& name) const { return root + "/ldf/" + name + ".ldf"; }
    bool exists(const std::string& p) const {
        return std::filesystem::exists(std::filesystem::symlink_status(p));
    }
    std::string bytes_of(const std::string& name) const { return temp.read("ldf/" + name + ".ldf"); }

    // The fixed parts of all records that pass, up to and without the first bad result, which goes to `end`.
    using Records = std::vector<ldf_msg_header_t>;
    static Records read_all(LdfReader& reader, const LdfFilter& filter = {}, int* end = nullptr) {
        Records records;
        LdfRecordView view;
        int rc;
        while ((rc = reader.next_record(filter, view)) == LDF_OK) records.push_back(view.header);
        if (end) *end = rc;
        return records;
    }
    void open(LdfReader& reader, const LdfBuilder& file) const {
        file.write(path("f"));
        ASSERT_EQ(LDF_OK, reader.open(nullptr, "f"));
    }
    Records read_file(const std::string& name) const {
        LdfReader reader;
        EXPECT_EQ(LDF_OK, reader.open(nullptr, name.c_str())) << name;
        int end = 0;
        auto records = read_all(reader, {}, &end);
        EXPECT_EQ(LDF_EEND, end) << name;
        EXPECT_EQ(reader.get_header()->total_msgs, static_cast<int>(records.size())) << name;
        return records;
    }
    ldf_header_t header_of(const std::string& name) const {
        LdfReader reader;
        EXPECT_EQ(LDF_OK, reader.open(nullptr, name.c_str())) << name;
        return *reader.get_header();
    }

    // The end of a forked child that does something: its exit status.
    static int in_child(const std::function<int()>& run) {
        const pid_t child = fork();
        if (child == 0) _exit(run());
        int status = -1;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // Writes one record with seq as its number; the text is "f", "g" and one argument.
    static void write(LdfWriter& w, unsigned seq, const std::string& arg = "x", char sev = 4, char obj = 0) {
        w.write(sev, 1000, obj, 25u << 16 | 7, "f", 1, seq, "g", arg.c_str(), nullptr, nullptr, nullptr,
                nullptr, nullptr);
    }
    using Seqs = std::vector<unsigned>;
    static Seqs seqs(const Records& records) {
        Seqs all;
        for (const auto& r : records) all.push_back(r.seq);
        return all;
    }
    Seqs seqs_in(const std::string& name) const { return seqs(read_file(name)); }

    // What the generations of a log hold, oldest first.
    Records kept(const std::string& log) const {
        Records all;
        for (const char* suffix : {"_C", "_B", "_A"})
            if (std::filesystem::is_regular_file(path(log + suffix)))
                for (const auto& r : read_file(log + suffix)) all.push_back(r);
        return all;
    }

    const TempDir temp;
    const std::string root = temp.path();
};
