#include "primitives/values/CList.h"

#include <deque>

#include "ValuesSupport.h"

// Walks the ring once round: it must be closed and hold exactly these strings, the oldest first.
static void expect_ring(const CList& ring, const std::deque<std::string>& texts) {
    std::deque<std::string> found;
    const CElem* cell = ring.head();
    for (int i = 0; i < ring.count(); ++i, cell = cell->next()) {
        ASSERT_EQ(cell, ring.read(i));
        ASSERT_EQ(cell->next()->prev(), cell);
        if (cell->vtype() == VTYPE_STR) found.push_back(cell->getstr());
    }
    ASSERT_EQ(cell, ring.head());
    ASSERT_EQ(found, texts);
}

TEST(CList, KeepsTheNewestEntriesOldestFirst) {
    for (const unsigned size : {1u, 2u, 7u}) {
        SCOPED_TRACE(size);
        CList ring(size);
        std::deque<std::string> model;
        for (int i = 0; i < 30; ++i) {
            model.push_back("entry " + std::to_string(i));
            if (model.size() > size) model.pop_front();
            EXPECT_EQ(ring.write(heap_str(model.back()))->getstr(), model.back());
            ASSERT_NO_FATAL_FAILURE(expect_ring(ring, model));
        }
    }
}

TEST(CList, PositionsReplaceAddedCellsExtendAndDeletedCellsLeave) {
    CList ring(2);
    char mine[] = "kept by the caller";
    for (const char* s : {"a", "b"}) ring.write(heap_str(s));
    ring.append(); // the ring is full: the new cell is next
    ring.write(heap_str("c"));
    ring.write(heap_str("B"), 1);
    expect_ring(ring, {"a", "B", "c"});
    ring.write(heap_str("C"), 2); // the last cell turns the ring
    expect_ring(ring, {"B", "C", "a"});
    EXPECT_EQ(ring.write(mine, 3), nullptr);
    for (; ring.count() > 1; ring.write(heap_str("never into a cell that has gone"))) delete ring.tail();
    delete ring.head();
    EXPECT_EQ(ring.write(mine), nullptr);
}
