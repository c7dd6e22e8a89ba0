// Whether stat keeps within its bounds, whatever the records hold, and counts right within them.
#include "StatTables.h"
#include "support/Prelude.h"

#include <random>

TEST(Timeline, HasFewBucketsAndLosesNothing) {
    std::mt19937 random(7);
    for (const int64_t span : {int64_t{10}, int64_t{240}, int64_t{100000}, int64_t{0xFFFFFFFF}}) {
        SCOPED_TRACE(span);
        Timeline timeline(240);
        std::vector<int64_t> times = {INT32_MIN, INT32_MIN + span};
        while (times.size() < 2000) times.push_back(INT32_MIN + static_cast<int64_t>(random()) % (span + 1));
        for (const int64_t time : times) timeline.add(static_cast<int32_t>(time), 1);
        const auto& buckets = timeline.buckets();
        EXPECT_LE(buckets.rbegin()->first - buckets.begin()->first, 239);
        size_t total = 0;
        for (const auto& [at, counts] : buckets) {
            const int64_t from = at * timeline.width(), to = from + timeline.width();
            const auto within = [&](int64_t time) { return time >= from && time < to; };
            EXPECT_EQ(std::count_if(times.begin(), times.end(), within), static_cast<int64_t>(counts[1]));
            total += counts[1];
        }
        EXPECT_EQ(times.size(), total);
    }
}

TEST(TopTexts, AreExactAndThenBounded) {
    TopTexts texts;
    uint64_t frequent = 0;
    bool was_exact = false; // with the most that are
    for (size_t i = 0; i < TopTexts::EXACT + 100000; ++i) {
        texts.add("object " + std::to_string(i));
        if (i % 10 == 0) texts.add("frequent"), ++frequent;
        if (texts.size() == TopTexts::EXACT) was_exact = texts.is_exact();
    }
    EXPECT_TRUE(was_exact);
    EXPECT_FALSE(texts.is_exact());
    EXPECT_EQ(TopTexts::KEPT, texts.size());
    const auto first = texts.top(1).at(0);
    EXPECT_EQ("frequent", first.text);
    EXPECT_EQ(frequent, first.count - first.error);
    for (const auto& other : texts.top(100))
        ASSERT_TRUE(other.text == "frequent" || other.count - other.error <= 1);
    TopTexts cut;
    cut.add(std::string(199, 'x') + "\u00e4");
    EXPECT_EQ(std::string(199, 'x'), cut.top(1).at(0).text);
}

// Every part as large as it can be.
TEST(StatPage, HasABoundAndNoMarkupOfRecords) {
    Statistics counts(/*utc=*/true);
    counts.count = 1;
    counts.last = INT32_MAX;
    for (int32_t i = 0; i < 240; ++i)
        for (size_t kind = 0; kind < SEVERITY_CLASSES; ++kind) counts.timeline.add(i * 8900000, kind);
    for (uint32_t id = 0; id < 4096; ++id)
        for (int32_t i = 0; i < 48; ++i) counts.ids[id].timeline.add(i * 40000000, 0);
    for (auto& day : counts.hours) day.fill(1000000000);
    std::vector<StatTable> tables;
    for (int i = 0; i < 9; ++i) {
        const std::string evil = "<script>" + std::string(100, '"') + std::string(5000, '&');
        StatTable table{"id", "Title", {"a", "b", "c"}, {}};
        table.rows.assign(1000, {evil, "18446744073709551615", evil});
        tables.push_back(std::move(table));
    }
    MessageTexts texts;
    const std::string page = make_stat_page(counts, tables, 9, texts, {});
    EXPECT_LE(page.size(), 300u * 1024);
    EXPECT_EQ(page.npos, page.find("<script"));
    EXPECT_EQ(page.npos, page.find("http://"));
}
