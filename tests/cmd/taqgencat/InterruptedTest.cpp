// Adding and removing categories dies or fails at each of its steps in turn: the texts of the system and of
// other services are there at every moment, and a second attempt gives what an undisturbed one gives.
#include "cmd/taqgencat/ModuleWriter.h"
#include "i18n/common/i18n.h"
#include "support/TempDir.h"

#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace gencat;

namespace {

enum class Fault { KILL, NO_SPACE, READ_ONLY };

int steps_left = -1; // until the fault; negative: none is planned
Fault planned = Fault::KILL;

// One step of the writer that changes the disk. False: it fails.
bool step() {
    if (steps_left < 0 || steps_left-- > 0) return true;
    if (planned == Fault::KILL) (void)kill(getpid(), SIGKILL);
    errno = planned == Fault::NO_SPACE ? ENOSPC : EROFS;
    steps_left = 0; // and so does every further one
    return false;
}

template <class Function>
Function* real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// In place of the C library's.
extern "C" int rename(const char* from, const char* to) noexcept {
    return step() ? real<int(const char*, const char*)>("rename")(from, to) : -1;
}
extern "C" int remove(const char* path) noexcept {
    return step() ? real<int(const char*)>("remove")(path) : -1;
}
extern "C" int fsync(int) {
    return step() ? 0 : -1; // the power stays on
}

namespace {

class Root {
public:
    Root() {
        std::string error;
        EXPECT_TRUE(write_module(target(), sets({25, 65534}, "system"), {}, error)) << error;
        EXPECT_TRUE(add_to_module(target(), "mail", sets({9}, "mail"), {}, error)) << error;
        EXPECT_TRUE(add_to_module(target(), "orders", sets({300, 301}, "old"), {}, error)) << error;
    }

    bool add() const {
        std::string error;
        return add_to_module(target(), "orders", sets({300, 302}, "new"), {}, error);
    }
    bool remove() const {
        std::string error;
        return remove_from_module(target(), "orders", {}, error);
    }

    std::string text(uint32_t category) const {
        void* handle = nullptr;
        char* text = nullptr;
        int32_t size = 0;
        int result = i18nOpen(&handle, _dir.path().c_str(), "KORE", "en");
        if (result == I18N_SOK) result = i18nGetSafeUTF8Msg(&handle, category, 1, &text, &size);
        const std::string shown = result == I18N_SOK ? text : "<" + std::to_string(result) + ">";
        i18nClose(&handle);
        return shown;
    }

    // Names and bytes of all files but the temporary ones that a killed run leaves.
    std::string files() const {
        std::map<std::string, std::string> sorted;
        for (const auto& entry : std::filesystem::directory_iterator(target().folder()))
            sorted[entry.path().filename()] = _dir.read("messages/en/" + entry.path().filename().string());
        std::string all;
        for (const auto& [name, bytes] : sorted)
            if (!name.starts_with(".taqgencat-")) all += name + "\n" + bytes;
        return all;
    }

private:
    ModuleTarget target() const { return {_dir.path(), "KORE", "en"}; }
    static Messages sets(const std::vector<uint32_t>& categories, const char* text) {
        Messages messages;
        for (const uint32_t category : categories) messages[category][1].text = text;
        return messages;
    }

    TempDir _dir;
};

// Runs the change in a child with a fault at that step. 0 done, 1 refused, 2 killed.
int run(const Root& root, bool (Root::*change)() const, Fault fault, int at) {
    const pid_t child = fork();
    if (child == 0) {
        planned = fault;
        steps_left = at;
        const bool done = (root.*change)();
        _exit(done ? 0 : 1);
    }
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    return WIFSIGNALED(status) ? 2 : WEXITSTATUS(status);
}

TEST(InstalledModule, EveryTextIsThereWhateverFailsInTheMiddle) {
    const struct {
        const char* name;
        bool (Root::*change)() const;
        const char* in_300[2]; // before and after
    } changes[] = {{"add", &Root::add, {"old", "new"}}, {"remove", &Root::remove, {"old", "<3>"}}};
    for (const auto& [name, change, in_300] : changes) {
        const Root undisturbed;
        ASSERT_TRUE((undisturbed.*change)());
        for (const Fault fault : {Fault::KILL, Fault::NO_SPACE, Fault::READ_ONLY}) {
            int at = 0;
            for (int outcome = 1; outcome != 0; ++at) {
                SCOPED_TRACE(std::string(name) + ", step " + std::to_string(at));
                const Root root;
                outcome = run(root, change, fault, at);
                EXPECT_EQ("system", root.text(25));
                EXPECT_EQ("system", root.text(65534));
                EXPECT_EQ("mail", root.text(9));
                EXPECT_TRUE(root.text(300) == in_300[0] || root.text(300) == in_300[1]) << root.text(300);
                EXPECT_NE("<6>", root.text(301)) << "in the map without its catalog";
                EXPECT_NE("<6>", root.text(302)) << "in the map without its catalog";
                EXPECT_TRUE((root.*change)());
                EXPECT_TRUE(undisturbed.files() == root.files());
                ASSERT_LT(at, 50);
            }
            EXPECT_GT(at, 5);
        }
    }
}

} // namespace
