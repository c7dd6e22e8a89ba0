// A string buffer beside a string that says what must come out.
#include "primitives/strings/QENStrBuffer.h"

#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>

namespace {

constexpr unsigned LIMIT = 262144;

TEST(QENStrBuffer, CapacityGrowsByDoublingUpToTheLimit) {
    const struct {
        unsigned start;
        size_t added;
        unsigned capacity;
    } cases[] = {{0, 255, 256}, {0, 256, 512}, {10, 9, 10}, {10, 10, 20}, {10, 50, 80}, {1 << 30, 1, LIMIT}};
    for (const auto& c : cases) {
        QENStrBuffer buffer(c.start);
        const std::string text(c.added, 'x');
        EXPECT_EQ(1, buffer.append(text.data(), text.data() + text.size()));
        EXPECT_EQ(c.capacity, buffer.capacity()) << c.start << " + " << c.added;
    }
    QENStrBuffer buffer(3); // single characters grow it by fixed steps
    buffer << 'a' << '\0' << 'b' << 'c';
    EXPECT_EQ(3u + 256, buffer.capacity());
    EXPECT_STREQ("abc", buffer.str());
}

// Every way of adding; the text may be the buffer's own.
TEST(QENStrBuffer, BehavesLikeAStringUnderRandomOperations) {
    std::mt19937 random(1);
    for (unsigned capacity = 1; capacity < 60; ++capacity) {
        SCOPED_TRACE(capacity);
        QENStrBuffer buffer(capacity);
        std::string model;
        for (int step = 0; step < 30; ++step) {
            const size_t at = random() % (model.size() + 1), from = random() % (model.size() + 1);
            const std::string own = model.substr(from);
            const int number = static_cast<int>(random());
            switch (random() % 7) {
            case 0: buffer << number, model += std::to_string(number); break;
            case 1: buffer << INT_MIN << static_cast<const char*>(nullptr), model += "-2147483648"; break;
            case 2: buffer << 'c', model += 'c'; break;
            case 3: buffer.insert(buffer.str() + at, '-', 4), model.insert(at, "----"); break;
            case 4: buffer.insert(buffer.str() + at, "123"), model.insert(at, "123"); break;
            case 5:
                if (own.size() < 40)
                    buffer.insert(buffer.str() + at, buffer.str() + from), model.insert(at, own);
                break;
            case 6: EXPECT_EQ(3, (buffer << "\r\n\f").trim()); break;
            }
            ASSERT_EQ(model, buffer.str());
            ASSERT_EQ(model.size(), buffer.size());
            ASSERT_EQ(buffer.capacity() - model.size() - 1, buffer.available());
        }
    }
}

TEST(QENStrBuffer, BeyondTheLimitNothingIsAddedUntilTheFlagIsCleared) {
    QENStrBuffer buffer(0);
    const std::string most(LIMIT - 2, 'x');
    buffer << most.c_str() << "yz"; // one too many
    EXPECT_FALSE(buffer);
    buffer << "" << 'y' << 1;
    EXPECT_EQ(most, buffer.str()) << "ignored, though one would fit";
    buffer.clear_flag();
    buffer << 'y';
    EXPECT_TRUE(buffer);
    EXPECT_EQ(LIMIT - 1, buffer.size());
    buffer << 'z';
    EXPECT_FALSE(buffer);
    EXPECT_EQ(0, buffer.insert(buffer.str(), 'z', 1));
    buffer.reset();
    EXPECT_TRUE(buffer);
    EXPECT_DEATH(buffer.insert(buffer.end() + 1, "x"), "ASSERTION FAILED");
    EXPECT_DEATH(buffer.insert(buffer.str() - 1, 'x', 1), "ASSERTION FAILED");
}

TEST(QENStrBuffer, AttachTakesOverAndDetachHandsBack) {
    for (const unsigned size : {0u, 3u, 4u, 10u}) { // told of an array of 10 bytes that holds "abc"
        QENStrBuffer buffer(5);
        char* array = new char[10]{"abc"};
        EXPECT_EQ(1, buffer.attach(array, size));
        EXPECT_EQ(size == 10 ? 10u : 4u, buffer.capacity()) << size;
        EXPECT_EQ(buffer.capacity() - 1, buffer.size());
        EXPECT_EQ(1, buffer.attach(buffer.str(), 3)) << "its own";
        EXPECT_EQ(0, buffer.attach(array, LIMIT + 1));
        EXPECT_EQ(0, buffer.attach(nullptr, 10));
        EXPECT_EQ(array, buffer.detach());
        delete[] array;
        buffer << "again";
        EXPECT_STREQ("again", buffer.str());
    }
}

TEST(QENStrBufferReader, ReadsInPieces) {
    QENStrBuffer buffer(0);
    buffer << "abcdefg";
    QENStrBufferReader reader(buffer);
    const std::pair<size_t, const char*> cases[] = {
        {4, "abc"}, {1, ""}, {0, "unchanged"}, {3, "de"}, {100, "fg"}};
    char text[100];
    for (const auto& [n, expect] : cases) {
        std::strcpy(text, "unchanged");
        EXPECT_EQ(n == 0 ? 0 : std::strlen(expect), reader.read(text, n));
        EXPECT_STREQ(expect, text);
    }
    buffer.reset(); // shorter than what was read
    EXPECT_EQ(0u, reader.read(text, sizeof text));
}

} // namespace
