#include "primitives/values/NVList.h"

#include "ValuesSupport.h"

TEST(NVList, SortedOneBehavesLikeAMapUnderRandomOperations) {
    for (const bool sensitive : {false, true}) {
        SCOPED_TRACE(sensitive);
        NVList list(sensitive, false);
        list.set_key_sorted(true);
        Map model(Order{sensitive});
        const auto add = [&](bool front, const char* name, int value, NVElem** out) {
            return (front ? list.insert(name, value, out, true) : list.append(name, value, out, true)) ==
                   NV_ADDED;
        };
        // Finds the place of each name, and takes out what is there and back in.
        const auto check = [&](const std::string& name, NVElem* found, const Map& map) {
            const auto place = static_cast<int>(std::distance(map.begin(), map.lower_bound(name)));
            NVElem* out = nullptr;
            ASSERT_EQ(list.binary_search(name.c_str(), &out), found != nullptr);
            ASSERT_TRUE(out == list.inquire(place) && (found == nullptr || found == out));
            ASSERT_EQ(list.detach_nvelem(name.c_str()), found);
            if (found == nullptr) return;
            ASSERT_TRUE(found->next() == nullptr && found->prev() == nullptr &&
                        found->getNVList() == nullptr);
            ASSERT_EQ(list.attach_nvelem(found, 0, 0), found);
            ASSERT_EQ(list.attach_nvelem(found, 0, 0), nullptr) << "it is in a list";
        };
        walk_as_map(list, model, NV_REMOVED, add, check);
        std::string names;
        for (const auto& [name, value] : model) names += (names.empty() ? "" : " ") + name;
        EXPECT_EQ(texts_of(list), names);
    }
}

TEST(NVList, EachWayOfAddingFindsItsPlace) {
    int ends = 0;
    Probe mine(&ends);
    NVList sorted, list, ascending;
    sorted.set_key_sorted(true);
    for (const char* name : {"c", "a", "b", "B"}) EXPECT_EQ(sorted.append(name, 1), NV_ADDED);
    EXPECT_EQ(texts_of(sorted), "a B b c") << "duplicates before their equal";

    list.append("m");
    EXPECT_EQ(list.insert_at("M", "before", 5), NV_ADDED);
    EXPECT_EQ(list.append_at("m", "after", &mine, 1), NV_ADDED);
    EXPECT_EQ(list.insert_at("none", "x", &mine, 0), NV_EABSENT) << "refused values stay the caller's";
    EXPECT_EQ(list.insert_at("m", "AFTER", &mine, 0), NV_EEXISTS);
    list.inquire("before")->set(new Probe(&ends), 0);
    auto* fresh = new NVElem("BEFORE", false);
    fresh->set(&mine, 0);
    list.attach_nvelem(fresh, 1, 0); // takes out the namesake and only refers to the probe
    EXPECT_EQ(texts_of(list), "m after BEFORE");
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(list.wide_inquire("x"), nullptr);
    list.append("*", 1), list.append("b", 2);
    EXPECT_TRUE(list.wide_inquire("B")->gets32() == 2 && list.wide_inquire("B", true)->gets32() == 1);
    list.remove_all();

    for (const char* name : {"b", "d", "A", "c", "z", "C"}) ascending.insert_ascending(name, &mine, 1);
    EXPECT_EQ(ascending.insert_ascending("D", &mine, 0, nullptr, true), NV_EEXISTS);
    EXPECT_EQ(texts_of(ascending), "A b C c d z");
    EXPECT_EQ(ends, 1);
}

TEST(NVList, CompareByNameOrInOrder) {
    NVList a, turned, renamed, longer, strict(true, false);
    a.append("one", 1), a.append("two", "x", 1);
    turned.append("Two", "X", 1), turned.append("ONE", 1);
    renamed.append("1", 1), renamed.append("two", "x", 1);
    longer.append("one", 1), longer.append("two", "x", 1), longer.append("three", 1);
    strict.append("one", 1), strict.append("two", "X", 1); // case counts
    EXPECT_TRUE(a.compare(&turned, 0, 0) && !a.compare(&turned, 1, 0));
    EXPECT_TRUE(a.compare(&renamed, 1, 1) && !a.compare(&renamed, 1, 0) && !a.compare(&renamed, 0, 0));
    EXPECT_FALSE(a.compare(&strict, 1, 0) || strict.compare(&a, 0, 0) || a.compare(&longer, 0, 0));
}

TEST(NVList, NamesAreOwnedOrReferredTo) {
    char name[] = "mine";
    NVList list(true, true);
    list.set_name_ref(true, false);
    NVElem* e = nullptr;
    list.append(name, 1, &e);
    EXPECT_EQ(e->name(), name);
    e->set_name("new"); // the old name was not the entry's
    e->set_name(e->name());
    list.append(heap_str("twice"), 1);
    list.append(heap_str("twice"), 2);
    EXPECT_EQ(list.inquire("TWICE"), nullptr) << "case counts in this list";
    list.set_name_ref(false, true); // from now on the entries free their names
    list.append(name, heap_str("v"), 0, &e);
    EXPECT_NE(e->name(), name);
    EXPECT_TRUE(list.head()->next(3) == e && list.head()->next(4) == nullptr);

    const std::unique_ptr<NVList> copy(list.deep_dup());
    list.remove_all();
    EXPECT_EQ(texts_of(*copy), "new twice mine");
    EXPECT_EQ(copy->head()->next()->gets32(), 2) << "the last of equal names";
    EXPECT_STREQ(copy->tail()->getstr(), "v");
    EXPECT_TRUE(copy->get_sensitive() && copy->is_key_list());
}

TEST(NVElem, ScopedValueIsTheEntrysOrTheHosts) {
    NVList hosts;
    NVElem e("attr", false);
    hosts.append("h1", 10), hosts.append("h2", 20);
    e.setGL(2, "any host");
    EXPECT_EQ(e.gets32GL("other"), 2);
    e.set(&hosts, 1);
    e.set_vscope(host_specific);
    e.setGL(21, "H2");
    EXPECT_EQ(e.gets32GL("h1") * 100 + e.gets32GL("h2"), 1021);
}
