#include "primitives/values/VList.h"

#include <tuple>

#include "ValuesSupport.h"

namespace {

using testing::ElementsAre;

TEST(VList, ElementsAreFoundAddedAroundAndDeleted) {
    VList list;
    VElem* b = list.append_copy("bcd", 1);
    ValueElem copied("C", 1);
    VElem* upper = b->append(&copied);
    VElem* lower = upper->append("c", 1);
    EXPECT_NE(upper->getstr(), copied.getstr());
    b->insert("a", 1);
    EXPECT_THAT(strings_of(list), ElementsAre("a", "b", "C", "c"));
    EXPECT_TRUE(list.inquire(3) == list.tail() && list.inquire(4) == nullptr);
    EXPECT_TRUE(list.inquire_str("c", false) == upper && list.inquire_str("c", true) == lower);
    delete b;
    delete list.tail();
    delete list.head();
    EXPECT_THAT(strings_of(list), ElementsAre("C"));
}

TEST(VList, CompareSkipsLeadingPositions) {
    VList a, b, shorter;
    a.append("x", 1), a.append(1), a.append("Same", 1);
    b.append("x", 1), b.append(2), b.append("same", 1);
    shorter.append("x", 1);
    EXPECT_TRUE(!a.compare(&b, 1, false) && a.compare(&b, 2, false));
    EXPECT_TRUE(!a.compare(&b, 2, true) && a.compare(&b, 3, true) && !a.compare(&shorter, 3, false));
}

TEST(VList, ConcatFillsStringsOf255Characters) {
    VList list;
    list.append("not packed", 1);
    std::string expected = "not packed";
    for (const size_t len : {600u, 10u, 0u, 155u, 1u, 254u, 255u, 256u, 1u}) { // around the edges
        const std::string piece(len, static_cast<char>('a' + len % 26));
        list.concat(piece.c_str());
        expected += piece;
        EXPECT_EQ(taken(list.collapse()), expected);
        EXPECT_EQ(strlen(list.tail()->getstr()) + static_cast<size_t>(list.tail()->bal()), 255u);
    }
    EXPECT_EQ(list.count(), 1 + (1532 + 254) / 255);

    const std::unique_ptr<NVList> names(
        list.convertToNVList(true, nullptr)); // the strings are no longer the list's
    list.concat("x");
    EXPECT_STREQ(list.tail()->getstr(), "x");
    EXPECT_EQ(list.tail()->bal(), 254);
    for (const int32_t bal : {255, INT32_MAX, -1, 253}) { // none agrees with a text of one character
        list.tail()->set_bal(bal);
        list.concat("x");
        EXPECT_EQ(list.tail()->bal(), 254) << bal;
    }
}

TEST(VList, RenderingsCutAtTheirBuffer) {
    VList list;
    list.append("x", 1), list.append(5), list.append(short{9}), list.append("USERNAMES", 1),
        list.append("y", 1);
    EXPECT_EQ(taken(list.converttoString(1)), " x  5  USERNAMES ");
    EXPECT_EQ(taken(list.converttoString(0)), " x  5  USERNAMES  y ");
    EXPECT_EQ(taken(list.convertStrListToStr()), "(null)");

    const std::tuple<size_t, size_t, size_t, size_t> cases[] = {
        // two strings, and the lengths of both renderings
        {2000, 2094, 4095, 2000},
        {2000, 2095, 2002, 2000},
        {4097, 0, 0, 0}};
    for (const auto& [first, second, spaced, joined] : cases) {
        VList two;
        two.append(heap_str(std::string(first, 'a')), 0), two.append(heap_str(std::string(second, 'b')), 0);
        EXPECT_EQ(taken(two.converttoString(0)).size(), spaced) << first << " " << second;
        EXPECT_EQ(taken(two.convertStrListToStr()).size(), joined) << first << " " << second;
    }
}

TEST(VList, ConvertToNVListCopiesOrTakesTheStrings) {
    const auto is_not_b = [](const char* s) { return strcmp(s, "b") != 0; };
    for (const bool take : {false, true}) {
        auto list = std::make_unique<VList>();
        char* given = heap_str("a");
        char referred[] = "c";
        list->append(given, 0);
        list->append("b", 1), list->append(5), list->append(referred, 1);
        const std::unique_ptr<NVList> names(list->convertToNVList(take, is_not_b));
        EXPECT_EQ(names->head()->name() == given, take);
        EXPECT_NE(names->tail()->name(), referred); // never the list's to give
        list.reset();                               // whoever goes first, each string is freed once
        EXPECT_THAT(names_of(*names), ElementsAre("a", "c"));
    }
}

} // namespace
