// The command as its users meet it: a process with a data root of its own and a fixed environment.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

#include "support/LdfBuilder.h"
#include "support/RunCommand.h"

// What follows every argument error on standard error, without catalogs or with the English ones.
inline const std::string USAGE = "QEN INFO K-16-25-30001 Usage:\n"
                                 "\ttaqmsg -info [-path <path>] <LDF file>\n"
                                 "\ttaqmsg -tail [<messages>] [-path <path>] <LDF file>\n"
                                 "\ttaqmsg [-oname <object name>(s)] [-path <path>] <LDF file>\n"
                                 "\ttaqmsg -list\n"
                                 "\ttaqmsg [-help]\n"
                                 "\n";

inline std::string warning(int number, const std::string& text) {
    return "QEN WARNING K-16-25-" + std::to_string(number) + " " + text + "\n";
}
inline const std::string NO_MATCH = warning(30524, "No messages match your query");

// The line of a record that brings its text along.
inline std::string line_of(const std::string& text) {
    return "Mon Nov 16 18:38:11 2026 QEN INFO K-16-25-0  " + text + "\n";
}

class CommandTest : public ::testing::Test {
protected:
    CommandTest() {
        std::string name = ::testing::TempDir() + "taqmsg-XXXXXX";
        _root = mkdtemp(name.data());
        std::filesystem::create_directory(_root + "/ldf");
        env["TAQ_LDF"] = _root;
        env["TAQ_MESSAGES_DIR"] = _root + "/no-catalogs";
        env["TZ"] = "UTC";
        env["LC_ALL"] = "C";
        if (const char* options = getenv("ASAN_OPTIONS")) env["ASAN_OPTIONS"] = options;
    }
    ~CommandTest() override { std::filesystem::remove_all(_root); }

    const std::string& root() const { return _root; }
    std::string ldf_path(const std::string& name) const { return _root + "/ldf/" + name + ".ldf"; }
    void write(const std::string& name, const LdfBuilder& file) const { file.write(ldf_path(name)); }

    CommandResult run(std::vector<std::string> args, int stdout_fd = -1) const {
        args.insert(args.begin(), "taqmsg");
        std::vector<std::string> environment;
        for (const auto& [variable, value] : env) environment.push_back(variable + "=" + value);
        return run_command(TAQMSG_COMMAND, args, environment, stdout_fd);
    }

    // Runs and checks all three results.
    void expect(const std::vector<std::string>& args, int status, const std::string& out,
                const std::string& err) const {
        std::string line;
        for (const std::string& arg : args) line += arg.substr(0, 40) + " ";
        SCOPED_TRACE(line);
        const CommandResult result = run(args);
        EXPECT_EQ(status, result.status);
        EXPECT_EQ(out, result.out);
        EXPECT_EQ(err, result.err);
    }

    std::map<std::string, std::string> env;

private:
    std::string _root;
};
