#include "network/NetBuffer.h"

#include <climits>
#include <numeric>
#include <string>

#include <gtest/gtest.h>

namespace {

std::string text_of(const NetBuffer& buf) {
    return {buf.getbuffer(), static_cast<size_t>(buf.getbuffersize())};
}

// Text in which every position tells itself apart from its neighbours.
std::string pattern(int n) {
    std::string s(static_cast<size_t>(n), '\0');
    std::iota(s.begin(), s.end(), 'a');
    return s;
}

TEST(NetBuffer, AllocateChainsWholeRequests) {
    NetBufferList list;
    struct {
        int32_t n;
        uint32_t buffers;
        int32_t total, used; // of the last buffer
    } steps[] = {
        {100, 1, 128, 100}, {28, 1, 128, 128},  {0, 1, 128, 128}, {1, 2, 128, 1},        {300, 3, 300, 300},
        {5, 4, 300, 5},     {295, 4, 300, 300}, {1, 5, 300, 1},   {1000, 6, 1000, 1000},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.n);
        char* p = list.tail()->allocate(step.n, &list);
        EXPECT_EQ(p + step.n, list.tail()->getbuffer() + list.tail()->getbuffersize());
        EXPECT_EQ(step.buffers, list.getcount());
        EXPECT_EQ(step.total, list.tail()->gettotalsize());
        EXPECT_EQ(step.used, list.tail()->getbuffersize());
    }
}

TEST(NetBuffer, HostileSizesAreRefused) {
    NetBufferList list;
    EXPECT_EQ(nullptr, list.tail()->allocate(-1, &list));
    EXPECT_EQ(nullptr, list.tail()->allocate(INT_MIN, &list));
    EXPECT_EQ(nullptr, list.tail()->allocate(129, nullptr));
    EXPECT_EQ(1u, list.getcount());

    NetBuffer buf;
    buf.append("abc", 3);
    EXPECT_EQ(3, buf.append("d", -1));
    EXPECT_EQ(3, buf.append(nullptr, 1));
    EXPECT_EQ(128, buf.prepareforappend(INT_MAX)) << "3 + INT_MAX does not fit 32 bits";
    EXPECT_EQ(-1, buf.remove(4));
    EXPECT_EQ(-1, buf.remove(INT_MIN));
    buf.setbuffersize(129);
    buf.setbuffersize(-1);
    EXPECT_EQ("abc", text_of(buf));
    EXPECT_EQ(0, NetBuffer(-5).gettotalsize());
    EXPECT_DEATH(buf.append("x", INT_MAX), "ASSERTION FAILED.*expression \\(0\\)");
}

TEST(NetBuffer, AppendGrowsInWholeUnitsAndKeepsTheBytes) {
    struct {
        int32_t unit, first, second, total;
    } cases[] = {{128, 0, 128, 128}, {128, 0, 129, 256}, {128, 100, 100, 256}, {128, 0, 200, 256},
                 {300, 0, 300, 300}, {300, 1, 300, 600}, {10, 10, 1, 20},      {0, 0, 7, 8}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.unit << ": " << c.first << " + " << c.second);
        NetBuffer buf(c.unit);
        const std::string text = pattern(c.first + c.second);
        buf.append(text.data(), c.first);
        EXPECT_EQ(c.first + c.second, buf.append(text.data() + c.first, c.second));
        EXPECT_EQ(c.total, buf.gettotalsize());
        EXPECT_EQ(text, text_of(buf));
    }
}

TEST(NetBuffer, RemoveKeepsTheRestInTheSizeItNeeds) {
    struct {
        int32_t unit, used, n, result, total;
    } cases[] = {{128, 300, 0, 0, 384},     {128, 300, 1, 299, 384},   {128, 300, 100, 200, 256},
                 {128, 300, 173, 127, 128}, {128, 300, 172, 128, 256}, {128, 300, 300, 0, 128},
                 {128, 100, 40, 60, 128},   {10, 10, 5, 5, 10},        {0, 9, 4, 5, 6}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.used << " - " << c.n);
        NetBuffer buf(c.unit);
        const std::string text = pattern(c.used);
        buf.append(text.data(), c.used);
        EXPECT_EQ(c.result, buf.remove(c.n));
        EXPECT_EQ(c.total, buf.gettotalsize());
        EXPECT_EQ(text.substr(static_cast<size_t>(c.n)), text_of(buf));
    }
}

TEST(NetBufferList, LosesABufferWithItsLastByte) {
    NetBufferList list;
    list.tail()->allocate(128, &list);
    list.tail()->allocate(2, &list);
    NetBuffer* second = list.tail();
    second->decbuffersize(&list);
    EXPECT_EQ(2u, list.getcount());
    second->decbuffersize(&list);
    EXPECT_EQ(1u, list.getcount());
    EXPECT_EQ(list.head(), list.tail());
    EXPECT_EQ(nullptr, list.head()->next());
    EXPECT_EQ(128, list.head()->getbuffersize());
}

TEST(NetBufferList, UnlinksAnywhereAndCountsWithoutLooking) {
    NetBufferList list;
    for (int i = 0; i < 3; ++i) list.append_buf(new NetBuffer);
    NetBuffer* middle = list.head()->next();
    list.remove_buf(middle);
    delete middle;
    NetBuffer* last = list.tail();
    list.remove_buf(last);
    delete last;
    EXPECT_EQ(2u, list.getcount());
    EXPECT_EQ(list.head()->next(), list.tail());
    NetBuffer stranger;
    EXPECT_DEATH(
        {
            list.remove_buf(&stranger);
            NetBuffer* tail = list.tail();
            list.remove_buf(tail);
            list.remove_buf(list.head());
        },
        "ASSERTION FAILED.*_count == 0");
}

} // namespace
