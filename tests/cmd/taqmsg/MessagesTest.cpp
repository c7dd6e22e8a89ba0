// The command's English texts stand in two places: in its table, for a system without catalogs, and in the
// source that translators start from.
#include "messages.h"

#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <string>

namespace {

// The texts of one set of a catalog source by number.
std::map<int, std::string> texts_of_set(const std::string& path, int set) {
    std::ifstream source(path);
    EXPECT_TRUE(source.is_open()) << path;
    std::map<int, std::string> texts;
    int current = 0;
    for (std::string line; std::getline(source, line);) {
        if (line.rfind("$set ", 0) == 0) current = std::stoi(line.substr(5));
        if (current != set || line.empty() || line[0] == '$') continue;
        const size_t blank = line.find(' ');
        texts[std::stoi(line)] = line.substr(blank + 1);
    }
    return texts;
}

// Catalog texts take strings only.
std::string as_catalog_text(std::string text) {
    if (const size_t at = text.find("%d"); at != std::string::npos) text[at + 1] = 's';
    return text;
}

TEST(Messages, TableAndEnglishCatalogAgree) {
    const auto texts = texts_of_set(TAQ_CATALOG_SOURCES "/en/kore.msg", ULOG_CAT_COMMAND);
    std::map<int, std::string> table;
    for (const CommandMessage& message : command_messages)
        EXPECT_TRUE(table.emplace(message.number, as_catalog_text(message.text)).second) << message.number;
    const std::map<int, std::string> of_command(texts.lower_bound(30001), texts.end());
    EXPECT_EQ(table, of_command);
    EXPECT_EQ(19u, table.size());
}

} // namespace
