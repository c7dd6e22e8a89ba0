// Where output goes, in what order, and what happens when it can go nowhere.
#include <cerrno>
#include <fcntl.h>

#include "cmd/taqmsg/CommandTest.h"

namespace {

class OutputTest : public CommandTest {
protected:
    OutputTest() {
        write("small", LdfBuilder().record());
        write("large", LdfBuilder().records(20000, {.num = 0, .args = {"some text of some length"}}));
    }
    const std::vector<std::vector<std::string>> requests = {
        {"small"}, {"large"}, {"-dbg", "large"}, {"-tail", "small"}, {"-info", "small"}, {"-list"}};
};

TEST_F(OutputTest, FullDeviceChangesNothingElse) {
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(full, 0);
    for (const auto& args : requests) {
        const CommandResult result = run(args, full);
        EXPECT_EQ(0, result.status);
        EXPECT_EQ("", result.err);
    }
    EXPECT_EQ(7, run({"missing"}, full).status);
    close(full);
}

TEST_F(OutputTest, ReaderThatWentAwayChangesNothingElse) {
    for (const auto& args : requests) {
        int ends[2];
        ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
        close(ends[0]);
        const CommandResult result = run(args, ends[1]);
        EXPECT_EQ(0, result.status);
        EXPECT_EQ("", result.err);
        close(ends[1]);
    }
}

TEST_F(OutputTest, OneDescriptorForBothStreamsKeepsTheOrder) {
    // As with "2>&1": the lines before an error come before it.
    CapturedStream both;
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(both.fd(), STDOUT_FILENO);
        dup2(both.fd(), STDERR_FILENO);
        setenv("TAQ_LDF", root().c_str(), 1);
        setenv("TAQ_MESSAGES_DIR", "/nowhere", 1);
        execl(TAQMSG_COMMAND, "taqmsg", "-info", "small", nullptr);
        _exit(127);
    }
    EXPECT_EQ(0, wait_for(pid));
    EXPECT_EQ(0u, both.text().find("#Attribute"));
}

TEST_F(OutputTest, EverythingOfALargeFileArrives) {
    const CommandResult result = run({"large"});
    const std::string line = "Mon Nov 16 18:38:11 2026 QEN INFO K-16-25-0  some text of some length\n";
    ASSERT_EQ(20000 * line.size(), result.out.size());
    for (size_t at = 0; at < result.out.size(); at += line.size())
        ASSERT_EQ(0, result.out.compare(at, line.size(), line));
}

} // namespace
