#include <cstdlib>
#include <deque>
#include <rapidjson/document.h>

#include "RecordFormat.h"
#include "RecordsInMemory.h"
#include "VisibleText.h"
#include "support/CatalogBuilder.h"
#include "support/TempDir.h"

namespace {

class FormatTest : public testing::Test {
public:
    FormatTest() {
        CatalogTree(_dir.path(), "en")
            .catalog("core", 25, CatalogBuilder().text(1, "%s, \"%s\"\tis up").text(2, "%s is up"))
            .write();
        setenv("TAQ_MESSAGES_DIR", _dir.path().c_str(), 1);
        EXPECT_TRUE(texts.open("en"));
    }

    std::string lines_of(RecordFormat& format, const LdfTestRecord& record,
                         const std::string& host = "node1") {
        SourceFile& file = _files.emplace_back(); // lives as long as its format
        file.host = host;
        file.log = "engine";
        file.place = host + "/engine";
        file.uid_prefix = host + "/engine/x/";
        file.oddities = oddities_of(file.uid_prefix);
        testing::internal::CaptureStdout();
        std::vector<char> room(128 * 1024);
        LineBuffer out(stdout, room);
        RecordsInMemory(LdfBuilder().record(record))
            .for_each([&](const unsigned char* of_record, int number) {
                format.put({of_record, &file, 117, number}, out);
            });
        (void)out.send();
        return testing::internal::GetCapturedStdout();
    }

    static std::string value_of(const rapidjson::Value& value) {
        return value.IsString() ? std::string(value.GetString(), value.GetStringLength()) : "null";
    }
    static rapidjson::Document parsed(const std::string& line) {
        rapidjson::Document document;
        document.Parse<rapidjson::kParseValidateEncodingFlag>(line.data(), line.size());
        EXPECT_FALSE(document.HasParseError()) << line;
        std::string names;
        // By number: its iterators do not compare in C++20.
        for (int i = 0; i < static_cast<int>(document.MemberCount()); ++i)
            names += std::string((document.MemberBegin() + i)->name.GetString()) + " ";
        if (document.HasMember("args_b64")) names.erase(names.find("args_b64 "), 9);
        EXPECT_EQ(
            "time epoch severity sev id category msgid object_type object host log generation record offset "
            "file function line seq args text lang uid ",
            names);
        return document;
    }

    MessageTexts texts;

private:
    TempDir _dir;
    std::deque<SourceFile> _files;
};

} // namespace

// Bytes that no field of a file can hold, NUL and 0xFF, are left out.
TEST_F(FormatTest, JsonHoldsEveryByteOfEveryField) {
    const auto json = make_json_format(texts);
    for (int byte = 1; byte < 0xFF; ++byte) {
        const std::string odd = "a" + std::string(1, static_cast<char>(byte)) + "b",
                          shown = byte < 0x80 ? odd : "a\uFFFDb";
        for (size_t field = 0; field < 5; ++field) {
            std::string given[] = {"f", "g", "node1", "x"}, expected[] = {"f", "g", "node1", "x", "x is up"};
            given[std::min(field, size_t{3})] = odd;
            expected[std::min(field, size_t{3})] = shown;
            LdfTestRecord record = {.num = 2, .file = given[0], .func = given[1], .args = {given[3]}};
            if (field == 3) expected[4] = shown + " is up";
            if (field == 4) record.args.push_back("second"), expected[4] = "??? is up"; // one too many
            const std::string line = lines_of(*json, record, given[2]);
            for (const char c : line.substr(0, line.size() - 1))
                ASSERT_TRUE(static_cast<unsigned char>(c) >= ' ' && c != 0x7F) << byte;
            const rapidjson::Document document = parsed(line);
            for (size_t i = 0; const char* name : {"file", "function", "host", "args", "text"})
                EXPECT_EQ(expected[i++],
                          value_of(document[name].IsArray() ? document[name][0] : document[name]));
            EXPECT_EQ(field > 2 && byte >= 0x80, document.HasMember("args_b64"));
            EXPECT_TRUE(byte != 0xFB || field < 3 || document["args_b64"][0] == "Yfti");
        }
    }
}

// The short way of plain records and the library give the same.
TEST_F(FormatTest, JsonOfPlainAndOfEscapedRecordsIsTheSame) {
    const auto json = make_json_format(texts);
    for (LdfTestRecord record :
         {LdfTestRecord{.sev = 1, .obj = 6, .num = 2, .args = {"web1"}},
          LdfTestRecord{.sev = 57, .obj = 0, .num = 2, .line = 0xFFFFFFFF, .seq = 7, .args = {}},
          LdfTestRecord{
              .sev = 200, .obj = 9, .num = 9, .time = -1, .args = {"a", "b", "c", "d", "e", "f", "g"}},
          LdfTestRecord{.num = 0, .text = std::string(1, '\0')}}) {
        std::string plain = lines_of(*json, record);
        std::string escaped = lines_of(*json, record, "\"");
        EXPECT_NE(plain, escaped);
        for (size_t at; (at = plain.find("node1")) != std::string::npos;) plain.replace(at, 5, "\\\"");
        EXPECT_EQ(plain, escaped);
        (void)parsed(plain);
    }
}

TEST_F(FormatTest, NoFormLetsAControlCharacterThrough) {
    FormatSettings settings;
    settings.shows_place = true;
    const std::unique_ptr<RecordFormat> formats[] = {
        make_line_format(texts, settings), make_verbose_format(texts, settings),
        make_csv_format(texts, settings), make_json_format(texts)};
    std::string all;
    for (int byte = 1; byte < 0xFF; ++byte) all += static_cast<char>(byte);
    all += "\xC2\x85\xE2\x80\xAE\xE2\x80\xA8\xD8\x9C\xC3\xA4\xF0\x9F\x98\x80\xED\xA0\x80";
    for (const auto& format : formats) {
        const LdfTestRecord record = {.num = 1, .file = all, .func = all, .args = {all, "second"}};
        const std::string lines = lines_of(*format, record, all);
        for (std::string_view rest = lines; !rest.empty();) {
            const char32_t c = next_character(rest);
            EXPECT_TRUE(c == '\n' || c == '\t' || !is_control(c))
                << static_cast<uint32_t>(c) << " in " << lines;
            EXPECT_NE(INVALID_UTF8, c);
        }
        EXPECT_EQ(format == formats[1] ? 8 : 1, std::ranges::count(lines, '\n'));
    }
    EXPECT_EQ(
        "a\\x1b[2J\\u202e\\u0085\\xff\tb\xC3\xA4\\\xF0\x9F\x98\x80\\xed\\xa0\\x80\\xc0\\xaf",
        visible_text("a\x1b[2J\xE2\x80\xAE\xC2\x85\xFF\tb\xC3\xA4\\\xF0\x9F\x98\x80\xED\xA0\x80\xC0\xAF"));
}
