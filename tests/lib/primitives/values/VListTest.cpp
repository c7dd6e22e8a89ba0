#include "primitives/values/VList.h"

#include "ValuesSupport.h"

TEST(VList, ElementsAreAddedAroundFoundComparedAndDeleted) {
    VList list, other;
    VElem* b = list.append_copy("bcd", 1);
    VElem* lower = b->append("c", 1);
    ValueElem copied("C", 1);
    VElem* upper = b->append(&copied);
    b->insert("a", 1);
    EXPECT_EQ(texts_of(list), "a b C c");
    EXPECT_TRUE(list.inquire_str("c", false) == upper && list.inquire_str("c", true) == lower);
    EXPECT_TRUE(list.inquire(3) == lower && list.inquire(4) == nullptr);
    for (const char* s : {"a", "x", "c"}) other.append(s, 1);
    delete b;
    EXPECT_TRUE(!list.compare(&other, 1, false) && list.compare(&other, 3, false)); // skips a and x
    delete list.tail();
    EXPECT_FALSE(list.compare(&other, 2, false)) << "another length";
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
    const std::unique_ptr<NVList> names(list.convertToNVList(true, nullptr)); // the strings are its own now
    list.concat("x");
    EXPECT_STREQ(list.tail()->getstr(), "x");
    for (const int32_t bal : {255, INT32_MAX, -1, 253}) { // none agrees with a text of one character
        list.tail()->set_bal(bal);
        list.concat("x");
        EXPECT_EQ(list.tail()->bal(), 254) << bal;
    }
}

TEST(VList, RenderingsCutAtTheirBuffer) {
    VList list;
    list.append("x", 1), list.append(5), list.append("USERNAMES", 1), list.append("y", 1);
    EXPECT_EQ(taken(list.converttoString(1)), " x  5  USERNAMES ");
    EXPECT_EQ(taken(list.converttoString(0)), " x  5  USERNAMES  y ");
    const std::tuple<size_t, size_t, size_t> cases[] = {
        // the second string behind one of 2000, and the lengths of both renderings
        {2094, 4095, 2000},
        {2095, 2002, 2000},
        {90, 2094, 2091}};
    for (const auto& [second, spaced, joined] : cases) {
        VList two;
        two.append(heap_str(std::string(2000, 'a')), 0), two.append(heap_str(std::string(second, 'b')), 0);
        EXPECT_EQ(taken(two.converttoString(0)).size(), spaced) << second;
        EXPECT_EQ(taken(two.convertStrListToStr()).size(), joined) << second;
    }
}

TEST(VList, ConvertToNVListCopiesOrTakesTheStrings) {
    for (const bool take : {false, true}) {
        auto list = std::make_unique<VList>();
        char *given = heap_str("a"), referred[] = "c";
        list->append(given, 0);
        list->append("b", 1), list->append(5), list->append(referred, 1);
        const std::unique_ptr<NVList> names(
            list->convertToNVList(take, [](const char* s) { return strcmp(s, "b") != 0; }));
        EXPECT_TRUE((names->head()->name() == given) == take && names->tail()->name() != referred);
        list.reset(); // whoever goes first, each string is freed once
        EXPECT_EQ(texts_of(*names), "a c");
    }
}
