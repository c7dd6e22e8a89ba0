#include <cstdlib>
#include <random>
#include <re2/re2.h>

#include "RecordsInMemory.h"
#include "TextSearch.h"
#include "support/CatalogBuilder.h"
#include "support/TempDir.h"

namespace {

// Few letters, so that what an expression needs often stands across an end of a piece. The Kelvin sign and
// the long s are k and s when case does not count.
const std::vector<std::string> letters = {"a", "b", "ab", "ba", "k", "s", "A", "K", " ", "aba", "kb"};
const std::vector<std::string> in_texts = {"%s", "%s", "%s", "%1$s", "%2$s", "%%", "\xC3\x84"};
const std::vector<std::string> in_args = {"\xE2\x84\xAA", "\xC5\xBF", "?", "\n", "\xFE", "\xC3\xA4", "  "};
const std::vector<std::string> in_expressions = {
    "[ab]", "[^a]",   ".",   "*",         "?",     "(?:ab|kb)", "|",   "^",   "$",       "\\b",
    "(?i)", "(?s:.)", "\\s", "\\?\\?\\?", "\\xC4", "\xC3\xA4",  "\\A", "\\z", "(?-m:$)", "\\x{212A}"};

using Random = std::mt19937;

std::string pick(const std::vector<std::string>& from, Random& random) {
    return from[random() % from.size()];
}

std::string random_words(Random& random, size_t most, const std::vector<std::string>& others,
                         unsigned one_in) {
    std::string text;
    for (size_t n = 1 + random() % most; n > 0; --n)
        text += random() % one_in == 0 ? pick(others, random) : pick(letters, random);
    return text;
}

LdfBuilder random_file(Random& random) {
    LdfBuilder file;
    for (int i = 0; i < 300; ++i) {
        LdfTestRecord record;
        record.num = static_cast<uint16_t>(random() % 12); // 0 is no message, 11 is in no catalog
        for (size_t n = random() % 4; n > 0; --n) record.args.push_back(random_words(random, 4, in_args, 8));
        file.record(record);
    }
    return file;
}

class TextSearchTest : public testing::Test {
public:
    // New texts, and these records with them.
    void make(Random& random, const LdfBuilder& file) {
        CatalogBuilder catalog;
        for (uint32_t number = 1; number <= 10; ++number)
            catalog.text(number, random_words(random, 6, in_texts, 3));
        CatalogTree(_dir.path(), "en").catalog("core", 25, catalog).write();
        setenv("TAQ_MESSAGES_DIR", _dir.path().c_str(), 1);
        texts = std::make_unique<MessageTexts>();
        ASSERT_TRUE(texts->open("en"));
        records = std::make_unique<RecordsInMemory>(file);
        composed.clear();
        records->for_each([&](const unsigned char* bytes, int) {
            LdfRecordView view;
            ldf_view_record(bytes, view);
            char text[MessageTexts::SIZE];
            const size_t size =
                texts->compose(texts->of(view.header.msgcat_id), {view.argv(), view.argc()}, text);
            composed.emplace_back(text, size);
        });
    }

    std::vector<int> found(const std::vector<TextCondition>& conditions, const TextSearchOptions& options) {
        std::string error;
        const auto search = TextSearch::make(conditions, options, *texts, error);
        if (search == nullptr) return {-1};
        return records->found_by([&](const LdfRun& run, std::vector<FoundPlace>& places) {
            LdfRun part = run;
            part.size = 0;
            for (int32_t at = 0; at < run.count; at += part.count, part.size = 0) { // many ends of runs
                part.count = std::min(1 + at % 7, run.count - at);
                for (int32_t i = 0; i < part.count; ++i) part.size += ldf_record_size(part.bytes + part.size);
                std::vector<FoundPlace> kept;
                search->begin(part);
                int32_t number = run.first + at;
                for (uint32_t place = 0; place < part.size; ++number) {
                    if (search->may_match(part.bytes + place, kept.size()))
                        kept.push_back({place, number, 0});
                    place += static_cast<uint32_t>(ldf_record_size(part.bytes + place));
                }
                search->end(kept);
                places.insert(places.end(), kept.begin(), kept.end());
                part.bytes += part.size;
            }
        });
    }

    // The same by a search in each text; -1 when an expression is none.
    std::vector<int> expected(const std::vector<TextCondition>& conditions,
                              const TextSearchOptions& options) {
        std::vector<int> numbers;
        re2::RE2::Options how;
        how.set_log_errors(false);
        how.set_case_sensitive(!options.ignores_case);
        how.set_literal(options.is_literal);
        std::vector<size_t> holding(composed.size());
        for (const TextCondition& condition : conditions) {
            std::vector<bool> matches(composed.size());
            for (const std::string& text : condition.expressions) {
                const re2::RE2 expression(text, how);
                if (!expression.ok()) return {-1};
                for (size_t i = 0; i < composed.size(); ++i)
                    matches[i] = matches[i] || re2::RE2::PartialMatch(composed[i], expression);
            }
            for (size_t i = 0; i < composed.size(); ++i) holding[i] += matches[i] != condition.is_negated;
        }
        for (size_t i = 0; i < composed.size(); ++i)
            if (options.any ? holding[i] > 0 : holding[i] == conditions.size())
                numbers.push_back(static_cast<int>(i));
        return numbers;
    }

    std::unique_ptr<MessageTexts> texts;
    std::unique_ptr<RecordsInMemory> records;
    std::vector<std::string> composed;

private:
    TempDir _dir;
};

} // namespace

TEST_F(TextSearchTest, FindsWhatASearchInEachTextFinds) {
    Random random(7);
    int telling = 0;
    for (int round = 0; round < 60; ++round) {
        make(random, random_file(random));
        for (int i = 0; i < 60; ++i) {
            TextSearchOptions options;
            options.is_literal = random() % 6 == 0;
            options.ignores_case = random() % 3 == 0;
            options.any = random() % 2 == 0;
            std::vector<TextCondition> conditions(random() % 5 == 0 ? 2 : 1);
            for (TextCondition& condition : conditions) {
                condition.is_negated = random() % 4 == 0;
                for (size_t n = random() % 4 == 0 ? 2 : 1; n > 0; --n)
                    condition.expressions.push_back(random_words(random, 5, in_expressions, 3));
            }
            const std::vector<int> hits = found(conditions, options);
            telling += hits.size() > 1 && hits.size() < composed.size();
            ASSERT_EQ(expected(conditions, options), hits)
                << round << "/" << i << " '" << conditions[0].expressions[0] << "'";
        }
    }
    EXPECT_GT(telling, 700) << "the expressions must tell texts apart";
}

// More texts than a block holds, and a window that ends within a block.
TEST_F(TextSearchTest, FindsTheSameAcrossBlocksAndRuns) {
    Random random(1);
    LdfBuilder file;
    for (int i = 0; i < 400; ++i)
        file.record({.num = 0, .args = {std::string(random() % 900, 'x'), std::to_string(i) + "."}});
    make(random, file);
    const std::vector<TextCondition> condition = {{{"\\b\\d+7\\.$"}, false}};
    EXPECT_EQ(expected(condition, {}), found(condition, {}));
}
