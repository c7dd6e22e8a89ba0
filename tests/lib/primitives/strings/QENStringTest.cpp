// Bounded copying, formatting, tokens and escapes.
#include "primitives/strings/QENString.h"
#include "support/Prelude.h"

// A buffer of exactly `size` bytes, for the address sanitizer, with a canary behind it.
struct Buffer {
    explicit Buffer(size_t n, const std::string& text = "") : size(n), bytes(text) {
        bytes.resize(n), bytes += '~';
    }
    ~Buffer() { EXPECT_EQ('~', bytes[size]); }
    operator char*() { return bytes.data(); }
    std::string text() const { return bytes.substr(0, strnlen(bytes.data(), size)); }
    size_t size;
    std::string bytes;
};

TEST(QENString, CopyAppendAndFormatCutAndReturnTheWantedLength) {
    for (size_t size = 0; size <= 11; ++size) {
        Buffer copied(size, "zz"), appended(size + 3, "abc"), formatted(size), in_place(size);
        const std::string cut = std::string("0123456789").substr(0, size > 0 ? size - 1 : 0);
        EXPECT_EQ(10u, qenstrlcpy(copied, "0123456789", size));
        EXPECT_EQ(cut, copied.text());
        EXPECT_EQ(13u, qenstrlcat(appended, "0123456789", size + 3));
        EXPECT_EQ("abc" + cut, appended.text());
        EXPECT_EQ(size > 0 ? 10 : -1, qensnprintf(formatted, size, "%s", "0123456789"));
        EXPECT_EQ(size > 0 ? 10 : -1, qensnprintf2(in_place, size, "%s", "0123456789"));
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
    const std::tuple<const char*, size_t, int, const char*> cases[] = {
        {"50%", 4, 0, "50"}, {"50%", 5, 0, "50%%"}, {"12345", 4, -1, "123"}, {"a", 1, -1, ""}};
    for (const auto& [src, size, result, text] : cases) {
        Buffer dst(size);
        EXPECT_EQ(result, qenescfmt(dst, src, size)) << src << " " << size;
        EXPECT_EQ(text, dst.text()) << src << " " << size;
    }
    EXPECT_EQ(1, qenescfmt(Buffer(1), "a", 0));
}

TEST(QENString, EscapesGoOnlyBeforeWholeReferencesAndLettersAreAscii) {
    const std::pair<const char*, const char*> cases[] = {// a text, and what is left of it
                                                         {"a^@{b", "a^@{b"},
                                                         {"}^@{b", "}^@{b"},
                                                         {"^@x}", "^@x}"},
                                                         {"^^@{x}", "^@{x}"},
                                                         {"^@{a}^@{b}", "@{a}@{b}"}};
    for (const auto& [src, text] : cases)
        EXPECT_STREQ(text, std::unique_ptr<char[]>(eat_escape_character(src)).get()) << src;
    EXPECT_STREQ("@AZ[`AZ{\xE4", std::unique_ptr<char[]>(qenstrtoupper("@AZ[`az{\xE4")).get());
}
