// Runs the real command.
#include "TempDir.h"

#include <gmock/gmock.h>

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr uid_t NOBODY = 65534;

struct Outcome {
    int status;
    std::string out, err;
};

class TaqGencat : public testing::Test {
protected:
    // What the child does before it becomes the command.
    using Preparation = void (*)();

    Outcome run(const std::vector<std::string>& arguments, const std::string& input = "",
                Preparation prepare = nullptr) {
        _io.write("in", input);
        const pid_t child = fork();
        if (child == 0) become(arguments, prepare);
        int status = 0;
        EXPECT_EQ(child, waitpid(child, &status, 0));
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, _io.read("out"), _io.read("err")};
    }

    // Compiles sources, given as text, to module M in English below folder "root".
    Outcome compile(const std::string& source, Preparation prepare = nullptr) {
        return run({"--module", "M", "--lang", "en", "--out", dir.path("root"), dir.write("s.msg", source)},
                   "", prepare);
    }

    TempDir dir;

private:
    [[noreturn]] void become(const std::vector<std::string>& arguments, Preparation prepare) {
        redirect("in", O_RDONLY, 0);
        redirect("out", O_WRONLY | O_CREAT | O_TRUNC, 1);
        redirect("err", O_WRONLY | O_CREAT | O_TRUNC, 2);
        if (prepare) prepare();
        std::vector<char*> argv{const_cast<char*>("taqgencat")};
        for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        execv(TAQGENCAT, argv.data());
        _exit(127);
    }

    void redirect(const char* name, int flags, int fd) {
        if (dup2(open(_io.path(name).c_str(), flags, 0600), fd) < 0) _exit(126);
    }

    TempDir _io;
};

const std::string SOURCE = "$set 1\n1 a\n2 b %s\n$set 7\n0 zero\n9 nine\n";

TEST_F(TaqGencat, ModuleIsMapAndCatalogsTheSameEachTime) {
    const auto files = [&] {
        std::vector<std::string> all;
        for (const auto& file : dir.files("root")) all.push_back(file + ": " + dir.read("root/" + file));
        return all;
    };
    const Outcome done = compile(SOURCE, [] { umask(027); });
    EXPECT_EQ(0, done.status);
    EXPECT_EQ("", done.out + done.err);
    EXPECT_EQ(std::filesystem::perms{0640},
              std::filesystem::status(dir.path("root/messages/en/M.bmcmap")).permissions());
    const auto first = files();
    EXPECT_THAT(first, ElementsAre("messages/en/M.bmcmap: language=en\nM=M_1 M_7\n"
                                   "M_1.version=1.0\nM_1.category=1\nM_1.first=1\nM_1.last=2\n"
                                   "M_7.version=1.0\nM_7.category=7\nM_7.first=0\nM_7.last=9\n",
                                   StartsWith("messages/en/M_1.bmc: "), StartsWith("messages/en/M_7.bmc: ")));
    ASSERT_EQ(0, compile(SOURCE).status);
    EXPECT_EQ(first, files());
}

