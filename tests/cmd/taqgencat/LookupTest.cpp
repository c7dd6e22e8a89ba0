// What the compiler writes, read by the message lookup itself.
#include "cmd/taqgencat/Checker.h"
#include "cmd/taqgencat/MapFile.h"
#include "cmd/taqgencat/ModuleWriter.h"
#include "lib/i18n/I18nFixture.h"

using namespace gencat;

struct CompiledCatalogs : I18nTest {
    // Writes the module and opens it.
    void compile(const Messages& messages, const std::string& module, const char* language = "en") {
        i18nClose(&handle);
        std::string error;
        EXPECT_TRUE(write_module({root, module, language}, messages, {}, error)) << error;
        EXPECT_EQ(I18N_SOK, i18nOpen(&handle, root.c_str(), module.c_str(), language));
    }
};

static Messages categories(uint32_t count) {
    Messages messages;
    for (uint32_t category = 1; category <= count; ++category)
        for (uint32_t number = 0; number < 65536; number = number * 8 + category % 7 + 1)
            messages[category][number].text = std::to_string(category) + ":" + std::to_string(number) + " %s";
    return messages;
}

// The most that a map can name, and before that the last module whose catalogs stand in it by their names.
TEST_F(CompiledCatalogs, EveryMessageOfEveryCategoryIsFound) {
    for (const uint32_t count : {600u, 601u, static_cast<uint32_t>(MAX_CATEGORIES)}) {
        const Messages messages = categories(count);
        compile(messages, "KO");
        for (const auto& [category, set] : messages)
            for (const auto& [number, message] : set)
                ASSERT_EQ(std::to_string(category) + ":" + std::to_string(number) + " arg",
                          text(category, number, {"arg"}));
        EXPECT_EQ("<3>", text(count + 1, 0));
        EXPECT_EQ("<3>", text(7, 2)); // the numbers of category 7 are 0, 1, 9, ...
    }
    std::string error;
    EXPECT_FALSE(write_module({"/nowhere", "M", "en"}, categories(MAX_CATEGORIES + 1), {}, error));
    EXPECT_EQ("2049 categories, a module has room for 2048", error);
}

TEST_F(CompiledCatalogs, NameListsOfEveryLengthAreRead) {
    Messages messages;
    for (uint32_t category = 60; category < 100; ++category) messages[category][category].text = "t";
    for (size_t name = 1; name <= 64; ++name) { // moves the places where the map's lines are continued
        compile(messages, std::string(name, 'm'), "de");
        EXPECT_EQ("t", text(99, 99)) << name;
    }
}

TEST_F(CompiledCatalogs, LongestAcceptedTextIsShown) {
    for (const size_t size : {4088u, 4089u}) {
        Messages messages;
        messages[1][1] = {std::string(size, 'x') + "%s", {std::make_shared<const std::string>("s"), 1}};
        Diagnostics faults;
        check_texts(messages, faults);
        compile(messages, "M");
        EXPECT_EQ(!faults.has_faults(), text(1, 1) == std::string(size, 'x') + "???") << size;
        EXPECT_EQ(size > 4088, faults.has_faults());
    }
}
