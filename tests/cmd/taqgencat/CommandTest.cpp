// Runs the real command.
#include "TempDir.h"
#include "support/RunCommand.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr uid_t NOBODY = 65534;

class TaqGencat : public testing::Test {
protected:
    static CommandResult run(std::vector<std::string> arguments, const std::string& input = "") {
        arguments.insert(arguments.begin(), "taqgencat");
        return run_command(TAQGENCAT, arguments, {}, -1, input);
    }
    // Compiles a source, given as text, to module M in English below folder "root".
    CommandResult compile(const std::string& source) const {
        return run({"--module", "M", "--lang", "en", "--out", dir.path("root"), dir.write("s.msg", source)});
    }
    std::string compiled(const std::string& file) const { return dir.read("root/messages/en/" + file); }

    TempDir dir;
};

const std::string SOURCE = "$set 1\n1 a\n2 b %s\n$set 7\n0 zero\n9 nine\n";

TEST_F(TaqGencat, ModuleIsMapAndCatalogsTheSameEachTime) {
    const mode_t before = umask(027);
    const CommandResult done = compile(SOURCE);
    umask(before);
    EXPECT_EQ(0, done.status);
    EXPECT_EQ("", done.out + done.err);
    EXPECT_EQ(std::filesystem::perms{0640},
              std::filesystem::status(dir.path("root/messages/en/M.bmcmap")).permissions());
    EXPECT_EQ("language=en\nM=M_1 M_7\n"
              "M_1.version=1.0\nM_1.category=1\nM_1.first=1\nM_1.last=2\n"
              "M_7.version=1.0\nM_7.category=7\nM_7.first=0\nM_7.last=9\n",
              compiled("M.bmcmap"));
    const std::string first = compiled("M_1.bmc"), second = compiled("M_7.bmc");
    ASSERT_EQ(0, compile(SOURCE).status);
    EXPECT_EQ(first, compiled("M_1.bmc"));
    EXPECT_EQ(second, compiled("M_7.bmc"));
}

TEST_F(TaqGencat, ListedCatalogCompilesToTheSameFile) {
    ASSERT_EQ(0, compile(SOURCE).status);
    const std::string catalog = compiled("M_7.bmc");
    const CommandResult named = run({"--list", dir.path("root/messages/en/M_7.bmc")});
    EXPECT_EQ("$set 7\n$quote \"\n0 \"zero\"\n9 \"nine\"\n", named.out);
    const CommandResult piped = run({"--list", "-"}, catalog);
    EXPECT_EQ("$quote \"\n0 \"zero\"\n9 \"nine\"\n", piped.out);
    EXPECT_EQ(catalog, run({"-", "-"}, named.out).out);
    EXPECT_EQ(0, run({dir.path("one.bmc"), dir.write("l.msg", piped.out)}).status);
    EXPECT_EQ(catalog, dir.read("one.bmc"));
}

TEST_F(TaqGencat, SourcesMergeInOrderAndFoldersByName) {
    dir.write("src/b.msg", "$set 1\n1 B\n");
    dir.write("src/a.msg", "$set 1\n1 A\n2 A\n");
    dir.write("src/note.txt", "not a source");
    ASSERT_EQ(0, run({dir.path("c.bmc"), dir.path("src"), dir.write("x.msg", "$set 1\n3 X\n")}).status);
    EXPECT_EQ("$quote \"\n1 \"B\"\n2 \"A\"\n3 \"X\"\n", run({"--list", dir.path("c.bmc")}).out);
}

TEST_F(TaqGencat, TranslationIsCheckedAndFilled) {
    const std::string en = dir.write("en/m.msg", "$set 1\n1 a %s\n2 b\n$set 3\n1 three\n");
    const std::string de = dir.write("de.msg", "$set 1\n1 A\n");
    const std::vector<std::string> module = {"--module", "M", "--lang", "de", "--out", dir.path("root"), de};
    const auto check = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), module.begin(), module.end());
        return run(arguments);
    };
    const CommandResult faulty = check({"--check", "--reference", dir.path("en")});
    EXPECT_EQ(1, faulty.status);
    EXPECT_EQ("", faulty.out);
    EXPECT_EQ(de + ":2: message 1 of set 1 has 0 specifiers, the reference 1\n" + en +
                  ":3: message 2 of set 1 has no translation\n" + en +
                  ":5: message 1 of set 3 has no translation\n",
              faulty.err);
    EXPECT_FALSE(std::filesystem::exists(dir.path("root")));

    dir.write("de.msg", "$set 1\n1 %s A\n");
    EXPECT_EQ(0, run({"--check", de}).status);
    EXPECT_FALSE(std::filesystem::exists(dir.path("root")));
    ASSERT_EQ(0, check({"--check", "--reference", en, "--fill-from=" + en}).status);
    EXPECT_EQ("$set 1\n$quote \"\n1 \"%s A\"\n2 \"b\"\n",
              run({"--list", dir.path("root/messages/de/M_1.bmc")}).out);
    EXPECT_EQ("$set 3\n$quote \"\n1 \"three\"\n", run({"--list", dir.path("root/messages/de/M_3.bmc")}).out);
}

TEST_F(TaqGencat, HelpAndVersion) {
    EXPECT_THAT(run({"--help"}).out, StartsWith("Usage: taqgencat"));
    EXPECT_EQ("taqgencat " TAQ_VERSION "\n", run({"--version"}).out);
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(2, run_command(TAQGENCAT, {"taqgencat", "--version"}, {}, full).status);
    close(full);
}

