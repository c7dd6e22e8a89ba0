// Standard output as a terminal, and as a pipe that is not always ready.
#include <fcntl.h>
#include <functional>
#include <termios.h>
#include <thread>

#include "cmd/taqmsg/CommandTest.h"

namespace {

class TerminalTest : public CommandTest {
protected:
    // The descriptor is read, slowly, while the command runs.
    std::string read_while_running(const std::vector<std::string>& args, int reader, int writer) const {
        std::string all;
        std::thread collector([&] {
            char part[3000];
            for (ssize_t n; (n = ::read(reader, part, sizeof part)) > 0; usleep(100))
                all.append(part, static_cast<size_t>(n));
        });
        EXPECT_EQ(0, run(args, writer).status);
        close(writer);
        collector.join();
        close(reader);
        return all;
    }
    std::string on_terminal(const std::vector<std::string>& args) const {
        const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_EQ(0, grantpt(master) | unlockpt(master));
        const int terminal = open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios plain;
        tcgetattr(terminal, &plain);
        cfmakeraw(&plain); // or a newline becomes two characters
        tcsetattr(terminal, TCSANOW, &plain);
        return read_while_running(args, master, terminal);
    }
};

TEST_F(TerminalTest, ControlCharactersOfArgumentsAreShown) {
    const std::string euc = "\xc6\xfc\xcb\xdc", mark = "\xe2\x80\xae";
    LdfTestRecord hostile = {.num = 0, .args = {"a\x1b[31m\nb\tc", euc + mark}};
    hostile.file = "x\x1b.cpp";
    write("hostile", LdfBuilder().record(hostile));
    const std::string head = "Mon Nov 16 18:38:11 2026 QEN INFO K-16-25-0  ";
    const struct {
        const char* locale;
        std::string args;
    } cases[] = {{"C", "a\\x1b[31m\\x0ab\tc \\xc6\\xfc\\xcb\\xdc\\xe2\\x80\\xae"},
                 {"C.UTF-8", "a\\x1b[31m\\x0ab\tc \\xc6\\xfc\\xcb\\xdc\\xe2\\x80\\xae"},
                 {"ja_JP.eucJP", "a\\x1b[31m\\x0ab\tc " + euc + "\\xe2\\x80\\xae"}};
    env["LOCPATH"] = TAQ_TEST_LOCALES;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.locale);
        env["LC_CTYPE"] = c.locale;
        env["LC_ALL"] = "";
        EXPECT_EQ(head + c.args + "\n", on_terminal({"hostile"}));
        EXPECT_EQ(head + hostile.args[0] + " " + hostile.args[1] + "\n", run({"hostile"}).out)
            << "not to a file";
    }
    EXPECT_EQ(head + cases[2].args + "\n\tx\\x1b.cpp:open[42]\n", on_terminal({"-dbg", "hostile"}));
}

TEST_F(TerminalTest, APipeThatIsNotReadyIsWaitedFor) {
    constexpr int RECORDS = 10000;
    const std::string text(50, 'x');
    write("large", LdfBuilder().records(RECORDS, {.num = 0, .args = {text}}));
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    fcntl(ends[1], F_SETFL, O_NONBLOCK);
    EXPECT_EQ(RECORDS * line_of(text).size(), read_while_running({"large"}, ends[0], ends[1]).size());
}

} // namespace
