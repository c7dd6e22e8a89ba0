#include "primitives/values/VList.h"

#include "ValuesSupport.h"

namespace {

using testing::ElementsAre;

TEST(VList, ElementsAreFoundByPositionAndByText) {
    VList list, nested;
    nested.append("abc", 1);
    EXPECT_EQ(list.inquire(0), nullptr);
    list.append(&nested, 1);
    VElem* upper = list.append("ABC", 1);
    VElem* lower = list.append("abc", 1);
    list.insert(0);
    EXPECT_EQ(list.inquire(0), list.head());
    EXPECT_EQ(list.inquire(2), upper);
    EXPECT_EQ(list.inquire(3), list.tail());
    for (const int i : {-1, 4, INT32_MIN, INT32_MAX}) EXPECT_EQ(list.inquire(i), nullptr);
    EXPECT_EQ(list.inquire_str("abc", false), upper);
    EXPECT_EQ(list.inquire_str("abc", true), lower);
    EXPECT_EQ(list.inquire_str("ab", false), nullptr);
    EXPECT_DEATH(list.inquire_str(nullptr, false), "name != NULL");
}

TEST(VList, ElementsCanBeAddedAroundAndDeletedFromTheirNeighbours) {
    VList list;
    VElem* b = list.append(heap_str("b"), 0);
    b->append("c", 1)->append("d", 1);
    b->insert("a", 1);
    EXPECT_THAT(strings_of(list), ElementsAre("a", "b", "c", "d"));
    delete b;
    EXPECT_THAT(strings_of(list), ElementsAre("a", "c", "d"));
    delete list.head();
    delete list.tail();
    EXPECT_EQ(list.head(), list.tail());
    EXPECT_EQ(taken(list.collapse()), "c");
    delete list.head();
    EXPECT_EQ(list.count(), 0);
    EXPECT_EQ(list.tail(), nullptr);
    VElem alone("x", 1);
    EXPECT_DEATH(alone.append(1), "_dlink.dlist\\(\\) != NULL");
}

TEST(VList, OneElementIsOneBlock) {
    const int elems = taq_mem.count(MEM_VELEM), links = taq_mem.count(MEM_DLINK),
              cells = taq_mem.count(MEM_VALUEELEM);
    {
        VList list;
        list.append_copy("abcdef", 3);
        list.append("x", 1);
        EXPECT_STREQ(list.head()->getstr(), "abc");
        EXPECT_EQ(taq_mem.count(MEM_VELEM), elems + 2);
        EXPECT_EQ(taq_mem.count(MEM_DLINK), links);
        EXPECT_EQ(taq_mem.count(MEM_VALUEELEM), cells);
    }
    EXPECT_EQ(taq_mem.count(MEM_VELEM), elems);
}

TEST(VList, CompareSkipsLeadingPositions) {
    VList a, b, shorter;
    a.append("x", 1), a.append(1), a.append("Same", 1);
    b.append("y", 1), b.append(2), b.append("same", 1);
    shorter.append("x", 1);
    EXPECT_EQ(a.compare(&b, 0, false), 0);
    EXPECT_EQ(a.compare(&b, 1, false), 0);
    EXPECT_EQ(a.compare(&b, 2, false), 1);
    EXPECT_EQ(a.compare(&b, 2, true), 0);
    EXPECT_EQ(a.compare(&b, 3, true), 1);
    EXPECT_EQ(a.compare(&shorter, 1, false), 0);
    EXPECT_EQ(VList().compare(&a, 0, false), 0);
    const VList empty, empty_too;
    EXPECT_EQ(empty.compare(&empty_too, 0, true), 1);
    EXPECT_DEATH(shorter.compare(&a, 2, false), "count\\(\\) >= skip");
}

TEST(VList, DeepDupOwnsCopiesAllTheWayDown) {
    VList* inner = new VList;
    inner->append("x", 1);
    VList list;
    list.append(inner, 0);
    list.append(5);
    const std::unique_ptr<VList> copy(list.deep_dup());
    EXPECT_EQ(copy->compare(&list, 0, true), 1);
    EXPECT_NE(copy->head()->getvlist(), inner);
    EXPECT_EQ(copy->head()->ref(), 0);
    const std::unique_ptr<VList> none(VList().deep_dup());
    EXPECT_EQ(none->count(), 0);
}

TEST(VList, ConcatFillsStringsOf255Characters) {
    VList list;
    list.append("not packed", 1);
    std::string expected = "not packed";
    // Lengths around the edges of a packed string, the first ones as one row of a hand-made example.
    for (const size_t len : {600u, 10u, 0u, 155u, 1u, 254u, 255u, 256u, 1u}) {
        const std::string piece(len, static_cast<char>('a' + len % 26));
        list.concat(piece.c_str());
        expected += piece;
        if (len == 600u) {
            ASSERT_EQ(list.count(), 4);
            EXPECT_EQ(strlen(list.inquire(1)->getstr()), 255u);
            EXPECT_EQ(strlen(list.tail()->getstr()), 90u);
            EXPECT_EQ(list.tail()->bal(), 165);
        }
        if (len == 10u) {
            EXPECT_EQ(strlen(list.tail()->getstr()), 100u);
        }
        EXPECT_EQ(taken(list.collapse()), expected);
    }
    EXPECT_STREQ(list.head()->getstr(), "not packed");
    EXPECT_EQ(list.count(), 1 + (1532 + 254) / 255);
    list.concat(nullptr);
    EXPECT_EQ(taken(list.collapse()), expected);
}

TEST(VList, RenderingsCutAtTheirBuffer) {
    VList list;
    list.append("x", 1), list.append(5), list.append(short{9}), list.append("USERNAMES", 1),
        list.append("y", 1);
    EXPECT_EQ(taken(list.converttoString(1)), " x  5  USERNAMES ");
    EXPECT_EQ(taken(list.converttoString(0)), " x  5  USERNAMES  y ");
    EXPECT_EQ(taken(list.convertStrListToStr()), "(null)");

    const struct {
        const char* name;
        size_t first, second;           // string lengths
        size_t spaced, joined_or_first; // lengths of the two renderings
    } cases[] = {
        {"both fit", 2000, 2000, 4004, 4001},         {"second just fits", 2000, 2092, 4095, 4093},
        {"joined full", 2000, 2093, 4095, 4094},      {"joined one over", 2000, 2094, 4095, 2000},
        {"spaced one over", 2000, 2095, 2002, 2000},  {"first fills", 4094, 1, 4095, 4094},
        {"first too long to join", 4096, 1, 4095, 0}, {"first too long", 4097, 0, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        VList two;
        two.append(heap_str(std::string(c.first, 'a')), 0);
        two.append(heap_str(std::string(c.second, 'b')), 0);
        EXPECT_EQ(taken(two.converttoString(0)).size(), c.spaced);
        EXPECT_EQ(taken(two.convertStrListToStr()).size(), c.joined_or_first);
    }
    VList numbers; // 4090 characters, then a number longer than what is left
    numbers.append(heap_str(std::string(4088, 'a')), 0);
    numbers.append(123456);
    numbers.append(7);
    EXPECT_EQ(taken(numbers.converttoString(0)), " " + std::string(4088, 'a') + "  1234");
    EXPECT_EQ(taken(VList().convertStrListToStr()), "");
}

bool is_not_b(const char* s) {
    return strcmp(s, "b") != 0;
}

TEST(VList, ConvertToNVListCopiesOrTakesTheStrings) {
    for (const bool take : {false, true}) {
        SCOPED_TRACE(take);
        auto list = std::make_unique<VList>();
        char* given = heap_str("a");
        char referred[] = "c";
        list->append(given, 0);
        list->append("b", 1), list->append(5), list->append(referred, 1);
        const std::unique_ptr<NVList> names(list->convertToNVList(take, is_not_b));
        EXPECT_THAT(names_of(*names), ElementsAre("a", "c"));
        EXPECT_EQ(names->head()->vtype(), VTYPE_S32);
        EXPECT_EQ(names->head()->gets32(), 0);
        EXPECT_EQ(names->head()->name() == given, take);
        EXPECT_NE(names->tail()->name(), referred); // never the list's to give
        EXPECT_FALSE(names->get_name_ref());
        list.reset(); // whoever goes first, each string is freed once
        EXPECT_THAT(names_of(*names), ElementsAre("a", "c"));
    }
    VList none;
    none.append(1), none.append("b", 1);
    EXPECT_EQ(none.convertToNVList(true, is_not_b), nullptr);
}

} // namespace
