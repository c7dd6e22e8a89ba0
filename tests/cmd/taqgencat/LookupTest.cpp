// What the compiler writes, read by the message lookup itself.
#include "TempDir.h"
#include "cmd/taqgencat/Checker.h"
#include "cmd/taqgencat/ModuleWriter.h"
#include "i18n/common/i18n.h"

#include <gtest/gtest.h>

using namespace gencat;

namespace {

class Catalogs {
public:
    // Writes the module and opens it.
    Catalogs(const Messages& messages, const std::string& module, const char* language) {
        std::string error;
        EXPECT_TRUE(write_module({_dir.path(), module, language}, messages, error)) << error;
        EXPECT_EQ(I18N_SOK, i18nOpen(&_handle, _dir.path().c_str(), module.c_str(), language));
    }
    ~Catalogs() { i18nClose(&_handle); }

    // The UTF-8 text with its arguments, or "<result code>".
    std::string text(u32 category, u32 number, const char* argument = nullptr) {
        char* text = nullptr;
        s32 size = 0;
        const int result = i18nGetSafeUTF8Msg(&_handle, category, number, &text, &size, argument);
        return result == I18N_SOK ? text : "<" + std::to_string(result) + ">";
    }

private:
    TempDir _dir;
    void* _handle = nullptr;
};

TEST(CompiledCatalogs, EveryMessageOfEveryCategoryIsFound) {
    const auto text_of = [](uint32_t category, uint32_t number) {
        return std::to_string(category) + ":" + std::to_string(number) + " ";
    };
    Messages messages;
    for (uint32_t category = 1; category <= 400; ++category) // the map's list of names fills many lines
        for (uint32_t number = 0; number < 65536; number = number * 2 + category % 7 + 1)
            messages[category][number].text = text_of(category, number) + "%s";
    Catalogs catalogs(messages, "KORE", "en");
    for (const auto& [category, set] : messages)
        for (const auto& [number, message] : set)
            ASSERT_EQ(text_of(category, number) + "arg", catalogs.text(category, number, "arg"));
    EXPECT_EQ("<3>", catalogs.text(401, 0));
    EXPECT_EQ("<3>", catalogs.text(7, 2)); // the numbers of category 7 are 0, 1, 3, 7, ...
}

TEST(CompiledCatalogs, NameListsOfEveryLengthAreRead) {
    Messages messages;
    for (uint32_t category = 60; category < 100; ++category) messages[category][category].text = "t";
    for (size_t name = 1; name <= 64; ++name) // moves the places where the map's lines are continued
        EXPECT_EQ("t", Catalogs(messages, std::string(name, 'm'), "de").text(99, 99)) << name;
}

TEST(CompiledCatalogs, LongestAcceptedTextIsShown) {
    Messages messages;
    messages[1][1] = {std::string(4088, 'x') + "%s", {std::make_shared<const std::string>("s"), 1}};
    Diagnostics faults;
    ASSERT_TRUE(check_texts(messages, faults));
    Catalogs catalogs(messages, "M", "en");
    EXPECT_EQ(std::string(4088, 'x') + "???", catalogs.text(1, 1));
    EXPECT_EQ(std::string(4088, 'x') + "a", catalogs.text(1, 1, "a"));
}

} // namespace
