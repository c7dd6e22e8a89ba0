#include <functional>
#include <random>

#include "FilterWords.h"
#include "RecordFilter.h"
#include "RecordsInMemory.h"

namespace {

using Random = std::mt19937;
using Holds = std::function<bool(const LdfTestRecord&)>;

constexpr int32_t EPOCH = 1000;
const std::vector<std::string> names = {"web1", "WEB1", "db", "db:web1", "x:db:y", "web1:", ":db", "web", ""};

LdfTestRecord random_record(Random& random) {
    LdfTestRecord record;
    record.sev = static_cast<uint8_t>(random() % 7);
    record.obj = static_cast<uint8_t>(random() % 7);
    record.cat = static_cast<uint16_t>(25 + random() % 2);
    record.num = static_cast<uint16_t>(1 + random() % 3);
    record.time = EPOCH + static_cast<int32_t>(random() % 50);
    record.line = static_cast<uint32_t>(random() % 3);
    record.file = random() % 2 ? "Log" : "Store";
    for (size_t n = random() % 3; n > 0; --n) record.args.push_back(names[random() % (names.size() - 1)]);
    return record;
}

std::string lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(c));
    return text;
}

bool has_piece(const LdfTestRecord& record, const std::string& name) {
    for (const std::string& arg : record.args) {
        if (lower(arg) == lower(name)) return true;
        std::string piece;
        for (const char c : arg + ":") {
            if (c != ':') {
                piece += c;
                continue;
            }
            if (lower(piece) == lower(name) && arg.find(':') != std::string::npos && !piece.empty())
                return true;
            piece.clear();
        }
    }
    return false;
}

// A condition of one value, in the words of a user and by itself.
struct Condition {
    FilterClause::Kind kind;
    std::string word;
    Holds holds;
};

Condition random_condition(Random& random) {
    const auto number = static_cast<uint16_t>(1 + random() % 3);
    const auto category = static_cast<uint16_t>(25 + random() % 2);
    switch (random() % 7) {
    case 0:
        return {FilterClause::SEVERITY, "warning,E", [](const auto& r) { return r.sev == 2 || r.sev == 1; }};
    case 1: return {FilterClause::SEVERITY, "error..critical", [](const auto& r) { return r.sev <= 1; }};
    case 2: return {FilterClause::OBJECT_TYPE, "grp", [](const auto& r) { return r.obj == 3; }};
    case 3:
        if (random() % 2)
            return {FilterClause::ID, std::to_string(number), [=](const auto& r) { return r.num == number; }};
        return {FilterClause::ID,
                (random() % 2 ? "k-16-" : "") + std::to_string(category) + "-" + std::to_string(number),
                [=](const auto& r) { return r.num == number && r.cat == category; }};
    case 4:
        return {FilterClause::CATEGORY, std::to_string(category),
                [=](const auto& r) { return r.cat == category; }};
    case 5: {
        const std::string name = names[random() % 3];
        return {FilterClause::OBJECT, name, [=](const auto& r) { return has_piece(r, name); }};
    }
    default:
        if (random() % 2) return {FilterClause::SOURCE, "Log", [](const auto& r) { return r.file == "Log"; }};
        return {FilterClause::SOURCE, "Log:2", [](const auto& r) { return r.file == "Log" && r.line == 2; }};
    }
}

bool add(const std::string& word, FilterClause& clause) {
    switch (clause.kind) {
    case FilterClause::SEVERITY: return add_severities(word, clause);
    case FilterClause::OBJECT_TYPE: return add_object_type(word, clause);
    case FilterClause::ID: return add_identity(word, clause);
    case FilterClause::CATEGORY: return add_category(word, clause);
    case FilterClause::SOURCE: return add_position(word, clause);
    default: clause.names.push_back(word); return true;
    }
}

std::vector<int> numbers_found(RecordsInMemory& records, const FilterOptions& options) {
    RecordFilter filter(options);
    int32_t key = 0;
    return records.found_by(
        [&](const LdfRun& run, std::vector<FoundPlace>& found) { filter.find(run, key, found); });
}

} // namespace

