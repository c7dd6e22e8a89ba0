// Adding and removing categories dies or fails at each of its steps in turn: the texts of the system and of
// other services are there at every moment, and a second attempt gives what an undisturbed one gives.
#include "cmd/taqgencat/ModuleWriter.h"
#include "i18n/common/i18n.h"
#include "support/ChildProcess.h"
#include "support/Prelude.h"
#include "support/SystemCalls.h"
#include "support/TempDir.h"

using namespace gencat;

namespace {

Messages sets(const std::vector<uint32_t>& categories, const char* text) {
    Messages messages;
    for (const uint32_t category : categories) messages[category][1].text = text;
    return messages;
}

struct Root {
    Root() {
        EXPECT_TRUE(write_module(target, sets({25, 65534}, "system"), {}, error)) << error;
        EXPECT_TRUE(add_to_module(target, "mail", sets({9}, "mail"), {}, error)) << error;
        EXPECT_TRUE(add_to_module(target, "orders", sets({300, 301}, "old"), {}, error)) << error;
    }
    bool add() { return add_to_module(target, "orders", sets({300, 302}, "new"), {}, error); }
    bool remove() { return remove_from_module(target, "orders", {}, error); }

    std::string text(uint32_t category) const {
        void* handle = nullptr;
        char* text = nullptr;
        int32_t size = 0;
        int result = i18nOpen(&handle, dir.path().c_str(), "KORE", "en");
        if (result == I18N_SOK) result = i18nGetSafeUTF8Msg(&handle, category, 1, &text, &size);
        const std::string shown = result == I18N_SOK ? text : "<" + std::to_string(result) + ">";
        i18nClose(&handle);
        return shown;
    }

    // Names and bytes of all files but the temporary ones that a killed run leaves.
    std::string files() const {
        std::string all;
        for (const std::string& name : dir.files("messages/en"))
            if (!name.starts_with(".taqgencat-")) all += name + "\n" + dir.read("messages/en/" + name);
        return all;
    }

    const TempDir dir;
    const ModuleTarget target = {dir.path(), "KORE", "en"};
    std::string error;
};

// Runs the change in a child, whose calls from that step on fail with `error`; 0: the first one kills it.
int run(Root& root, bool (Root::*change)(), int error, int at) {
    return in_child([&] {
        system_call_plan = [=](const SystemCall&) mutable -> ssize_t {
            if (at > 0) return --at, PASS;
            if (error == 0) (void)raise(SIGKILL);
            return -error;
        };
        return (root.*change)() ? 0 : 1;
    });
}

TEST(InstalledModule, EveryTextIsThereWhateverFailsInTheMiddle) {
    const struct {
        const char* name;
        bool (Root::*change)();
        const char* in_300[2]; // before and after
    } changes[] = {{"add", &Root::add, {"old", "new"}}, {"remove", &Root::remove, {"old", "<3>"}}};
    for (const auto& [name, change, in_300] : changes) {
        Root undisturbed;
        ASSERT_TRUE((undisturbed.*change)());
        for (const int error : {0, ENOSPC, EROFS}) {
            int at = 0;
            for (int outcome = 1; outcome != 0; ++at) {
                SCOPED_TRACE(std::string(name) + ", step " + std::to_string(at));
                Root root;
                outcome = run(root, change, error, at);
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
