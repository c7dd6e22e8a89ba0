#include "primitives/values/NVList.h"

#include <algorithm>
#include <strings.h>

#include "ValuesSupport.h"

namespace {

using testing::ElementsAre;

struct Kind {
    const char* name;
    bool sensitive, sorted;
};
const Kind kinds[] = {
    {"plain", false, false}, {"case", true, false}, {"sorted", false, true}, {"sorted case", true, true}};

// A vector of (name, value) with the same rules, written without any cleverness.
struct Model {
    Kind kind;
    std::vector<std::pair<std::string, int>> entries = {};

    int order(const std::string& a, const std::string& b) const {
        return kind.sensitive ? strcmp(a.c_str(), b.c_str()) : strcasecmp(a.c_str(), b.c_str());
    }
    int find(const std::string& name) const {
        for (size_t i = 0; i < entries.size(); ++i)
            if (order(entries[i].first, name) == 0) return static_cast<int>(i);
        return -1;
    }
    // Where a sorted list keeps the name, or would.
    int place(const std::string& name) const {
        const auto not_less = [&](const auto& e) { return order(e.first, name) >= 0; };
        return static_cast<int>(std::find_if(entries.begin(), entries.end(), not_less) - entries.begin());
    }
    int add(const std::string& name, int value, bool at_tail) {
        if (find(name) >= 0) return NV_EEXISTS;
        const int at = kind.sorted ? place(name) : at_tail ? static_cast<int>(entries.size()) : 0;
        entries.insert(entries.begin() + at, {name, value});
        return NV_ADDED;
    }
};

void expect_entries(const NVList& list, const Model& model) {
    ASSERT_EQ(list.count(), static_cast<int32_t>(model.entries.size()));
    const NVElem* e = list.head();
    for (const auto& [name, value] : model.entries) {
        ASSERT_EQ(e->name(), name);
        ASSERT_EQ(e->gets32(), value);
        e = e->next();
    }
}

TEST(NVList, BehavesLikeAModelUnderRandomOperations) {
    for (const Kind& kind : kinds) {
        SCOPED_TRACE(kind.name);
        Dice dice(42);
        NVList list(kind.sensitive, false);
        list.set_key_sorted(kind.sorted);
        Model model{kind};
        for (int step = 0; step < 4000; ++step) {
            // One to three letters of a small alphabet in both cases, with bytes above ASCII and prefixes.
            std::string name;
            for (unsigned n = 1 + dice(3); n > 0; --n) name += "aAbBzZ\xc4\xe4*"[dice(9)];
            const std::string padded = name + "tail"; // the view has no NUL behind it
            const int at = model.find(name);
            NVElem *e = list.inquire(name.c_str()), *out = nullptr;
            ASSERT_EQ(e, at >= 0 ? list.inquire(at) : nullptr);
            ASSERT_EQ(list.inquire(std::string_view(padded).substr(0, name.size())), e);
            if (kind.sorted) {
                ASSERT_EQ(list.binary_search(name.c_str(), &out), at >= 0);
                ASSERT_EQ(out, list.inquire(model.place(name)));
            }
            const unsigned what = dice(4);
            if (what < 2) {
                ASSERT_EQ(what ? list.append(name.c_str(), step, &out, true)
                               : list.insert(name.c_str(), step, &out, true),
                          model.add(name, step, what));
                ASSERT_EQ(out, list.inquire(model.find(name)));
            } else if (at < 0) {
                ASSERT_EQ(list.remove(name.c_str()), NV_EABSENT);
                ASSERT_EQ(list.detach_nvelem(name.c_str()), nullptr);
            } else {
                const auto entry = model.entries[static_cast<size_t>(at)];
                model.entries.erase(model.entries.begin() + at);
                if (what == 2) {
                    ASSERT_EQ(list.remove(name.c_str()), NV_REMOVED);
                } else {
                    ASSERT_EQ(list.detach_nvelem(name.c_str()), e);
                    ASSERT_TRUE(e->next() == nullptr && e->prev() == nullptr && e->getNVList() == nullptr);
                    ASSERT_EQ(list.attach_nvelem(e, 0, 0), e);
                    ASSERT_EQ(list.attach_nvelem(e, 0, 0), nullptr);
                    model.add(entry.first, entry.second, true);
                }
            }
            ASSERT_NO_FATAL_FAILURE(expect_entries(list, model));
        }
    }
}

TEST(NVList, EachWayOfAddingFindsItsPlace) {
    int ends = 0;
    Probe mine(&ends);
    NVList sorted, list, ascending;
    sorted.set_key_sorted(true);
    for (const char* name : {"c", "a", "b", "B"}) EXPECT_EQ(sorted.append(name, 1), NV_ADDED);
    EXPECT_THAT(names_of(sorted), ElementsAre("a", "B", "b", "c")) << "duplicates before their equal";

    EXPECT_EQ(list.append("m"), NV_ADDED);
    EXPECT_EQ(list.insert_at("M", "before", 5), NV_ADDED);
    EXPECT_EQ(list.append_at("m", "after", &mine, 1), NV_ADDED);
    EXPECT_EQ(list.insert_at("none", "x", &mine, 0), NV_EABSENT) << "refused values stay the caller's";
    EXPECT_EQ(list.insert_at("m", "AFTER", &mine, 0), NV_EEXISTS);
    EXPECT_THAT(names_of(list), ElementsAre("before", "m", "after"));

    for (const char* name : {"b", "d", "A", "c", "z", "C"})
        EXPECT_EQ(ascending.insert_ascending(name, &mine, 1), NV_ADDED);
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
    EXPECT_EQ(list.attach_nvelem(fresh, 1, 0), fresh); // only refers to the probe from now on
    EXPECT_THAT(names_of(list), ElementsAre("b", "A"));
    EXPECT_EQ(list.wide_inquire("x"), nullptr);
    list.append("*", 1);
    EXPECT_EQ(list.wide_inquire("x")->gets32(), 1);
    EXPECT_EQ(list.wide_inquire("B")->gets32(), 2);
    EXPECT_EQ(list.wide_inquire("B", true)->gets32(), 1);
    list.remove_all();
    EXPECT_EQ(ends, 1);
}

TEST(NVList, CompareByNameOrInOrder) {
    NVList a, b, strict(true, false), renamed, longer;
    a.append("one", 1), a.append("two", "x", 1), a.append("three", 3);
    b.append("Two", "X", 1), b.append("ONE", 1), b.append("three", 3);
    strict.append("one", 1), strict.append("two", "X", 1), strict.append("three", 3);
    renamed.append("one", 1), renamed.append("2", "x", 1), renamed.append("three", 3);
    for (const char* name : {"1", "2", "3", "4"}) longer.append(name, 1);
    const struct {
        const char* name;
        const NVList &x, &y;
        int ordered, skip, expected;
    } cases[] = {
        {"any order", a, b, 0, 0, 1},           {"in order", a, b, 1, 0, 0},
        {"in order behind", a, b, 1, 2, 1},     {"skip all", a, renamed, 1, 3, 1},
        {"case of values", a, strict, 1, 0, 0}, {"case, other way", strict, a, 0, 0, 0},
        {"names", a, renamed, 1, 0, 0},         {"names looked up", a, renamed, 0, 0, 0},
        {"itself", strict, strict, 1, 0, 1},    {"counts", a, longer, 0, 4, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.x.compare(&c.y, c.ordered, c.skip), c.expected);
    }
}

TEST(NVList, DeepDupCopiesNamesValuesAndTheLastOfEqualNames) {
    NVList list(true, true);
    char name[] = "referred";
    list.set_name_ref(true, false);
    list.append(name, heap_str("v"), 0);
    list.append("twice", 1);
    list.append("twice", 2);
    const std::unique_ptr<NVList> copy(list.deep_dup());
    name[0] = 'X';
    EXPECT_THAT(names_of(*copy), ElementsAre("referred", "twice"));
    EXPECT_EQ(copy->tail()->gets32(), 2);
    EXPECT_NE(copy->head()->getstr(), list.head()->getstr());
    EXPECT_TRUE(copy->get_sensitive() && copy->is_key_list() && !copy->get_name_ref());
}

TEST(NVElem, NamesAreOwnedOrReferredTo) {
    char name[] = "mine";
    NVList list;
    list.set_name_ref(true, false);
    NVElem* e = nullptr;
    list.append(name, 1, &e);
    EXPECT_EQ(e->name(), name);
    e->set_name("new"); // the old name was not the entry's
    e->set_name(e->name());
    list.append(heap_str("taken"), 1);
    list.set_name_ref(false, true); // from now on the entries free their names
    list.append(name, 3, &e);
    EXPECT_THAT(names_of(list), ElementsAre("new", "taken", "mine"));
    EXPECT_NE(e->name(), name);
    EXPECT_EQ(list.head()->next(2), e);
    for (const int n : {3, -1}) EXPECT_EQ(list.head()->next(n), nullptr);
    EXPECT_DEATH(list.append(nullptr, 1), "name != NULL");
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
    EXPECT_EQ(e->gets32GL("h1"), 10);
    EXPECT_EQ(e->gets32GL("h2"), 21);
    EXPECT_DEATH(e->gets32GL("h3"), "nvelemp != NULL");
}

} // namespace
