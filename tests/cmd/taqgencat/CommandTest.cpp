// Runs the real command.
#include "support/CatalogBuilder.h"
#include "support/RunCommand.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

class TaqGencat : public testing::Test {
protected:
    static CommandResult run(std::vector<std::string> arguments, const std::string& input = "") {
        arguments.insert(arguments.begin(), "taqgencat");
        return run_command(TAQGENCAT, arguments, {}, -1, input);
    }
    // Compiles sources to module M in English below folder "root".
    CommandResult compile(const std::string& source, const std::vector<std::string>& options = {}) const {
        std::vector<std::string> arguments = {"--module",       "M",   "--lang", "en", "--out",
                                              dir.path("root"), source};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run(arguments);
    }
    std::string compiled(const std::string& file) const { return dir.read("root/messages/en/" + file); }
    // All catalogs of the module as one source.
    std::string listed() const {
        std::string all;
        if (!fs::exists(dir.path("root"))) return all;
        for (const std::string& file : dir.files("root"))
            if (file.ends_with(".bmc")) all += run({"--list", dir.path("root/" + file)}).out;
        return all;
    }

    TempDir dir;
};

const std::string SOURCE = "$set 1\n1 a\n2 b %s\n$set 7\n0 zero\n9 nine\n";

// data/NAME.msg gives the diagnostics NAME.err and, unless it has faults, the catalogs NAME.list.
TEST_F(TaqGencat, SourcesGiveTheirDiagnosticsAndCatalogs) {
    const auto read = [](const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    for (const std::string name : {"good", "bad"}) {
        const std::string prefix = std::string(TAQGENCAT_DATA) + "/" + name, list = read(prefix + ".list");
        dir.write(name + ".msg", read(prefix + ".msg"));
        const CommandResult done = compile(dir.path(name + ".msg"), {"--check"});
        EXPECT_EQ(list.empty() ? 1 : 0, done.status);
        std::string err = done.err;
        const std::string folder = dir.path() + "/";
        for (size_t at; (at = err.find(folder)) != std::string::npos;) err.erase(at, folder.size());
        EXPECT_EQ(read(prefix + ".err"), err);
        EXPECT_EQ(list, listed());
        fs::remove_all(dir.path("root"));
    }
}

// What an editor does not show, or changes.
TEST_F(TaqGencat, EncodingAndInvisibleBytes) {
    const std::string ok = "$set 1\n$quote \"\n", wide = "1: the source is UTF-16 or UTF-32, not UTF-8\n";
    const struct {
        std::string source, expect; // the list, or the diagnostics without the file's name
    } cases[] = {
        {"$set 1\n1  a \n2\tb\n3 \tc\n4 \n", ok + "1 \" a \"\n2 \"b\"\n3 \"\\tc\"\n4 \"\"\n"},
        {"\xEF\xBB\xBF$set 1\r\n1 a\\\r\nb\r\n2 c\r\n", ok + "1 \"ab\"\n2 \"c\"\n"},
        {std::string("$set 1\n1 a\0b\n", 13), "2: a NUL byte would end the text\n"},
        {std::string("$set 1\n1 a\\\0b\n", 14), "2: a NUL byte would end the text\n"},
        {"$ \xE9t\xE9\n1 a\\\n\xE9\n", "1: not valid UTF-8\n" + dir.path("s.msg") + ":3: not valid UTF-8\n"},
        {"\xFF\xFE$\0", wide},
        {"\xFE\xFF", wide},
        {std::string("$\0s\0", 4), wide},
        {std::string("\0$\0s", 4), wide}};
    for (const auto& c : cases) {
        const CommandResult done = compile(dir.write("s.msg", c.source));
        EXPECT_EQ(c.expect.starts_with("$") ? c.expect : dir.path("s.msg") + ":" + c.expect,
                  done.status == 0 ? listed() : done.err);
    }
}

TEST_F(TaqGencat, ModuleIsMapAndCatalogsTheSameEachTime) {
    const mode_t before = umask(027);
    const CommandResult done = compile(dir.write("s.msg", SOURCE));
    umask(before);
    EXPECT_EQ(0, done.status);
    EXPECT_EQ("", done.out + done.err);
    EXPECT_EQ(fs::perms{0640}, fs::status(dir.path("root/messages/en/M.bmcmap")).permissions());
    EXPECT_EQ("language=en\nM=M_1 M_7\n"
              "M_1.version=1.0\nM_1.category=1\nM_1.first=1\nM_1.last=2\n"
              "M_7.version=1.0\nM_7.category=7\nM_7.first=0\nM_7.last=9\n",
              compiled("M.bmcmap"));
    const std::string first = compiled("M_1.bmc"), second = compiled("M_7.bmc");
    ASSERT_EQ(0, compile(dir.path("s.msg")).status);
    EXPECT_EQ(first, compiled("M_1.bmc"));
    EXPECT_EQ(second, compiled("M_7.bmc"));

    const CommandResult piped = run({"--list", "-"}, second);
    EXPECT_EQ("$quote \"\n0 \"zero\"\n9 \"nine\"\n", piped.out);
    EXPECT_EQ(second, run({"-", "-"}, piped.out).out);
}

TEST_F(TaqGencat, SourcesMergeInOrderAndFoldersByName) {
    dir.write("src/b.msg", "$set 1\n1 B\n");
    dir.write("src/a.msg", "$set 1\n1 A\n2 A\n4 A\n$set 2\n1 dropped\n");
    dir.write("src/note.txt", "not a source");
    const std::string last = dir.write("x.msg", "$delset 2\n$set 1\n3 X\n4\n");
    for (const bool check : {false, true}) {
        std::vector<std::string> arguments = {dir.path("c.bmc"), dir.path("src"), last};
        if (check) arguments.insert(arguments.begin(), "--check");
        ASSERT_EQ(0, run(arguments).status);
        EXPECT_EQ("$quote \"\n1 \"B\"\n2 \"A\"\n3 \"X\"\n", run({"--list", dir.path("c.bmc")}).out);
        fs::remove(dir.path("c.bmc"));
    }
}

TEST_F(TaqGencat, TranslationIsCheckedAndFilled) {
    const std::string en = dir.write("en/m.msg", "$set 1\n1 a %s\n2 b\n$set 3\n1 three\n");
    const std::string de = dir.write("de.msg", "$set 1\n1 A\n4 new\n");
    const CommandResult faulty = compile(de, {"--check", "--reference", dir.path("en")});
    EXPECT_EQ(1, faulty.status);
    EXPECT_EQ(de + ":2: message 1 of set 1 has 0 specifiers, the reference 1\n" + de +
                  ":3: message 4 of set 1 is not in the reference\n" + en +
                  ":3: message 2 of set 1 has no translation\n" + en +
                  ":5: message 1 of set 3 has no translation\n",
              faulty.err);
    dir.write("de.msg", "1 %s A\n");
    EXPECT_EQ(0, run({"--check", de}).status) << "a set is not needed where none is written";
    EXPECT_FALSE(fs::exists(dir.path("root")));
    dir.write("de.msg", "$set 1\n1 %s A\n");
    ASSERT_EQ(0, compile(de, {"--check", "--reference", en, "--fill-from=" + en}).status);
    EXPECT_EQ("$set 1\n$quote \"\n1 \"%s A\"\n2 \"b\"\n$set 3\n$quote \"\n1 \"three\"\n", listed());
}

TEST_F(TaqGencat, UsageAndFileFaultsExitWithTwo) {
    const std::string s = dir.write("s.msg", SOURCE), none = dir.path("none"), root = dir.path("root"),
                      c = dir.path("c.bmc"), one = dir.write("one.msg", "1 a\n");
    dir.make("empty");
    EXPECT_THAT(run({"--help"}).out, StartsWith("Usage: taqgencat"));
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(2, run_command(TAQGENCAT, {"taqgencat", "--version"}, {}, full).status);
    close(full);
    const struct {
        std::vector<std::string> arguments;
        std::string reason;
    } cases[] = {{{}, "a catalog file must be named"},
                 {{"c.bmc"}, "no source is named"},
                 {{"--check", "c.bmc"}, "no source is named"},
                 {{"--what", s}, "unknown option --what"},
                 {{"--module"}, "--module takes a value"},
                 {{"--module", "M", s}, "--module, --lang and --out go together, each once"},
                 {{"--module", "a.b", "--lang", "en", "--out", root, s}, "a module name has"},
                 {{"--module", "M", "--lang", "../en", "--out", root, s}, "a language has"},
                 {{"--module", "M", "--lang", "en", "--out", root, none}, none + ": No such file"},
                 {{"--module", "M", "--lang", "en", "--out", s, s}, s + "/messages/en/: Not a directory"},
                 {{c, dir.write("e.msg", "$set 1\n")}, "the sources hold no messages"},
                 {{"--reference", s, c, s}, "--reference needs --check"},
                 {{"--fill-from", s, c, s}, "--fill-from needs --check or --out"},
                 {{"--check", "-", "-"}, "standard input can be read only once"},
                 {{"--check", dir.path("empty")}, "holds no source"},
                 {{"--list", s}, s + ": not a message catalog"},
                 {{c, s}, "a catalog holds one set"},
                 {{dir.path("empty"), one}, "/empty: Is a directory"},
                 {{dir.path("no/c.bmc"), one}, "no/c.bmc: No such file"}};
    for (const auto& row : cases) {
        const CommandResult failed = run(row.arguments);
        EXPECT_EQ(2, failed.status) << row.reason;
        EXPECT_EQ("", failed.out);
        EXPECT_THAT(failed.err, StartsWith("taqgencat: "));
        EXPECT_THAT(failed.err, HasSubstr(row.reason));
    }
}

// Sources and other files stand where a catalog is to be written: nothing but a catalog is replaced.
TEST_F(TaqGencat, OnlyCatalogsAreWrittenOver) {
    const std::string a = dir.write("a.msg", "1 a\n"), b = dir.write("b.msg", "1 b\n");
    fs::create_hard_link(a, dir.path("hard.bmc"));
    fs::create_symlink("a.msg", dir.path("link.bmc"));
    dir.write("short.bmc", std::string("\0\0\x47\x95", 4));
    dir.write("root/messages/en/M_1.bmc", "$set 1\n1 a\n");
    for (const char* target : {"a.msg", "hard.bmc", "link.bmc", "short.bmc"}) {
        const std::string before = dir.read(target);
        const CommandResult failed = run({dir.path(target), b});
        EXPECT_EQ(2, failed.status);
        EXPECT_THAT(failed.err, HasSubstr(std::string(target) + ": exists and is not a message catalog"));
        EXPECT_EQ(before, dir.read(target));
    }
    EXPECT_THAT(compile(dir.path("root/messages/en/M_1.bmc")).err, HasSubstr("M_1.bmc: is read as a source"));
    EXPECT_EQ("$set 1\n1 a\n", compiled("M_1.bmc"));

    const std::string catalog = run({"-", b}).out, longest(255, 'c');
    CatalogBuilder().text(1, "old").write(dir.path(longest));
    dir.write("none.bmc", "");
    fs::create_symlink(longest, dir.path("to.bmc"));
    for (const char* target : {"none.bmc", "to.bmc"}) { // an empty file, a link to a catalog with a long name
        EXPECT_EQ(0, run({dir.path(target), b}).status);
        EXPECT_EQ(catalog, dir.read(target));
    }
    EXPECT_EQ(catalog, dir.read(longest));
    EXPECT_TRUE(fs::is_symlink(dir.path("to.bmc")));

    const std::string fifo =
        dir.path("fifo"); // as for a device; one of the machine's must not be at stake here
    ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
    const int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(0, run({fifo, b}).status);
    std::string bytes(catalog.size(), '\0');
    EXPECT_EQ(static_cast<ssize_t>(catalog.size()), read(reader, bytes.data(), bytes.size()));
    EXPECT_EQ(catalog, bytes);
    close(reader);
}

// Each failure strikes while the catalogs of a second compilation are written: what was there stays, and
// no temporary file is left behind.
TEST_F(TaqGencat, FailedWriteLeavesTheOldCatalogs) {
    ASSERT_EQ(0, compile(dir.write("s.msg", SOURCE)).status);
    const std::string map = compiled("M.bmcmap"), catalog = compiled("M_1.bmc");
    dir.write("s.msg", "$set 1\n1 another text\n2 that makes the file longer than 100\n$set 9\n1 n\n");
    const auto expect_failure = [&](const char* error) {
        const CommandResult failed = compile(dir.path("s.msg"));
        EXPECT_EQ(2, failed.status);
        EXPECT_THAT(failed.err, HasSubstr(error));
        EXPECT_EQ(map, compiled("M.bmcmap"));
        EXPECT_EQ(catalog, compiled("M_1.bmc"));
        EXPECT_THAT(dir.files("root"),
                    ElementsAre("messages/en/M.bmcmap", "messages/en/M_1.bmc", "messages/en/M_7.bmc"));
    };
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit tight{100, before.rlim_max};
    signal(SIGXFSZ, SIG_IGN); // which the command inherits, as the limit
    setrlimit(RLIMIT_FSIZE, &tight);
    expect_failure("M_1.bmc: File too large");
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, SIG_DFL);
    dir.make("root/messages/en/M_9.bmc"); // in the place of a catalog
    expect_failure("M_9.bmc: Is a directory");
}

TEST_F(TaqGencat, RunsAtOnceLeaveTheModuleOfOne) {
    for (int round = 0; round < 8; ++round) {
        std::vector<std::thread> runs;
        for (const std::string text : {"a", "b", "c", "d"}) {
            std::string source;
            for (int set = 1; set <= 30; ++set)
                source += "$set " + std::to_string(set) + "\n1 " + text + "\n";
            runs.emplace_back(
                [this, file = dir.write(text + ".msg", source)] { EXPECT_EQ(0, compile(file).status); });
        }
        for (std::thread& t : runs) t.join();
        const std::string first = compiled("M_1.bmc");
        for (int set = 2; set <= 30; ++set) ASSERT_EQ(first, compiled("M_" + std::to_string(set) + ".bmc"));
        ASSERT_EQ(31u, dir.files("root").size());
    }
}

} // namespace
