// A buffer beside a string, and the chain of buffers.
#include "network/NetBuffer.h"

#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <tuple>

#include "support/FailingMalloc.h"

namespace {

std::string text_of(const NetBuffer& buf) {
    return {buf.getbuffer(), static_cast<size_t>(buf.getbuffersize())};
}

// A string says what must be in the buffer, and the growth rule how large it must be.
TEST(NetBuffer, BehavesLikeAStringUnderRandomOperations) {
    std::mt19937 random(1);
    const auto dice = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    for (const int unit : {0, 1, 10, 128, 300}) {
        const auto units = [&](int bytes) { return std::max(unit, 1) * (bytes / std::max(unit, 1) + 1); };
        NetBuffer buf(unit);
        std::string model;
        int total = unit;
        for (int step = 0; step < 2000; ++step) {
            SCOPED_TRACE(testing::Message() << unit << ", step " << step);
            const int used = static_cast<int>(model.size()), from = dice(used + 1), n = dice(used - from + 1);
            std::string piece(static_cast<size_t>(dice(3) == 0 ? dice(400) : dice(9)),
                              static_cast<char>(step));
            const bool removes = dice(2) != 0, own = dice(3) == 0 && used < 1000;
            if (removes) {
                ASSERT_EQ(n == 0 ? 0 : used - n, buf.remove(n));
                model.erase(0, static_cast<size_t>(n));
                const int rest = used - n;
                if (n != 0) total = std::min(total, rest >= unit ? units(rest) : unit);
            } else {
                if (own) piece = model.substr(static_cast<size_t>(from), static_cast<size_t>(n));
                model += piece;
                const int size = static_cast<int>(model.size());
                ASSERT_EQ(size, buf.append(own ? buf.getbuffer() + from : piece.data(), size - used));
                if (size > total) total = units(size);
            }
            ASSERT_EQ(model, text_of(buf));
            ASSERT_EQ(total, buf.gettotalsize());
        }
    }
}

TEST(NetBuffer, RefusesHostileSizesAndSaysWhenThereIsNoMemory) {
    NetBufferList list;
    for (const int n : {-1, INT_MIN}) EXPECT_EQ(nullptr, list.tail()->allocate(n, &list));
    EXPECT_EQ(nullptr, list.tail()->allocate(129, nullptr));
    char* room = nullptr;
    const int needed =
        until_memory_suffices([&] { return (room = list.tail()->allocate(129, &list)) != nullptr; },
                              [&] { EXPECT_EQ(1u, list.getcount()); });
    EXPECT_TRUE(needed == 2 || needed == 0) << needed; // the sanitizers bring operators of their own

    NetBuffer buf;
    buf.append("abc", 3);
    EXPECT_EQ(6, buf.append("d", -1) + buf.append(nullptr, 1));
    EXPECT_EQ(128, buf.prepareforappend(INT_MAX)) << "3 + INT_MAX does not fit 32 bits";
    for (const int n : {4, INT_MIN}) EXPECT_EQ(-1, buf.remove(n));
    for (const int size : {129, -1}) buf.setbuffersize(size);
    EXPECT_EQ("abc", text_of(buf));
    EXPECT_EQ(0, NetBuffer(-5).gettotalsize());
    EXPECT_DEATH(buf.append("x", INT_MAX), "ASSERTION FAILED.*expression \\(0\\)");
}

TEST(NetBufferList, ChainsWholeRequests) {
    NetBufferList list;
    const std::tuple<int32_t, uint32_t, int32_t, int32_t> steps[] = {
        // the last two of the last buffer
        {100, 1, 128, 100}, {28, 1, 128, 128}, {0, 1, 128, 128},   {1, 2, 128, 1},
        {300, 3, 300, 300}, {5, 4, 300, 5},    {295, 4, 300, 300}, {1, 5, 300, 1}};
    for (const auto& [n, buffers, total, used] : steps) {
        const char* p = list.tail()->allocate(n, &list);
        const NetBuffer& last = *list.tail();
        EXPECT_EQ(p + n, last.getbuffer() + last.getbuffersize());
        EXPECT_EQ(std::tuple(buffers, total, used),
                  std::tuple(list.getcount(), last.gettotalsize(), last.getbuffersize()));
    }
    list.tail()->decbuffersize(&list); // its only byte
    list.tail()->decbuffersize(&list);
    EXPECT_EQ(4u, list.getcount());
    EXPECT_EQ(299, list.tail()->getbuffersize());
}

TEST(NetBufferList, UnlinksAnywhereAndCountsWithoutLooking) {
    NetBufferList list;
    NetBuffer middle, last, stranger;
    list.append_buf(&middle), list.append_buf(&last);
    list.remove_buf(&middle);
    EXPECT_EQ(list.head()->next(), &last);
    list.remove_buf(&last);
    EXPECT_TRUE(list.head() == list.tail() && list.getcount() == 1 && list.tail()->next() == nullptr);
    list.append_buf(new NetBuffer);
    EXPECT_DEATH((list.remove_buf(&stranger), list.remove_buf(list.tail()), list.remove_buf(list.head())),
                 "ASSERTION FAILED.*_count == 0");
}

} // namespace
