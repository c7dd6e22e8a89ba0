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
    // New texts, and records with them.
    void make(Random& random) {
        CatalogBuilder catalog;
        for (uint32_t number = 1; number <= 10; ++number)
            catalog.text(number, random_words(random, 6, in_texts, 3));
        CatalogTree(_dir.path(), "en").catalog("core", 25, catalog).write();
        setenv("TAQ_MESSAGES_DIR", _dir.path().c_str(), 1);
        texts = std::make_unique<MessageTexts>();
        ASSERT_TRUE(texts->open("en"));
        records = std::make_unique<RecordsInMemory>(random_file(random));
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
            uint32_t start = 0;
            for (int32_t first = 0, count; first < run.count; first += count) { // many ends of runs
                count = std::min(1 + first % 7, run.count - first);
                std::vector<FoundPlace> part;
                const uint32_t size =
                    search_part({run.bytes + start, 0, 0, run.first + first, count}, *search, part);
                for (FoundPlace place : part) places.push_back({place.at + start, place.number, 0});
                start += size;
            }
        });
    }

    // Returns the bytes of the run, whose size need not be told.
    static uint32_t search_part(LdfRun run, TextSearch& search, std::vector<FoundPlace>& places) {
        for (int32_t i = 0; i < run.count; ++i) run.size += ldf_record_size(run.bytes + run.size);
        search.begin(run);
        uint32_t at = 0;
        for (int32_t i = 0; i < run.count; ++i) {
            if (search.may_match(run.bytes + at, places.size())) places.push_back({at, run.first + i, 0});
            at += static_cast<uint32_t>(ldf_record_size(run.bytes + at));
        }
        search.end(places);
        return at;
    }

    // The same by a search in each text.
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

bool is_valid(const TextCondition& condition, const TextSearchOptions& options) {
    re2::RE2::Options how;
    how.set_log_errors(false);
    how.set_literal(options.is_literal);
    for (const std::string& expression : condition.expressions)
        if (!re2::RE2(expression, how).ok()) return false;
    return true;
}

} // namespace

TEST_F(TextSearchTest, FindsWhatASearchInEachTextFinds) {
    Random random(7);
    int searches = 0, with_hits = 0;
    for (int round = 0; round < 60; ++round) {
        make(random);
        for (int i = 0; i < 60; ++i) {
            TextSearchOptions options;
            options.is_literal = random() % 6 == 0;
            options.ignores_case = random() % 3 == 0;
            options.any = random() % 2 == 0;
            std::vector<TextCondition> conditions(random() % 5 == 0 ? 2 : 1);
            bool are_valid = true;
            for (TextCondition& condition : conditions) {
                condition.is_negated = random() % 4 == 0;
                for (size_t n = random() % 4 == 0 ? 2 : 1; n > 0; --n)
                    condition.expressions.push_back(random_words(random, 5, in_expressions, 3));
                are_valid = are_valid && is_valid(condition, options);
            }
            const std::vector<int> hits = found(conditions, options);
            if (!are_valid) {
                EXPECT_EQ(std::vector<int>{-1}, hits) << conditions[0].expressions[0];
                continue;
            }
            ++searches;
            with_hits += !hits.empty() && hits.size() < composed.size();
            ASSERT_EQ(expected(conditions, options), hits)
                << round << "/" << i << " '" << conditions[0].expressions[0] << "' literal "
                << options.is_literal << " case " << options.ignores_case << " not "
                << conditions[0].is_negated;
        }
    }
    EXPECT_GT(searches, 2000);
    EXPECT_GT(with_hits, searches / 3) << "the expressions must tell texts apart";
}

// More texts than a block holds, and a window that ends within a block.
TEST_F(TextSearchTest, FindsTheSameAcrossBlocksAndRuns) {
    Random random(1);
    make(random);
    LdfBuilder file;
    for (int i = 0; i < 400; ++i)
        file.record({.num = 0, .args = {std::string(random() % 900, 'x'), std::to_string(i) + "."}});
    records = std::make_unique<RecordsInMemory>(file);
    const auto hits = found({{{"\\b\\d+7\\.$"}, false}}, {});
    std::vector<int> sevens;
    for (int i = 7; i < 400; i += 10)
        if (i > 9) sevens.push_back(i);
    EXPECT_EQ(sevens, hits);
}
