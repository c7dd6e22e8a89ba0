// A string buffer beside a string that says what must come out.
#include "primitives/strings/QENStrBuffer.h"
#include "support/Prelude.h"

static constexpr unsigned LIMIT = 262144;

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
        QENStrBufferReader reader(buffer);
        std::string read;
        char piece[8];
        while (const auto n = reader.read(piece, capacity % 7 + 2)) read.append(piece, n);
        EXPECT_EQ(model, read);
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
    EXPECT_EQ(0, buffer.insert(buffer.str(), 'z', 1));
    EXPECT_FALSE(buffer);
    EXPECT_DEATH(buffer.insert(buffer.end() + 1, "x"), "ASSERTION FAILED");
}

TEST(QENStrBuffer, AttachTakesOverAndDetachHandsBack) {
    for (const unsigned size : {0u, 3u, 4u, 10u}) { // told of an array of 10 bytes that holds "abc"
        QENStrBuffer buffer(5);
        char* array = new char[10]{"abc"};
        EXPECT_EQ(1, buffer.attach(array, size));
        EXPECT_EQ(size == 10 ? 10u : 4u, buffer.capacity()) << size;
        EXPECT_EQ(buffer.capacity() - 1, buffer.size());
        EXPECT_EQ(0, buffer.attach(array, LIMIT + 1));
        EXPECT_EQ(array, buffer.detach());
        delete[] array;
        buffer << "again";
        EXPECT_STREQ("again", buffer.str());
    }
}
