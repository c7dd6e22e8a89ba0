// Messages of generated headers are logged as message sites log them, in their lines and in their records.
#include "primitives/log/CatalogMessage.h"
#include "LogFixture.h"
#include "primitives/ldf/ResultText.h"
#include "primitives/log/LogResult.h"
#include "primitives/log/MessageSite.h"

#include <limits>

namespace {

inline constexpr struct none_t : CatalogMessage<300, 1, 0> {
    static constexpr char text[] = "100%% done";
} none;
inline constexpr struct three_t : CatalogMessage<300, 2, 3> {
    static constexpr char text[] = "%s%%s %s: %s";
} three;
inline constexpr struct turned_t : CatalogMessage<300, 3, 2> {
    static constexpr char text[] = "%2$s before %1$s";
} turned;
enum Colour : short { RED = 7 };

class CatalogMessageTest : public LogFixture {};

TEST_F(CatalogMessageTest, IsLoggedAsAMessageSiteLogsIt) {
    const std::string text = "text", null_inside("a\0b", 3);
    char buffer[] = "buffer";
    using Most = std::numeric_limits<long long>;
    for (int attempt = 0;; ++attempt) { // until both logs have the same second
        const std::string names[] = {"r" + std::to_string(attempt), "m" + std::to_string(attempt)};
        const auto reported = opened(names[0]), written = opened(names[1]);
        Log* const r = reported.get();
        Log* const m = written.get();
        const time_t start = time(nullptr);
        // Both stand on one line, whose number is part of the record.
        // clang-format off
        QEN_REPORT(r, SEV_NOTE, 0, none); QEN_MESSAGE(m, SEV_NOTE, 0, 300, 1, "100%% done");
        QEN_REPORT(r, SEV_ERR, 3 << 8, three, text, 'c', -1); QEN_MESSAGE(m, SEV_ERR, 3 << 8, 300, 2, "%s%%s %c: %d", "text", 'c', -1);
        QEN_REPORT(r, SEV_INFO, 0, three, Most::min(), ~0ull, buffer); QEN_MESSAGE(m, SEV_INFO, 0, 300, 2, "%lld%%s %llu: %s", Most::min(), ~0ull, buffer);
        QEN_REPORT(r, SEV_INFO, 0, three, RED, true, 0.5f); QEN_MESSAGE(m, SEV_INFO, 0, 300, 2, "%d%%s %d: %g", RED, true, 0.5);
        QEN_REPORT(r, SEV_INFO, 0, three, ~0u, -1L, ~0ul); QEN_MESSAGE(m, SEV_INFO, 0, 300, 2, "%u%%s %ld: %lu", ~0u, -1L, ~0ul);
        QEN_REPORT(r, SEV_INFO, 0, turned, static_cast<unsigned char>(200), "second"); QEN_MESSAGE(m, SEV_INFO, 0, 300, 3, "%2$s before %1$d", 200, "second");
        QEN_REPORT(r, SEV_INFO, 0, turned, null_inside, ""); QEN_MESSAGE(m, SEV_INFO, 0, 300, 3, "%2$s before %1$s", "a", "");
        // clang-format on
        if (time(nullptr) != start) continue;
        EXPECT_EQ(body(names[1] + "_A.log"), body(names[0] + "_A.log"));
        EXPECT_EQ(records(names[1]), records(names[0]));
        EXPECT_EQ(7, std::ranges::count(body(names[0] + "_A.log"), '\n'));
        return;
    }
}

// A service that cannot log tells its administrator what to make.
TEST_F(CatalogMessageTest, ResultsHaveWords) {
    setenv("TAQ_LOG", "/no/such", 1);
    setenv("TAQ_LDF", "/nor this", 1);
    Log log;
    const int result = log.open("r", nullptr, 0, nullptr);
    EXPECT_STREQ("there is no folder /no/such (TAQ_LOG sets another one)", ulog_result_text(result));
    EXPECT_STREQ("there is no folder /nor this (TAQ_LDF sets another one)", ldf_result_text(LDF_EROOT));
    EXPECT_STREQ("Log::init was not called", ulog_result_text(ULOG_ENOINIT));
    EXPECT_STREQ("there are no more records", ldf_result_text(LDF_EEND));
    EXPECT_STREQ("unknown result", ulog_result_text(-1));
    unsetenv("TAQ_LOG");
    EXPECT_STREQ("there is no folder /var/taqsvc (TAQ_LOG sets another one)", ulog_result_text(ULOG_EROOT));
}

} // namespace
