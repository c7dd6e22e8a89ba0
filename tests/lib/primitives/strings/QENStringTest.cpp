#include "primitives/strings/QENString.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

// The sanitizers' malloc() ends the process at a size that it takes for a mistake, unless told to give null.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return __asan_default_options();
}

namespace {

constexpr char CANARY = '~';

// A buffer of `size` bytes with a canary behind it. Exactly as long as it may be, for the address sanitizer.
struct Buffer {
    explicit Buffer(size_t n, const char* text = "") : size(n), bytes(n + 1, CANARY) {
        if (n != 0) std::memcpy(bytes.data(), text, std::min(n, std::strlen(text) + 1));
    }
    ~Buffer() { EXPECT_EQ(CANARY, bytes[size]); }
    char* data() { return bytes.data(); }
    std::string text() const { return size != 0 ? std::string(bytes.data()) : ""; }
    size_t size;
    std::vector<char> bytes;
};

TEST(QENString, CopyAndAppendCutAndReturnTheWantedLength) {
    for (size_t size = 0; size <= 11; ++size) {
        Buffer dst(size, "zz");
        EXPECT_EQ(10u, qenstrlcpy(dst.data(), "0123456789", size));
        EXPECT_EQ(std::string("0123456789").substr(0, size > 0 ? size - 1 : 0), dst.text());
    }
    const struct {
        const char *start, *src;
        size_t size, result;
        const char* text;
    } cases[] = {{"abc", "def", 7, 6, "abcdef"},
                 {"abc", "def", 6, 6, "abcde"},
                 {"abc", "def", 4, 6, "abc"},
                 {"abc", "def", 0, 3, ""}};
    for (const auto& c : cases) {
        Buffer dst(c.size, c.start);
        EXPECT_EQ(c.result, qenstrlcat(dst.data(), c.src, c.size));
        EXPECT_EQ(c.text, dst.text()) << c.size;
    }
    Buffer unterminated(3, "abc");
    EXPECT_EQ(6u, qenstrlcat(unterminated.data(), "def", 3));
}

TEST(QENString, FormattingCutsAndReturnsTheWholeLength) {
    using formatter = int (*)(char*, size_t, const char*, ...);
    for (const formatter format : {formatter{qensnprintf}, formatter{qensnprintf2}}) {
        for (size_t size = 1; size < 8; ++size) {
            Buffer dst(size);
            EXPECT_EQ(5, format(dst.data(), size, "%d", 12345));
            EXPECT_EQ(std::string("12345").substr(0, size - 1), dst.text());
        }
        Buffer none(0);
        EXPECT_EQ(-1, format(none.data(), 0, "%d", 1));
    }
    char own[16] = "abc";
    EXPECT_EQ(7, qensnprintf(own, sizeof own, "<%s>%d", own, 42)); // an argument that lies in the buffer
    EXPECT_STREQ("<abc>42", own);
}

TEST(QENStringDeathTest, MallocFailureIsReportedWithItsPosition) {
    EXPECT_EXIT((void)qenmalloc(PTRDIFF_MAX, "x.cpp", 77), testing::KilledBySignal(SIGABRT),
                "malloc\\(\\) FAILED at file x.cpp, line 77, memory could not be allocated. "
                "QEN engine dumping core deliberately!");
}

TEST(QENString, TokensIncludeEmptyOnes) {
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {",a,,b:", {"", "a", "", "b", ""}}, {"", {""}}, {"abc", {"abc"}}};
    for (auto [text, expect] : cases) {
        char* rest = text.data();
        std::vector<std::string> tokens;
        while (const char* token = qenstrtok(&rest, ",:")) tokens.push_back(token);
        EXPECT_EQ(expect, tokens);
    }
}

TEST(QENString, PercentSignsAreDoubledWhole) {
    const struct {
        const char* src;
        size_t size;
        int result;
        const char* text;
    } cases[] = {{"50%", 4, 0, "50"},  {"50%", 5, 0, "50%%"},   {"12345", 4, -1, "123"},
                 {"123", 4, 0, "123"}, {"50%x", 5, -1, "50%%"}, {"50%x", 4, 0, "50"},
                 {"a", 1, -1, ""},     {"%", 1, 0, ""},         {"%n%s", 7, 0, "%%n%%s"}};
    for (const auto& c : cases) {
        Buffer dst(c.size);
        EXPECT_EQ(c.result, qenescfmt(dst.data(), c.src, c.size)) << c.src << " " << c.size;
        EXPECT_EQ(c.text, dst.text()) << c.src << " " << c.size;
    }
    char one;
    EXPECT_EQ(1, qenescfmt(&one, "a", 0));
}

TEST(QENString, EscapesGoOnlyBeforeWholeReferences) {
    const std::pair<const char*, const char*> cases[] = {{"a^@{b", "a^@{b"},         {"}^@{b", "}^@{b"},
                                                         {"^@x}", "^@x}"},           {"^^@{x}", "^@{x}"},
                                                         {"^@{a}^@{b}", "@{a}@{b}"}, {"^@{^@{}", "@{@{}"}};
    for (const auto& [src, text] : cases)
        EXPECT_STREQ(text, std::unique_ptr<char[]>(eat_escape_character(src)).get()) << src;
}

TEST(QENString, UpperCaseIsOfAsciiLettersOnly) {
    EXPECT_STREQ("@AZ[`AZ{\xE4", std::unique_ptr<char[]>(qenstrtoupper("@AZ[`az{\xE4")).get());
}

} // namespace