TEST(Filter, FindsWhatEachConditionByItselfAllows) {
    Random random(11);
    for (int round = 0; round < 400; ++round) {
        std::vector<LdfTestRecord> built(60);
        LdfBuilder file;
        for (LdfTestRecord& record : built) file.record(record = random_record(random));
        RecordsInMemory records(file);

        FilterOptions options;
        options.any = random() % 2;
        if (random() % 2) options.since = EPOCH + static_cast<int>(random() % 30);
        if (random() % 2) options.until = EPOCH + static_cast<int>(random() % 60);
        std::vector<Holds> all;
        for (size_t n = random() % 5; n > 0; --n) {
            const Condition condition = random_condition(random);
            const bool negated = random() % 3 == 0;
            FilterClause clause{condition.kind, negated, {}, {}, {}, {}, {}};
            ASSERT_TRUE(add(condition.word, clause)) << condition.word;
            options.clauses.push_back(clause);
            all.push_back([=](const auto& record) { return condition.holds(record) != negated; });
        }
        std::vector<int> expected;
        for (size_t i = 0; i < built.size(); ++i) {
            size_t holding = 0;
            for (const Holds& holds : all) holding += holds(built[i]);
            const bool is_in_time = built[i].time >= options.since && built[i].time < options.until;
            if (is_in_time && (all.empty() || (options.any ? holding > 0 : holding == all.size())))
                expected.push_back(static_cast<int>(i));
        }
        ASSERT_EQ(expected, numbers_found(records, options)) << round;
    }
}

TEST(Filter, TakesTheTimesOfRecordsToTheirLimits) {
    LdfBuilder file;
    for (const int32_t time : {INT32_MIN, -1, 0, INT32_MAX}) file.record({.time = time});
    RecordsInMemory records(file);
    const struct {
        int64_t since, until;
        std::vector<int> found;
    } cases[] = {{INT64_MIN, INT64_MAX, {0, 1, 2, 3}},
                 {INT32_MIN, INT32_MAX, {0, 1, 2}},
                 {INT32_MAX, int64_t{INT32_MAX} + 1, {3}},
                 {int64_t{INT32_MAX} + 1, INT64_MAX, {}},
                 {INT64_MIN, INT32_MIN, {}},
                 {0, 0, {}},
                 {5, -5, {}},
                 {-1, 1, {1, 2}}};
    for (const auto& c : cases) {
        FilterOptions options;
        options.since = c.since;
        options.until = c.until;
        EXPECT_EQ(c.found, numbers_found(records, options)) << c.since << " " << c.until;
    }
}

TEST(Filter, ReadsTheWordsOfUsers) {
    const auto severities = [](const std::string& word) {
        FilterClause clause{FilterClause::SEVERITY, false, {}, {}, {}, {}, {}};
        if (!add_severities(word, clause)) return std::string("wrong");
        std::string found;
        for (size_t sev = 0; sev < 256; ++sev)
            if (clause.codes[sev]) found += std::to_string(sev) + " ";
        return found;
    };
    EXPECT_EQ("0 1 2 ", severities("..warning"));
    EXPECT_EQ("57 ", severities("DBG_RES2"));
    EXPECT_EQ("3 4 ", severities("i,Notice"));
    EXPECT_EQ("5 6 ", severities("dbg_1..dbg_2"));
    for (const char* wrong : {"", ",", "error,", "..", "x", "err", "error..x", "1"})
        EXPECT_EQ("wrong", severities(wrong)) << wrong;
    FilterClause clause{FilterClause::ID, false, {}, {}, {}, {}, {}};
    for (const char* wrong :
         {"", "-", "-1", "65536", "25-", "25-x", "K-17-25-1", "K-16-", "1-2-3", "+1", "1 "})
        EXPECT_FALSE(add_identity(wrong, clause)) << wrong;
    EXPECT_FALSE(add_category("x", clause));
    EXPECT_FALSE(add_object_type("ERR", clause));
    EXPECT_FALSE(add_position(":5", clause));
}
