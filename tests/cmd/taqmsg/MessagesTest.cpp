// The command's English texts stand in two places: in its table, for a system without catalogs, and in the
// source that translators start from.
#include "messages.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

namespace {

TEST(Messages, TableAndEnglishCatalogAgree) {
    std::ifstream file(TAQ_CATALOG_SOURCES "/en/kore.msg");
    const std::string source{std::istreambuf_iterator<char>(file), {}};
    const size_t begin = source.find("\n$set " + std::to_string(ULOG_CAT_COMMAND)),
                 end = source.find("\n$set", begin + 1);
    ASSERT_NE(std::string::npos, begin);
    const std::string set = source.substr(begin, end - begin);
    for (const CommandMessage& message : command_messages) {
        std::string line = "\n" + std::to_string(message.number) + " " + message.text + "\n";
        if (const size_t at = line.find("%d"); at != std::string::npos)
            line[at + 1] = 's'; // takes strings only
        EXPECT_NE(std::string::npos, set.find(line)) << line;
    }
    size_t in_catalog = 0;
    for (size_t at = 0; (at = set.find("\n30", at)) != std::string::npos; ++at) ++in_catalog;
    EXPECT_EQ(in_catalog, std::size(command_messages));
    EXPECT_EQ(19u, in_catalog);
}

} // namespace
