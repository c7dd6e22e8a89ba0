#include "primitives/strings/QENStrBuffer.h"

#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

constexpr unsigned LIMIT = 262144;

void add(QENStrBuffer& buffer, const std::string& text) {
    buffer.append(text.data(), text.data() + text.size());
}

TEST(QENStrBuffer, CapacityGrowsByDoublingUpToTheLimit) {
    const struct {
        unsigned start;
        size_t added;
        unsigned capacity;
    } cases[] = {{0, 1, 256},        {0, 255, 256}, {0, 256, 512},         {10, 9, 10},
                 {10, 10, 20},       {10, 50, 80},  {100, 262'143, LIMIT}, {200'000, 200'000, LIMIT},
                 {1 << 30, 1, LIMIT}};
    for (const auto& c : cases) {
        QENStrBuffer buffer(c.start);
        const std::string text(c.added, 'x');
        EXPECT_EQ(1, buffer.append(text.data(), text.data() + text.size()));
        EXPECT_EQ(c.capacity, buffer.capacity()) << c.start << " + " << c.added;
        EXPECT_EQ(c.capacity - c.added - 1, buffer.available());
        EXPECT_EQ(text, buffer.str());
    }
}

TEST(QENStrBuffer, SingleCharactersGrowByFixedSteps) {
    QENStrBuffer buffer(3);
    buffer << 'a' << '\0' << 'b';
    EXPECT_EQ(3u, buffer.capacity());
    buffer << 'c';
    EXPECT_EQ(3u + 256, buffer.capacity());
    EXPECT_STREQ("abc", buffer.str());
    QENStrBuffer none(0);
    none << 'x';
    EXPECT_EQ(256u, none.capacity());
    EXPECT_STREQ("x", none.str());
}

TEST(QENStrBuffer, StreamsTextAndNumbers) {
    QENStrBuffer buffer(0);
    buffer << "n=" << 42 << ',' << INT_MIN << static_cast<const char*>(nullptr) << INT_MAX;
    EXPECT_STREQ("n=42,-21474836482147483647", buffer.str());
    EXPECT_EQ(std::strlen(buffer.str()), buffer.size());
    EXPECT_EQ(buffer.str() + buffer.size(), buffer.end());
}

TEST(QENStrBuffer, BeyondTheLimitNothingIsAddedUntilTheFlagIsCleared) {
    QENStrBuffer buffer(0);
    add(buffer, std::string(LIMIT - 2, 'x'));
    add(buffer, "yz"); // one too many
    EXPECT_FALSE(buffer);
    EXPECT_EQ(LIMIT - 2, buffer.size());
    buffer << "" << 'y' << 1;
    EXPECT_EQ(LIMIT - 2, buffer.size()) << "ignored, though one would fit";
    buffer.clear_flag();
    buffer << 'y';
    EXPECT_TRUE(buffer);
    EXPECT_EQ(LIMIT - 1, buffer.size());
    EXPECT_EQ(LIMIT, buffer.capacity());
    buffer << 'z';
    EXPECT_FALSE(buffer);
    EXPECT_EQ(0, buffer.insert(buffer.str(), 'z', 1));
    EXPECT_EQ(0, buffer.append("z", "z" + 1));
    buffer.reset();
    EXPECT_TRUE(buffer);
    EXPECT_STREQ("", buffer.str());
    EXPECT_EQ(LIMIT, buffer.capacity());
}

TEST(QENStrBuffer, InsertsInPlaceAndWhileGrowing) {
    for (const unsigned capacity : {6u, 100u}) { // grows, fits
        const struct {
            size_t at;
            const char *text, *expect;
        } cases[] = {{0, "123", "123abcde"},
                     {2, "123", "ab123cde"},
                     {5, "123", "abcde123"},
                     {3, "", "abcde"},
                     {1, nullptr, "abcde"}};
        for (const auto& c : cases) {
            QENStrBuffer buffer(capacity);
            buffer << "abcde";
            EXPECT_EQ(1, buffer.insert(buffer.str() + c.at, c.text));
            EXPECT_STREQ(c.expect, buffer.str());
            EXPECT_EQ(std::strlen(c.expect), buffer.size());
        }
        QENStrBuffer buffer(capacity);
        buffer << "abcde";
        EXPECT_EQ(1, buffer.insert(buffer.str() + 1, '-', 4));
        EXPECT_STREQ("a----bcde", buffer.str());
        EXPECT_EQ(1, buffer.insert(buffer.end(), 'x', USHRT_MAX));
        EXPECT_EQ(9u + USHRT_MAX, buffer.size());
    }
}

TEST(QENStrBuffer, TextMayComeFromTheBufferItself) {
    for (const unsigned capacity : {6u, 100u}) {
        QENStrBuffer buffer(capacity);
        buffer << "abcde";
        buffer << buffer.str();
        EXPECT_STREQ("abcdeabcde", buffer.str());
        QENStrBuffer other(capacity);
        other << "abcde";
        other.insert(other.str() + 2, other.str() + 1);
        EXPECT_STREQ("abbcdecde", other.str());
    }
}

TEST(QENStrBufferDeathTest, InsertOutsideTheTextIsAMistake) {
    QENStrBuffer buffer(10);
    buffer << "abc";
    EXPECT_DEATH(buffer.insert(buffer.end() + 1, "x"), "ASSERTION FAILED");
    EXPECT_DEATH(buffer.insert(buffer.str() - 1, 'x', 1), "ASSERTION FAILED");
    EXPECT_DEATH(buffer.insert(nullptr, "x"), "ASSERTION FAILED");
}

TEST(QENStrBuffer, TrimRemovesLineEndsOnly) {
    const struct {
        const char *text, *expect;
        int removed;
    } cases[] = {{"a\r\n", "a", 2}, {"a\f\n\r\n", "a", 4}, {"a \n", "a ", 1},
                 {"\n\n", "", 2},   {"a\nb", "a\nb", 0},   {"", "", 0}};
    for (const auto& c : cases) {
        QENStrBuffer buffer(8);
        buffer << c.text;
        EXPECT_EQ(c.removed, buffer.trim());
        EXPECT_STREQ(c.expect, buffer.str());
        EXPECT_EQ(std::strlen(c.expect), buffer.size());
    }
    QENStrBuffer none(0);
    EXPECT_EQ(0, none.trim());
}

TEST(QENStrBuffer, AttachTakesOverAndDetachHandsBack) {
    const auto owned = [](const char* text, size_t size) {
        char* array = new char[size];
        std::memset(array, 'z', size);
        std::memcpy(array, text, std::strlen(text) + 1);
        return array;
    };
    const struct {
        unsigned size, capacity; // of an array of 10 bytes that holds "abc"
    } cases[] = {{0, 4}, {3, 4}, {4, 4}, {10, 10}};
    for (const auto& c : cases) {
        QENStrBuffer buffer(5);
        char* array = owned("abc", 10);
        EXPECT_EQ(1, buffer.attach(array, c.size));
        EXPECT_EQ(c.capacity, buffer.capacity()) << c.size;
        EXPECT_EQ(c.capacity - 1, buffer.size());
        EXPECT_EQ('\0', *buffer.end());
        const std::unique_ptr<char[]> back(buffer.detach());
        EXPECT_EQ(array, back.get());
        EXPECT_EQ(0u, buffer.capacity());
        EXPECT_EQ(0u, buffer.available());
        buffer << "again";
        EXPECT_STREQ("again", buffer.str());
    }
    QENStrBuffer buffer(5);
    buffer << "old";
    EXPECT_EQ(0, buffer.attach(nullptr, 10));
    char small[] = "x";
    EXPECT_EQ(0, buffer.attach(small, LIMIT + 1));
    EXPECT_STREQ("old", buffer.str());
    EXPECT_EQ(1, buffer.attach(buffer.str(), 5));
    EXPECT_EQ(4u, buffer.size());
}

TEST(QENStrBufferReader, ReadsInPieces) {
    QENStrBuffer buffer(0);
    buffer << "abcdefg";
    QENStrBufferReader reader(buffer);
    const struct {
        size_t n, count;
        const char* text;
    } cases[] = {{4, 3, "abc"}, {1, 0, ""}, {0, 0, "unchanged"}, {3, 2, "de"}, {100, 2, "fg"}, {100, 0, ""}};
    for (const auto& c : cases) {
        char text[100] = "unchanged";
        EXPECT_EQ(c.count, reader.read(text, c.n));
        EXPECT_STREQ(c.text, text);
    }
    EXPECT_EQ(0u, reader.read(nullptr, 10));
    buffer << "hi";
    char text[10];
    EXPECT_EQ(2u, reader.read(text, sizeof text));
    EXPECT_STREQ("hi", text);
    buffer.reset();
    EXPECT_EQ(0u, reader.read(text, sizeof text));
}

} // namespace
