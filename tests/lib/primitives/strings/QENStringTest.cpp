// Bounded copying, formatting, tokens and escapes.
#include "primitives/strings/QENString.h"
#include "support/Prelude.h"

namespace {

// A buffer of exactly `size` bytes, for the address sanitizer, with a canary behind it.
struct Buffer {
    explicit Buffer(size_t n, const std::string& text = "") : size(n), bytes(text) {
        bytes.resize(n), bytes += '~';
    }
    ~Buffer() { EXPECT_EQ('~', bytes[size]); }
    char* data() { return bytes.data(); }
    std::string text() const { return bytes.substr(0, strnlen(bytes.data(), size)); }
    size_t size;
    std::string bytes;
};

TEST(QENString, CopyAppendAndFormatCutAndReturnTheWantedLength) {
    for (size_t size = 0; size <= 11; ++size) {
        Buffer copied(size, "zz"), appended(size + 3, "abc"), formatted(size), in_place(size);
        const std::string cut = std::string("0123456789").substr(0, size > 0 ? size - 1 : 0);
        EXPECT_EQ(10u, qenstrlcpy(copied.data(), "0123456789", size));
        EXPECT_EQ(cut, copied.text());
        EXPECT_EQ(13u, qenstrlcat(appended.data(), "0123456789", size + 3));
        EXPECT_EQ("abc" + cut, appended.text());
        EXPECT_EQ(size > 0 ? 10 : -1, qensnprintf(formatted.data(), size, "%s", "0123456789"));
        EXPECT_EQ(size > 0 ? 10 : -1, qensnprintf2(in_place.data(), size, "%s", "0123456789"));
        EXPECT_EQ(cut + cut, formatted.text() + in_place.text());
    }
    char own[16] = "abc";
    EXPECT_EQ(7, qensnprintf(own, sizeof own, "<%s>%d", own, 42)); // an argument that lies in the buffer
    EXPECT_STREQ("<abc>42", own);
}

TEST(QENString, TokensIncludeEmptyOnes) {
    std::string text = ",a,,b:";
    char* rest = text.data();
    std::vector<std::string> tokens;
    while (const char* token = qenstrtok(&rest, ",:")) tokens.push_back(token);
    EXPECT_EQ((std::vector<std::string>{"", "a", "", "b", ""}), tokens);
}

TEST(QENString, PercentSignsAreDoubledWhole) {
    const struct {
        const char* src;
        size_t size;
        int result;
        const char* text;
    } cases[] = {{"50%", 4, 0, "50"}, {"50%", 5, 0, "50%%"}, {"12345", 4, -1, "123"}, {"a", 1, -1, ""}};
    for (const auto& c : cases) {
        Buffer dst(c.size);
        EXPECT_EQ(c.result, qenescfmt(dst.data(), c.src, c.size)) << c.src << " " << c.size;
        EXPECT_EQ(c.text, dst.text()) << c.src << " " << c.size;
    }
    EXPECT_EQ(1, qenescfmt(Buffer(1).data(), "a", 0));
}

TEST(QENString, EscapesGoOnlyBeforeWholeReferencesAndLettersAreAscii) {
    const std::pair<const char*, const char*> cases[] = {{"a^@{b", "a^@{b"},
                                                         {"}^@{b", "}^@{b"},
                                                         {"^@x}", "^@x}"},
                                                         {"^^@{x}", "^@{x}"},
                                                         {"^@{a}^@{b}", "@{a}@{b}"}};
    for (const auto& [src, text] : cases)
        EXPECT_STREQ(text, std::unique_ptr<char[]>(eat_escape_character(src)).get()) << src;
    EXPECT_STREQ("@AZ[`AZ{\xE4", std::unique_ptr<char[]>(qenstrtoupper("@AZ[`az{\xE4")).get());
}

} // namespace
