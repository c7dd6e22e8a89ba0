#include <random>
#include <sstream>

#include "FilterWords.h"
#include "RecordFilter.h"
#include "RecordsInMemory.h"

namespace {

using Random = std::mt19937;

constexpr int32_t EPOCH = 1000;

template <class List>
auto pick(const List& from, Random& random) {
    return std::data(from)[random() % std::size(from)];
}

LdfTestRecord random_record(Random& random) {
    static const char* const names[] = {"web1", "WEB1", "db", "db:web1", "x:db:y", "web1:", ":db", "web"};
    static const int32_t limits[] = {INT32_MIN, -1, 0, INT32_MAX};
    LdfTestRecord record;
    record.sev = static_cast<uint8_t>(random() % 7);
    record.obj = static_cast<uint8_t>(random() % 7);
    record.cat = static_cast<uint16_t>(25 + random() % 2);
    record.num = static_cast<uint16_t>(1 + random() % 3);
    record.time = random() % 9 == 0 ? pick(limits, random) : EPOCH + static_cast<int32_t>(random() % 50);
    record.line = static_cast<uint32_t>(random() % 3);
    record.file = random() % 2 ? "Log" : "Store";
    for (size_t n = random() % 3; n > 0; --n) record.args.push_back(pick(names, random));
    return record;
}

std::string lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(c));
    return text;
}

bool has_piece(const LdfTestRecord& record, const std::string& name) {
    for (const std::string& arg : record.args) {
        std::istringstream pieces(lower(arg));
        for (std::string piece; std::getline(pieces, piece, ':');)
            if (piece == name) return true;
    }
    return false;
}

bool add_object(std::string_view word, FilterClause& clause) {
    clause.names.emplace_back(word);
    return true;
}

// A condition of one value, in the words of a user and by itself.
struct Condition {
    FilterClause::Kind kind;
    bool (*add)(std::string_view word, FilterClause& clause);
    const char* word;
    bool (*holds)(const LdfTestRecord& r);
};
using F = FilterClause;
using R = LdfTestRecord;
const Condition all_conditions[] = {
    {F::SEVERITY, add_severities, "warning,E", [](const R& r) { return r.sev == 2 || r.sev == 1; }},
    {F::SEVERITY, add_severities, "error..critical", [](const R& r) { return r.sev <= 1; }},
    {F::OBJECT_TYPE, add_object_type, "grp", [](const R& r) { return r.obj == 3; }},
    {F::ID, add_identity, "2", [](const R& r) { return r.num == 2; }},
    {F::ID, add_identity, "25-1", [](const R& r) { return r.num == 1 && r.cat == 25; }},
    {F::ID, add_identity, "k-16-26-3", [](const R& r) { return r.num == 3 && r.cat == 26; }},
    {F::CATEGORY, add_category, "25", [](const R& r) { return r.cat == 25; }},
    {F::OBJECT, add_object, "WEB1", [](const R& r) { return has_piece(r, "web1"); }},
    {F::OBJECT, add_object, "db", [](const R& r) { return has_piece(r, "db"); }},
    {F::SOURCE, add_position, "Log", [](const R& r) { return r.file == "Log"; }},
    {F::SOURCE, add_position, "Log:2", [](const R& r) { return r.file == "Log" && r.line == 2; }},
};

FilterClause clause_of(FilterClause::Kind kind, bool is_negated = false) {
    return {kind, is_negated, {}, {}, {}, {}, {}};
}

} // namespace

TEST(Filter, FindsWhatEachConditionByItselfAllows) {
    static const int64_t limits[] = {INT64_MIN, INT32_MIN, -1, 0, 1, INT32_MAX, INT32_MAX + 1LL, INT64_MAX};
    Random random(11);
    for (int round = 0; round < 800; ++round) {
        std::vector<LdfTestRecord> built(60);
        LdfBuilder file;
        for (LdfTestRecord& record : built) file.record(record = random_record(random));
        FilterOptions options;
        options.any = random() % 2;
        options.since = random() % 2 ? pick(limits, random) : EPOCH + static_cast<int>(random() % 30);
        options.until = random() % 2 ? pick(limits, random) : EPOCH + static_cast<int>(random() % 60);
        std::vector<size_t> holding(built.size());
        for (size_t n = random() % 5; n > 0; --n) {
            const Condition c = pick(all_conditions, random);
            const bool is_negated = random() % 3 == 0;
            options.clauses.push_back(clause_of(c.kind, is_negated));
            ASSERT_TRUE(c.add(c.word, options.clauses.back())) << c.word;
            for (size_t i = 0; i < built.size(); ++i) holding[i] += c.holds(built[i]) != is_negated;
        }
        const size_t needed = options.any ? !options.clauses.empty() : options.clauses.size();
        std::vector<int> expected;
        for (size_t i = 0; i < built.size(); ++i)
            if (built[i].time >= options.since && built[i].time < options.until && holding[i] >= needed)
                expected.push_back(static_cast<int>(i));
        RecordFilter filter(options);
        int32_t key = 0;
        const auto find = [&](const LdfRun& run, auto& found) { filter.find(run, key, found); };
        ASSERT_EQ(expected, RecordsInMemory(file).found_by(find)) << round;
    }
}

TEST(Filter, ReadsTheWordsOfUsers) {
    const std::pair<const char*, std::string> severities[] = {
        {"..warning", "0 1 2 "}, {"DBG_RES2", "57 "}, {"i,Notice", "3 4 "}, {"dbg_1..dbg_2", "5 6 "}};
    for (const auto& [word, expected] : severities) {
        FilterClause clause = clause_of(FilterClause::SEVERITY);
        EXPECT_TRUE(add_severities(word, clause));
        std::string found;
        for (size_t sev = 0; sev < 256; ++sev)
            if (clause.codes[sev]) found += std::to_string(sev) + " ";
        EXPECT_EQ(expected, found);
    }
    FilterClause clause = clause_of(FilterClause::ID);
    for (const char* wrong : {"", ",", "error,", "..", "x", "err", "error..x", "1"})
        EXPECT_FALSE(add_severities(wrong, clause)) << wrong;
    for (const char* wrong :
         {"", "-", "-1", "65536", "25-", "25-x", "K-17-25-1", "K-16-", "1-2-3", "+1", "1 "})
        EXPECT_FALSE(add_identity(wrong, clause)) << wrong;
    EXPECT_FALSE(add_category("x", clause) || add_object_type("ERR", clause) || add_position(":5", clause));
}