TEST_F(TaqGencat, UsageAndFileFaultsExitWithTwo) {
    const std::string s = dir.write("s.msg", SOURCE), none = dir.path("none"), root = dir.path("root");
    std::filesystem::create_directory(dir.path("empty"));
    const struct {
        std::vector<std::string> arguments;
        std::string reason;
    } cases[] = {{{}, "a catalog file must be named"},
                 {{"c.bmc"}, "no source is named"},
                 {{"--what", s}, "unknown option --what"},
                 {{"--module"}, "--module takes a value"},
                 {{"--module=", s}, "--module takes a value"},
                 {{"--module", "M", s}, "--module, --lang and --out go together, each once"},
                 {{"--module", "a.b", "--lang", "en", "--out", root, s}, "a module name has"},
                 {{"--module", "M", "--lang", "../en", "--out", root, s}, "a language has"},
                 {{"--module", "M", "--lang", "en", "--out", root, none}, none + ": No such file"},
                 {{"--module", "M", "--lang", "en", "--out", s, s}, s + "/messages/en/: Not a directory"},
                 {{dir.path("c.bmc"), dir.write("e.msg", "$set 1\n")}, "the sources hold no messages"},
                 {{"--reference", s, dir.path("c"), s}, "--reference needs --check"},
                 {{"--fill-from", s, dir.path("c"), s}, "--fill-from needs --check or --out"},
                 {{"--check", "-", "-"}, "standard input can be read only once"},
                 {{"--check", dir.path("empty")}, "holds no source"},
                 {{"--list", s, s}, "--list takes one catalog file"},
                 {{"--list", s}, s + ": not a message catalog"},
                 {{dir.path("c.bmc"), s}, "a catalog holds one set"},
                 {{dir.path("no/c.bmc"), dir.write("one.msg", "1 a\n")}, "no/c.bmc: No such file"}};
    for (const auto& c : cases) {
        const CommandResult failed = run(c.arguments);
        EXPECT_EQ(2, failed.status) << c.reason;
        EXPECT_EQ("", failed.out);
        EXPECT_THAT(failed.err, StartsWith("taqgencat: "));
        EXPECT_THAT(failed.err, HasSubstr(c.reason));
    }
}

TEST_F(TaqGencat, FaultySourceIsRefused) {
    std::string many;
    for (int category = 10000; category < 10600; ++category)
        many += "$set " + std::to_string(category) + "\n1 a\n";
    const std::string file = dir.path("s.msg");
    const struct {
        std::string source;
        int status;
        std::string err;
    } cases[] = {{"$set 1\n2 a\n1 b\n$set x\n", 1,
                  file + ":3: message 1 must come before message 2\n" + file +
                      ":4: $set takes a category from 1 to 65535\n"},
                 {many, 2, "taqgencat: too many categories for one map file\n"}};
    for (const auto& c : cases) {
        const CommandResult faulty = compile(c.source);
        EXPECT_EQ(c.status, faulty.status);
        EXPECT_EQ(c.err, faulty.err);
        EXPECT_FALSE(std::filesystem::exists(dir.path("root")));
    }
}

// Each failure strikes while the catalogs of a second compilation are written: what was there stays, and
// no temporary file is left behind.
TEST_F(TaqGencat, FailedWriteLeavesTheOldCatalogs) {
    ASSERT_EQ(0, compile(SOURCE).status);
    const std::string folder = dir.path("root/messages/en"), map = compiled("M.bmcmap"),
                      catalog = compiled("M_1.bmc");
    std::filesystem::create_directory(folder + "/M_9.bmc");
    const uid_t me = getuid();
    const auto become = [me](uid_t id) { (void)!setresuid(id, id, me); }; // root may write everywhere
    const auto limit_files = [](rlim_t size) { // the soft limit, which the command inherits
        rlimit limit;
        getrlimit(RLIMIT_FSIZE, &limit);
        limit.rlim_cur = std::min(size, limit.rlim_max);
        setrlimit(RLIMIT_FSIZE, &limit);
    };
    const struct {
        const char* name;
        std::function<void()> prepare, restore;
        const char* error;
        bool before_any; // catalog is replaced
    } cases[] = {{"folder not writable", [&] { chmod(folder.c_str(), 0555), become(NOBODY); },
                  [&] { become(me), chmod(folder.c_str(), 0755); }, "M_1.bmc: Permission", true},
                 {"file size limited", [&] { signal(SIGXFSZ, SIG_IGN), limit_files(100); },
                  [&] { limit_files(RLIM_INFINITY), signal(SIGXFSZ, SIG_DFL); }, "M_1.bmc: File too", true},
                 {"a folder in the place of a catalog", [] {}, [] {}, "M_9.bmc: Is a directory", false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        dir.write("s.msg", "$set 1\n1 another text\n2 that makes the file longer than 100\n$set 9\n1 n\n");
        c.prepare();
        const CommandResult failed =
            run({"--module", "M", "--lang", "en", "--out", dir.path("root"), dir.path("s.msg")});
        c.restore();
        EXPECT_EQ(2, failed.status);
        EXPECT_THAT(failed.err, HasSubstr(c.error));
        EXPECT_EQ(map, compiled("M.bmcmap"));
        EXPECT_EQ(c.before_any, catalog == compiled("M_1.bmc"));
        EXPECT_THAT(dir.files("root"),
                    ElementsAre("messages/en/M.bmcmap", "messages/en/M_1.bmc", "messages/en/M_7.bmc"));
    }
}

} // namespace
