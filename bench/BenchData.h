// A folder of its own with the files that a benchmark reads, removed at the end.
#pragma once

#include "primitives/ldf/LdfReader.h"
#include "primitives/ldf/LdfWriter.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

inline constexpr int BENCH_RECORDS = 62'000; // fills a file of 4 MiB
inline constexpr unsigned BENCH_CATEGORY = 200;
inline constexpr int BENCH_FIRST_SECOND = 1'790'000'000;

class BenchData {
public:
    BenchData() {
        char name[] = "/tmp/taq-bench-XXXXXX";
        _dir = mkdtemp(name);
        setenv("TAQ_LDF", _dir.c_str(), 1);
        setenv("TAQ_LOG", _dir.c_str(), 1);
        LdfWriter::init(nullptr);
        LdfReader::init(nullptr);
        _write_records();
    }
    ~BenchData() {
        std::error_code ignored; // a folder left in /tmp is all that can go wrong
        std::filesystem::remove_all(_dir, ignored);
    }
    BenchData(const BenchData&) = delete;
    BenchData& operator=(const BenchData&) = delete;

    const std::string& dir() const { return _dir; }
    const char* ldf_name() const { return "bench_A"; }

private:
    void _write_records() {
        LdfWriter writer;
        if (writer.open("bench", 0) != LDF_OK) std::abort();
        writer.set_maxlen(INT_MAX);
        for (int i = 0; i < BENCH_RECORDS; ++i) {
            char resource[16], system[16];
            std::snprintf(resource, sizeof resource, "web-%06d", i);
            std::snprintf(system, sizeof system, "node%d", i % 8);
            writer.write(i % 100 == 57 ? 1 : 4, BENCH_FIRST_SECOND + i / 30, 6, BENCH_CATEGORY << 16 | 1,
                         "res.cpp", 120, LDF_NO_SEQ, "online", resource, "ONLINE", system, nullptr, nullptr,
                         nullptr);
        }
    }

    std::string _dir;
};
