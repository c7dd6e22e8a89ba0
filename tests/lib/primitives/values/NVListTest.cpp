#include "primitives/values/NVList.h"

#include <iterator>
#include <map>

#include "ValuesSupport.h"

namespace {

using testing::ElementsAre;

using Map = std::map<std::string, int, Order>;

Map entries_of(const NVList& list) {
    Map out(Order{true});
    for (const NVElem* e = list.head(); e != nullptr; e = e->next()) out.emplace(e->name(), e->gets32());
    return out;
}

TEST(NVList, SortedOneBehavesLikeAMapUnderRandomOperations) {
    for (const bool sensitive : {false, true}) {
        SCOPED_TRACE(sensitive);
        Dice dice(42);
        NVList list(sensitive, false);
        list.set_key_sorted(true);
        Map model(Order{sensitive});
        for (int step = 0; step < 5000; ++step) {
            // One to three letters of a small alphabet in both cases, with bytes above ASCII and prefixes.
            std::string name;
            for (unsigned n = 1 + dice(3); n > 0; --n) name += "aAbBzZ\xc4\xe4*"[dice(9)];
            const std::string padded = name + "tail"; // the view has no NUL behind it
            const auto place = static_cast<int>(std::distance(model.begin(), model.lower_bound(name)));
            NVElem *e = list.inquire(name.c_str()), *out = nullptr;
            ASSERT_EQ(e, model.count(name) ? list.inquire(place) : nullptr);
            ASSERT_EQ(list.inquire(std::string_view(padded).substr(0, name.size())), e);
            ASSERT_EQ(list.binary_search(name.c_str(), &out), e != nullptr);
            ASSERT_EQ(out, list.inquire(place));
            switch (dice(4)) {
            case 0:
            case 1:
                ASSERT_EQ(dice(2) ? list.append(name.c_str(), step, &out, true)
                                  : list.insert(name.c_str(), step, &out, true),
                          model.emplace(name, step).second ? NV_ADDED : NV_EEXISTS);
                ASSERT_EQ(out, list.inquire(place));
                break;
            case 2: ASSERT_EQ(list.remove(name.c_str()), model.erase(name) ? NV_REMOVED : NV_EABSENT); break;
            case 3:
                ASSERT_EQ(list.detach_nvelem(name.c_str()), e);
                if (e == nullptr) break;
                ASSERT_TRUE(e->next() == nullptr && e->prev() == nullptr && e->getNVList() == nullptr);
                ASSERT_EQ(list.attach_nvelem(e, 0, 0), e);
                ASSERT_EQ(list.attach_nvelem(e, 0, 0), nullptr) << "it is in a list";
                break;
            }
            ASSERT_EQ(list.count(), static_cast<int32_t>(model.size()));
        }
        Map exact(model.begin(), model.end(), Order{true});
        EXPECT_EQ(entries_of(list), exact);
    }
}

TEST(NVList, EachWayOfAddingFindsItsPlace) {
    int ends = 0;
    Probe mine(&ends);
    NVList sorted, list, ascending;
    sorted.set_key_sorted(true);
    for (const char* name : {"c", "a", "b", "B"}) EXPECT_EQ(sorted.append(name, 1), NV_ADDED);
    EXPECT_THAT(names_of(sorted), ElementsAre("a", "B", "b", "c")) << "duplicates before their equal";

    list.append("m");
    EXPECT_EQ(list.insert_at("M", "before", 5), NV_ADDED);
    EXPECT_EQ(list.append_at("m", "after", &mine, 1), NV_ADDED);
    EXPECT_EQ(list.insert_at("none", "x", &mine, 0), NV_EABSENT) << "refused values stay the caller's";
    EXPECT_EQ(list.insert_at("m", "AFTER", &mine, 0), NV_EEXISTS);
    EXPECT_THAT(names_of(list), ElementsAre("before", "m", "after"));

    for (const char* name : {"b", "d", "A", "c", "z", "C"}) ascending.insert_ascending(name, &mine, 1);
    EXPECT_EQ(ascending.insert_ascending("D", &mine, 0, nullptr, true), NV_EEXISTS);
    EXPECT_THAT(names_of(ascending), ElementsAre("A", "b", "C", "c", "d", "z"));
    EXPECT_EQ(ends, 0);
}

TEST(NVList, AttachReplacesTheNamesakeAndWideInquireFallsBackToTheStar) {
    int ends = 0;
    Probe mine(&ends);
    NVList list;
    list.append("a", new Probe(&ends), 0), list.append("b", 2);
    auto* fresh = new NVElem("A", false);
    fresh->set(&mine, 0);
    list.attach_nvelem(fresh, 1, 0); // only refers to the probe from now on
    EXPECT_THAT(names_of(list), ElementsAre("b", "A"));
    EXPECT_EQ(list.wide_inquire("x"), nullptr);
    list.append("*", 1);
    EXPECT_EQ(list.wide_inquire("B")->gets32(), 2);
    EXPECT_EQ(list.wide_inquire("B", true)->gets32(), 1);
    list.remove_all();
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
    EXPECT_THAT(names_of(*copy), ElementsAre("new", "twice", "mine"));
    EXPECT_EQ(copy->head()->next()->gets32(), 2) << "the last of equal names";
    EXPECT_STREQ(copy->tail()->getstr(), "v");
    EXPECT_TRUE(copy->get_sensitive() && copy->is_key_list());
}

TEST(NVElem, ScopedValueIsTheEntrysOrTheHosts) {
    NVList list, hosts;
    hosts.append("h1", 10), hosts.append("h2", 20);
    NVElem* e = nullptr;
    list.append("attr", 1, &e);
    e->setGL(2, "any host");
    EXPECT_EQ(e->gets32GL("other"), 2);
    e->set(&hosts, 1);
    e->set_vscope(host_specific);
    e->setGL(21, "H2");
    EXPECT_EQ(e->gets32GL("h1") * 100 + e->gets32GL("h2"), 1021);
}

} // namespace
