// Whatever bytes a file holds, the command ends with one of its statuses and says why. The reader is tested
// with every single byte; here a sample takes the whole way.
#include <gmock/gmock.h>

#include "cmd/taqmsg/CommandTest.h"

namespace {

class DamagedFileTest : public CommandTest {
protected:
    DamagedFileTest() { env["TAQ_MESSAGES_DIR"] = TAQ_TEST_CATALOGS; }

    void expect_listed_status(const std::string& bytes) {
        for (const std::vector<std::string>& args : modes) {
            std::ofstream(ldf_path("f"), std::ios::binary) << bytes; // anew: a short one is deleted
            const CommandResult result = run(args);
            EXPECT_THAT(result.status, testing::AnyOf(0, 7, 10)) << args[0];
            if (result.status == 0) continue;
            const bool tail_failed = args[0] == "-tail" && result.status == 7; // the one silent failure
            EXPECT_TRUE(tail_failed || result.err.find("Unable to open file 'f'") != std::string::npos);
        }
    }

    const LdfBuilder good = LdfBuilder()
                                .flags(1)
                                .record({.sev = 1, .cat = 100, .num = 1, .args = {"a", "b:c"}})
                                .record({.num = 0, .args = {"text"}});
    const std::vector<std::vector<std::string>> modes = {{"-info", "f"},
                                                         {"-tail", "1", "f"},
                                                         {"-dbg", "-oname", "c", "-sev", "E", "-any", "f"},
                                                         {"-trace", "f"}};
};

TEST_F(DamagedFileTest, EndsWithAListedStatus) {
    const std::string bytes = good.bytes();
    for (size_t at = 0; at < bytes.size(); at += 13) {
        SCOPED_TRACE(at);
        expect_listed_status(bytes.substr(0, at));
        expect_listed_status(LdfBuilder(good).flip(at).bytes());
    }
    for (const uint32_t length : {4095u, 4096u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFE8u}) {
        SCOPED_TRACE(length);
        expect_listed_status(LdfBuilder(good).put32(117, length).append(std::string(5000, 'x')).bytes());
    }
}

} // namespace
