// A buffer beside a string, and the chain of buffers.
#include "network/NetBuffer.h"

#include "support/FailingMalloc.h"
#include "support/Prelude.h"

static std::string text_of(const NetBuffer& buf) {
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
            const int used = static_cast<int>(model.size()), from = dice(used + 1), n = dice(used - from + 1);
            const int rest = used - n;
            if (dice(2) != 0) {
                ASSERT_EQ(n == 0 ? 0 : rest, buf.remove(n));
                model.erase(0, static_cast<size_t>(n));
                if (n != 0) total = std::min(total, rest >= unit ? units(rest) : unit);
            } else {
                const bool own = dice(3) == 0 && used < 1000; // its own bytes
                std::string piece(static_cast<size_t>(dice(dice(3) == 0 ? 400 : 9)), static_cast<char>(step));
                if (own) piece = model.substr(static_cast<size_t>(from), static_cast<size_t>(n));
                model += piece;
                const int size = static_cast<int>(model.size());
                ASSERT_EQ(size, buf.append(own ? buf.getbuffer() + from : piece.data(), size - used));
                if (size > total) total = units(size);
            }
            ASSERT_EQ(model, text_of(buf)) << unit << ", step " << step;
            ASSERT_EQ(total, buf.gettotalsize()) << unit << ", step " << step;
        }
    }
}

TEST(NetBuffer, RefusesHostileSizesAndSaysWhenThereIsNoMemory) {
    NetBufferList list;
    EXPECT_EQ(nullptr, list.tail()->allocate(INT_MIN, &list));
    const int needed = until_memory_suffices([&] { return list.tail()->allocate(129, &list) != nullptr; },
                                             [&] { EXPECT_EQ(1u, list.getcount()); });
    EXPECT_TRUE(needed == 2 || needed == 0) << needed; // the sanitizers bring operators of their own

    NetBuffer buf;
    buf.append("abc", 3);
    EXPECT_EQ(6, buf.append("d", -1) + buf.append(nullptr, 1));
    EXPECT_EQ(128, buf.prepareforappend(INT_MAX)) << "3 + INT_MAX does not fit 32 bits";
    for (const int n : {4, INT_MIN}) EXPECT_EQ(-1, buf.remove(n));
    for (const int size : {129, -1}) buf.setbuffersize(size);
    EXPECT_EQ("abc", text_of(buf));
}

TEST(NetBufferList, ChainsWholeRequestsAndUnlinksAnywhere) {
    NetBufferList list;
    const std::tuple<int32_t, uint32_t, int32_t, int32_t> steps[] = {
        // bytes, buffers then, and room and use of the last one
        {100, 1, 128, 100},
        {28, 1, 128, 128},
        {1, 2, 128, 1},
        {300, 3, 300, 300},
        {5, 4, 300, 5}};
    for (const auto& [n, buffers, total, used] : steps) {
        const char* p = list.tail()->allocate(n, &list);
        const NetBuffer& last = *list.tail();
        EXPECT_EQ(p + n, last.getbuffer() + last.getbuffersize());
        EXPECT_EQ(buffers, list.getcount());
        EXPECT_TRUE(total == last.gettotalsize() && used == last.getbuffersize()) << n;
    }
    for (int i = 0; i < 6; ++i) list.tail()->decbuffersize(&list);
    EXPECT_EQ(3u, list.getcount()) << "an empty buffer goes";
    NetBuffer *const third = list.tail(), middle, last;
    EXPECT_EQ(299, third->getbuffersize());
    list.append_buf(&middle), list.append_buf(&last);
    list.remove_buf(&middle);
    EXPECT_EQ(third->next(), &last);
    list.remove_buf(&last);
    EXPECT_TRUE(list.tail() == third && list.getcount() == 3 && third->next() == nullptr);
}
