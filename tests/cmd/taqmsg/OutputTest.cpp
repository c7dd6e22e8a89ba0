// That output arrives, and what happens when it can go nowhere.
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

TEST_F(OutputTest, LostOutputChangesNothingElse) {
    int ends[2]; // of a pipe whose reader went away
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    close(ends[0]);
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(full, 0);
    for (const int fd : {full, ends[1]}) {
        for (const auto& args : requests) {
            const CommandResult result = run(args, fd);
            EXPECT_EQ(0, result.status);
            EXPECT_EQ("", result.err);
        }
        EXPECT_EQ(7, run({"missing"}, fd).status);
        close(fd);
    }
}

TEST_F(OutputTest, EverythingOfALargeFileArrives) {
    const CommandResult result = run({"large"});
    const std::string line = line_of("some text of some length");
    ASSERT_EQ(20000 * line.size(), result.out.size());
    for (size_t at = 0; at < result.out.size(); at += line.size())
        ASSERT_EQ(0, result.out.compare(at, line.size(), line));
}

} // namespace