TEST_F(TaqGencat, ListedCatalogCompilesToTheSameFile) {
    ASSERT_EQ(0, compile(SOURCE).status);
    const std::string catalog = dir.read("root/messages/en/M_7.bmc");
    const Outcome named = run({"--list", dir.path("root/messages/en/M_7.bmc")});
    EXPECT_EQ("$set 7\n$quote \"\n0 \"zero\"\n9 \"nine\"\n", named.out);
    const Outcome piped = run({"--list", "-"}, catalog);
    EXPECT_EQ("$quote \"\n0 \"zero\"\n9 \"nine\"\n", piped.out);
    for (const std::string& listing : {named.out, piped.out}) {
        const Outcome compiled = run({"-", "-"}, listing);
        EXPECT_EQ(0, compiled.status) << compiled.err;
        EXPECT_EQ(catalog, compiled.out);
    }
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

TEST_F(TaqGencat, CheckComparesWithTheReferenceAndWritesNothing) {
    dir.write("en/m.msg", "$set 1\n1 a %s\n2 b\n");
    const std::string de = dir.write("de.msg", "$set 1\n1 A\n");
    const Outcome faulty = run({"--check", "--reference", dir.path("en"), "--module", "M", "--lang", "de",
                                "--out", dir.path("root"), de});
    EXPECT_EQ(1, faulty.status);
    EXPECT_EQ("", faulty.out);
    EXPECT_EQ(de + ":2: message 1 of set 1 has 0 specifiers, the reference 1\n" + dir.path("en/m.msg") +
                  ":3: message 2 of set 1 has no translation\n",
              faulty.err);
    EXPECT_FALSE(std::filesystem::exists(dir.path("root")));

    dir.write("de.msg", "$set 1\n1 %s A\n2 B\n");
    EXPECT_EQ(0, run({"--check", "--reference", dir.path("en/m.msg"), de}).status);
    EXPECT_FALSE(std::filesystem::exists(dir.path("root")));
}

TEST_F(TaqGencat, FillFromCompletesATranslation) {
    const std::string en = dir.write("en/m.msg", "$set 1\n1 one\n2 two\n$set 3\n1 three\n");
    const std::string de = dir.write("de.msg", "$set 1\n2 zwei\n");
    ASSERT_EQ(0, run({"--check", "--reference", en, "--fill-from", en, "--module", "M", "--lang", "de",
                      "--out", dir.path("root"), de})
                     .status);
    EXPECT_EQ("$set 1\n$quote \"\n1 \"one\"\n2 \"zwei\"\n",
              run({"--list", dir.path("root/messages/de/M_1.bmc")}).out);
    EXPECT_EQ("$set 3\n$quote \"\n1 \"three\"\n", run({"--list", dir.path("root/messages/de/M_3.bmc")}).out);
}

TEST_F(TaqGencat, HelpAndVersion) {
    EXPECT_THAT(run({"--help"}).out, StartsWith("Usage: taqgencat"));
    EXPECT_EQ("taqgencat " TAQ_VERSION "\n", run({"--version"}).out);
    EXPECT_EQ(2, run({"--version"}, "", [] { dup2(open("/dev/full", O_WRONLY), 1); }).status);
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
                 {{"--module", "a=b", "--lang", "en", "--out", root, s}, "a module name has"},
                 {{"--module", "a.b", "--lang", "en", "--out", root, s}, "a module name has"},
                 {{"--module", "M", "--lang", "..", "--out", root, s}, "a language has"},
                 {{"--module", "M", "--lang", "e/n", "--out", root, s}, "a language has"},
                 {{"--module", "M", "--lang", "en", "--out", root}, "no source is named"},
                 {{"--module", "M", "--lang", "en", "--out", root, none}, none + ": No such file"},
                 {{"--module", "M", "--lang", "en", "--out", s, s}, s + "/messages/en/: Not a directory"},
                 {{"--module", "M", "--lang", "en", "--out", root, dir.write("e.msg", "$set 1\n")},
                  "the sources hold no messages"},
                 {{"--reference", s, dir.path("c"), s}, "--reference needs --check"},
                 {{"--fill-from", s, dir.path("c"), s}, "--fill-from needs --check or --out"},
                 {{"--check", "-", "-"}, "standard input can be read only once"},
                 {{"--check", dir.path("empty")}, "holds no source"},
                 {{"--list", s, s}, "--list takes one catalog file"},
                 {{"--list", s}, s + ": not a message catalog"},
                 {{"--list", none}, none + ": No such file"},
                 {{dir.path("c.bmc"), s}, "a catalog holds one set"},
                 {{dir.path("no/c.bmc"), dir.write("one.msg", "1 a\n")}, "no/c.bmc: No such file"}};
    for (const auto& c : cases) {
        const Outcome failed = run(c.arguments);
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
        const Outcome faulty = compile(c.source);
        EXPECT_EQ(c.status, faulty.status);
        EXPECT_EQ(c.err, faulty.err);
        EXPECT_FALSE(std::filesystem::exists(dir.path("root")));
    }
}

// Each failure strikes while the catalogs of a second compilation are written: what was there stays, and
// no temporary file is left behind.
TEST_F(TaqGencat, FailedWriteLeavesTheOldCatalogs) {
    ASSERT_EQ(0, compile(SOURCE).status);
    const std::string folder = dir.path("root/messages/en");
    const std::string map = dir.read("root/messages/en/M.bmcmap"),
                      catalog = dir.read("root/messages/en/M_1.bmc");
    std::filesystem::create_directory(folder + "/M_9.bmc");
    const struct {
        const char* name;
        mode_t mode;
        const char* error;
        Preparation prepare;
    } cases[] = {{"folder not writable", 0555, "M_1.bmc: ",
                  [] {
                      if (getuid() == 0 && (setgid(NOBODY) != 0 || setuid(NOBODY) != 0)) _exit(125);
                  }},
                 {"file size limited", 0755, "M_1.bmc: ",
                  [] {
                      const rlimit limit{100, 100}; // the first catalog is longer
                      signal(SIGXFSZ, SIG_IGN);
                      if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(125);
                  }},
                 {"a folder in the place of a catalog", 0755, "M_9.bmc: Is a directory", nullptr}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_EQ(0, chmod(folder.c_str(), c.mode));
        const Outcome failed = compile(
            "$set 1\n1 another text\n2 that makes the file longer than 100\n$set 9\n1 n\n", c.prepare);
        ASSERT_EQ(0, chmod(folder.c_str(), 0755));
        EXPECT_EQ(2, failed.status);
        EXPECT_THAT(failed.err, HasSubstr(c.error));
        EXPECT_EQ(map, dir.read("root/messages/en/M.bmcmap"));
        EXPECT_TRUE(c.prepare == nullptr || catalog == dir.read("root/messages/en/M_1.bmc"));
        EXPECT_THAT(dir.files("root"),
                    ElementsAre("messages/en/M.bmcmap", "messages/en/M_1.bmc", "messages/en/M_7.bmc"));
    }
}

} // namespace
