#include "primitives/values/CList.h"

#include <deque>

#include "ValuesSupport.h"

namespace {

using testing::ElementsAre;

std::vector<std::string> filled(const CList& ring) {
    std::vector<std::string> out;
    for (int i = 0; i < ring.count(); ++i) {
        const CElem* cell = ring.read(i);
        if (cell->vtype() == VTYPE_STR) out.push_back(cell->getstr());
    }
    return out;
}

void expect_closed(const CList& ring) {
    const CElem* cell = ring.head();
    for (int i = 0; i < ring.count(); ++i, cell = cell->next()) {
        ASSERT_EQ(cell, ring.read(i));
        ASSERT_EQ(cell->next()->prev(), cell);
        ASSERT_EQ(cell->clist(), &ring);
    }
    ASSERT_EQ(cell, ring.head());
    ASSERT_EQ(ring.head()->prev(), ring.tail());
}

TEST(CList, KeepsTheNewestEntriesOldestFirst) {
    for (const unsigned size : {1u, 2u, 3u, 7u}) {
        SCOPED_TRACE(size);
        CList ring(size);
        std::deque<std::string> model;
        for (int i = 0; i < 30; ++i) {
            const std::string text = "entry " + std::to_string(i);
            const CElem* written = ring.write(heap_str(text));
            model.push_back(text);
            if (model.size() > size) model.pop_front();
            EXPECT_EQ(filled(ring), std::vector<std::string>(model.begin(), model.end()));
            EXPECT_EQ(written->getstr(), text);
            if (model.size() == size) {
                EXPECT_EQ(written, ring.tail());
            }
            ASSERT_NO_FATAL_FAILURE(expect_closed(ring));
        }
        for (const int i : {-1, static_cast<int>(size)}) EXPECT_EQ(ring.read(i), nullptr);
    }
}

TEST(CList, WriteAtPositionReplacesAndAtTheTailTurnsTheRing) {
    CList ring(3);
    for (const char* s : {"a", "b", "c"}) ring.write(heap_str(s));
    ring.write(heap_str("B"), 1);
    EXPECT_THAT(filled(ring), ElementsAre("a", "B", "c"));
    ring.write(heap_str("C"), 2);
    EXPECT_THAT(filled(ring), ElementsAre("B", "C", "a"));
    char* mine = heap_str("mine");
    EXPECT_EQ(ring.write(mine, 3), nullptr);
    EXPECT_EQ(ring.write(mine, -1), nullptr);
    delete[] mine;
}

TEST(CList, RingWithoutCellsTakesNothingUntilOneIsAdded) {
    CList ring(0);
    char text[] = "kept by the caller";
    EXPECT_EQ(ring.write(text), nullptr);
    EXPECT_EQ(ring.write(text, 0), nullptr);
    EXPECT_EQ(ring.head(), nullptr);
    CElem* cell = ring.insert();
    EXPECT_EQ(ring.write(heap_str("x")), cell);
    expect_closed(ring);
}

TEST(CList, AddedCellsExtendAndDeletedCellsLeaveTheRing) {
    CList ring(2);
    for (const char* s : {"a", "b"}) ring.write(heap_str(s));
    ring.append(); // full: the new cell is next
    for (const char* s : {"c", "d"}) ring.write(heap_str(s));
    EXPECT_THAT(filled(ring), ElementsAre("b", "c", "d"));
    ring.head()->insert()->append();
    EXPECT_EQ(ring.count(), 5);
    expect_closed(ring);
    while (ring.count() > 1) {
        delete ring.tail();
        ASSERT_NO_FATAL_FAILURE(expect_closed(ring));
        ASSERT_NE(ring.write(heap_str("again")), nullptr); // never into a cell that has gone
    }
    delete ring.head();
    EXPECT_EQ(ring.head(), nullptr);
    EXPECT_EQ(ring.count(), 0);
    CElem alone;
    EXPECT_DEATH(alone.append(), "_dlink.dlist\\(\\) != NULL");
}

} // namespace
