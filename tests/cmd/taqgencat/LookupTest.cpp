// What the compiler writes, read by the message lookup itself.
#include "cmd/taqgencat/Checker.h"
#include "cmd/taqgencat/MapFile.h"
#include "cmd/taqgencat/ModuleWriter.h"
#include "i18n/common/i18n.h"
#include "support/Prelude.h"
#include "support/TempDir.h"

using namespace gencat;

class Catalogs {
public:
    // Writes the module and opens it.
    Catalogs(const Messages& messages, const std::string& module, const char* language) {
        std::string error;
        EXPECT_TRUE(write_module({_dir.path(), module, language}, messages, {}, error)) << error;
        EXPECT_EQ(I18N_SOK, i18nOpen(&_handle, _dir.path().c_str(), module.c_str(), language));
    }
    ~Catalogs() { i18nClose(&_handle); }

    // The UTF-8 text with its arguments, or "<result code>".
    std::string text(uint32_t category, uint32_t number, const char* argument = nullptr) {
        char* text = nullptr;
        int32_t size = 0;
        const int result = i18nGetSafeUTF8Msg(&_handle, category, number, &text, &size, argument);
        return result == I18N_SOK ? text : "<" + std::to_string(result) + ">";
    }

private:
    TempDir _dir;
    void* _handle = nullptr;
};

static Messages categories(uint32_t count) {
    Messages messages;
    for (uint32_t category = 1; category <= count; ++category)
        for (uint32_t number = 0; number < 65536; number = number * 8 + category % 7 + 1)
            messages[category][number].text = std::to_string(category) + ":" + std::to_string(number) + " %s";
    return messages;
}

// The most that a map can name, and before that the last module whose catalogs stand in it by their names.
TEST(CompiledCatalogs, EveryMessageOfEveryCategoryIsFound) {
    for (const uint32_t count : {600u, 601u, static_cast<uint32_t>(MAX_CATEGORIES)}) {
        const Messages messages = categories(count);
        Catalogs catalogs(messages, "KO", "en");
        for (const auto& [category, set] : messages)
            for (const auto& [number, message] : set)
                ASSERT_EQ(std::to_string(category) + ":" + std::to_string(number) + " arg",
                          catalogs.text(category, number, "arg"));
        EXPECT_EQ("<3>", catalogs.text(count + 1, 0));
        EXPECT_EQ("<3>", catalogs.text(7, 2)); // the numbers of category 7 are 0, 1, 9, ...
    }
    std::string error;
    EXPECT_FALSE(write_module({"/nowhere", "M", "en"}, categories(MAX_CATEGORIES + 1), {}, error));
    EXPECT_EQ("2049 categories, a module has room for 2048", error);
}

TEST(CompiledCatalogs, NameListsOfEveryLengthAreRead) {
    Messages messages;
    for (uint32_t category = 60; category < 100; ++category) messages[category][category].text = "t";
    for (size_t name = 1; name <= 64; ++name) // moves the places where the map's lines are continued
        EXPECT_EQ("t", Catalogs(messages, std::string(name, 'm'), "de").text(99, 99)) << name;
}

TEST(CompiledCatalogs, LongestAcceptedTextIsShown) {
    for (const size_t size : {4088u, 4089u}) {
        Messages messages;
        messages[1][1] = {std::string(size, 'x') + "%s", {std::make_shared<const std::string>("s"), 1}};
        Diagnostics faults;
        check_texts(messages, faults);
        Catalogs catalogs(messages, "M", "en");
        EXPECT_EQ(!faults.has_faults(), catalogs.text(1, 1) == std::string(size, 'x') + "???") << size;
        EXPECT_EQ(size > 4088, faults.has_faults());
    }
}
