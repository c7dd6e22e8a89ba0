// A folder for dumps, and what a dump file holds.
#pragma once

#include "LogFixture.h"
#include "primitives/log/FFDC.h"

#include <algorithm>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

class FFDCFixture : public LogFixture {
protected:
    FFDCFixture() {
        Log::enable_ffdc();
        std::filesystem::create_directory(dumps());
    }
    ~FFDCFixture() override { Log::disable_ffdc(); }

    std::string dumps() const { return root + "/dumps"; }
    void register_as(int role, char print_seqno = 1) const {
        Log::register_for_ffdc(role, "engine", dumps().c_str(), print_seqno);
    }
    std::string dump_path(const std::string& role, pid_t pid = getpid()) const {
        return dumps() + "/FFDC_" + role + "_" + std::to_string(pid) + "_engine.log";
    }
    // What stands behind the header of a dump; each entry has one line and one of its source.
    static std::string entries(const std::string& path) {
        const std::string all = slurp(path);
        const size_t end = all.rfind("\n#\n");
        return end == std::string::npos ? "<no header>" : all.substr(end + 3);
    }
    // Captures the text "entry <number>", which a dump must show unharmed.
    static void capture(long number) {
        const std::string text = "entry " + std::to_string(number);
        Log::write_ffdc(SEV_INFO, "work", "engine.cpp", 7, 0, 100, 1, text.c_str());
    }
    // The numbers of those entries in the order of the dump; -1 for whatever is not such an entry.
    static std::vector<long> numbers_in(const std::string& path) {
        std::istringstream in(entries(path));
        std::vector<long> numbers;
        for (std::string line, source; std::getline(in, line);) {
            long number = -1;
            int end = -1;
            std::sscanf(line.c_str(), "%*d-%*d-%*d %*d:%*d:%*d  [FFDC] [%*u] QEN INFO 6553601 entry %ld%n",
                        &number, &end);
            const bool whole = end == static_cast<int>(line.size()) && std::getline(in, source) &&
                               source.starts_with("\tengine.cpp:work[7]");
            numbers.push_back(whole ? number : -1);
        }
        return numbers;
    }
    size_t dump_count() const {
        const std::filesystem::directory_iterator files(dumps());
        return static_cast<size_t>(std::distance(begin(files), end(files)));
    }
    static unsigned mode_of(const std::string& path) {
        struct stat st = {};
        EXPECT_EQ(0, lstat(path.c_str(), &st)) << path;
        return st.st_mode & 07777u;
    }
};
