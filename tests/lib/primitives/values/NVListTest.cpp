#include "primitives/values/NVList.h"

#include <algorithm>
#include <strings.h>

#include "ValuesSupport.h"

namespace {

using testing::ElementsAre;

struct Kind {
    const char* name;
    bool sensitive, sorted;
} kinds[] = {
    {"plain", false, false}, {"case", true, false}, {"sorted", false, true}, {"sorted case", true, true}};

// A vector of (name, value) with the same rules, written without any cleverness.
class Model {
public:
    explicit Model(const Kind& kind) : _kind(kind) {}
    std::vector<std::pair<std::string, int>> entries;

    int order(const std::string& a, const std::string& b) const {
        return _kind.sensitive ? strcmp(a.c_str(), b.c_str()) : strcasecmp(a.c_str(), b.c_str());
    }
    int find(const std::string& name) const {
        for (size_t i = 0; i < entries.size(); ++i)
            if (order(entries[i].first, name) == 0) return static_cast<int>(i);
        return -1;
    }
    int add(const std::string& name, int value, bool at_tail) {
        if (find(name) >= 0) return 2;
        auto at = at_tail ? entries.end() : entries.begin();
        if (_kind.sorted)
            at = std::find_if(entries.begin(), entries.end(),
                              [&](auto& e) { return order(e.first, name) > 0; });
        entries.insert(at, {name, value});
        return 1;
    }

private:
    Kind _kind;
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
        Model model(kind);
        for (int step = 0; step < 4000; ++step) {
            // One to three letters of a small alphabet in both cases, with bytes above ASCII and prefixes.
            std::string name;
            for (unsigned n = 1 + dice(3); n > 0; --n) name += "aAbBzZ\xc4\xe4*"[dice(9)];
            const int at = model.find(name);
            NVElem* out = nullptr;
            switch (dice(6)) {
            case 0:
                ASSERT_EQ(list.append(name.c_str(), step, &out, true), model.add(name, step, true));
                break;
            case 1:
                ASSERT_EQ(list.insert(name.c_str(), step, &out, true), model.add(name, step, false));
                break;
            case 2:
            case 3:
                ASSERT_EQ(list.remove(name.c_str()), at >= 0 ? NV_REMOVED : NV_EABSENT);
                if (at >= 0) model.entries.erase(model.entries.begin() + at);
                break;
            case 4: {
                NVElem* e = list.detach_nvelem(name.c_str());
                ASSERT_EQ(e != nullptr, at >= 0);
                if (e == nullptr) break;
                ASSERT_EQ(e->next() == nullptr && e->prev() == nullptr && e->getNVList() == nullptr, true);
                ASSERT_EQ(list.attach_nvelem(e, 0, 0), e);
                ASSERT_EQ(list.attach_nvelem(e, 0, 0), nullptr);
                const auto entry = model.entries[static_cast<size_t>(at)];
                model.entries.erase(model.entries.begin() + at);
                model.add(entry.first, entry.second, true);
                break;
            }
            case 5: {
                const std::string padded = name + "tail"; // the view has no NUL behind it
                NVElem* e = list.inquire(name.c_str());
                ASSERT_EQ(e != nullptr, at >= 0);
                ASSERT_EQ(list.inquire(std::string_view(padded).substr(0, name.size())), e);
                ASSERT_EQ(e, at >= 0 ? list.inquire(at) : nullptr);
                break;
            }
            }
            if (out != nullptr) {
                ASSERT_EQ(model.order(out->name(), name), 0);
            }
            ASSERT_NO_FATAL_FAILURE(expect_entries(list, model));
        }
    }
}

TEST(NVList, BinarySearchFindsEveryNameAndEveryPlace) {
    for (int count = 0; count <= 40; ++count) {
        SCOPED_TRACE(count);
        NVList numbers;
        numbers.set_key_sorted(true);
        for (int i = count - 1; i >= 0; --i) {
            char text[12];
            snprintf(text, sizeof text, "%03d", 2 * i + 1);
            ASSERT_EQ(numbers.append(text, i, nullptr, true), NV_ADDED);
        }
        for (int i = 0; i <= 2 * count; ++i) {
            char text[12];
            snprintf(text, sizeof text, "%03d", i);
            NVElem* out = nullptr;
            ASSERT_EQ(numbers.binary_search(text, &out), i % 2 == 1);
            ASSERT_EQ(out, numbers.inquire(i / 2)); // the entry, or the one that the name goes before
        }
    }
}

TEST(NVList, UncheckedDuplicatesGoBeforeTheirEqual) {
    NVList list;
    list.set_key_sorted(true);
    for (const char* name : {"c", "a", "b"}) list.append(name, 1);
    NVElem* out = nullptr;
    EXPECT_EQ(list.append("B", 2, &out), NV_ADDED);
    EXPECT_THAT(names_of(list), ElementsAre("a", "B", "b", "c"));
    EXPECT_EQ(out, list.inquire(1));
}

TEST(NVList, RefusedValuesStayTheCallers) {
    int ends = 0;
    Probe mine(&ends);
    NVList list;
    NVElem *first = nullptr, *out = nullptr;
    EXPECT_EQ(list.append("Alpha", "v", 1, &first, true), NV_ADDED);
    EXPECT_EQ(list.append("ALPHA", &mine, 0, &out, true), NV_EEXISTS);
    EXPECT_EQ(out, first);
    EXPECT_STREQ(first->getstr(), "v");
    EXPECT_EQ(list.insert_at("none", "x", &mine, 0, &out), NV_EABSENT);
    EXPECT_EQ(list.insert_at("alpha", "ALPHA", &mine, 0, &out), NV_EEXISTS);
    EXPECT_EQ(list.count(), 1);
    EXPECT_EQ(ends, 0);
    list.append("owned", new Probe(&ends), 0);
    EXPECT_EQ(list.remove("OWNED"), NV_REMOVED);
    EXPECT_EQ(ends, 1);
}

TEST(NVList, AnchorsAndAscendingPlaceEntries) {
    NVList list;
    VList value;
    EXPECT_EQ(list.append("m"), NV_ADDED);
    EXPECT_EQ(list.head()->vtype(), VTYPE_NULL);
    EXPECT_EQ(list.insert_at("M", "before", 5), NV_ADDED);
    EXPECT_EQ(list.append_at("m", "after", static_cast<void*>(&value), 1), NV_ADDED);
    EXPECT_THAT(names_of(list), ElementsAre("before", "m", "after"));

    NVList ascending;
    for (const char* name : {"b", "d", "A", "c", "z"})
        EXPECT_EQ(ascending.insert_ascending(name, &value, 1), NV_ADDED);
    EXPECT_EQ(ascending.insert_ascending("C", &value, 1), NV_ADDED);
    EXPECT_EQ(ascending.insert_ascending("D", &value, 1, nullptr, true), NV_EEXISTS);
    EXPECT_THAT(names_of(ascending), ElementsAre("A", "b", "C", "c", "d", "z"));
}

TEST(NVList, AttachReplacesTheNamesakeAndSetsTheFlags) {
    int ends = 0;
    NVList list;
    list.append("a", new Probe(&ends), 0), list.append("b", 2);
    auto* fresh = new NVElem("A", false);
    Probe mine(&ends);
    fresh->set(&mine, 0);
    EXPECT_EQ(list.attach_nvelem(fresh, 1, 0), fresh); // only refers to the probe from now on
    EXPECT_EQ(ends, 1);
    EXPECT_THAT(names_of(list), ElementsAre("b", "A"));
    list.remove_all();
    EXPECT_EQ(ends, 1);
}

TEST(NVList, WideInquireFallsBackToTheStar) {
    NVList list;
    list.append("*", 1);
    list.append("y", 2);
    EXPECT_EQ(list.wide_inquire("x")->gets32(), 1);
    EXPECT_EQ(list.wide_inquire("Y")->gets32(), 2);
    EXPECT_EQ(list.wide_inquire("Y", true)->gets32(), 1);
    list.remove("*");
    EXPECT_EQ(list.wide_inquire("x"), nullptr);
}

TEST(NVList, CompareByNameOrInOrder) {
    NVList a, b, strict(true, false), renamed;
    a.append("one", 1), a.append("two", "x", 1), a.append("three", 3);
    b.append("Two", "X", 1), b.append("ONE", 1), b.append("three", 3);
    strict.append("one", 1), strict.append("two", "X", 1), strict.append("three", 3);
    renamed.append("one", 1), renamed.append("2", "x", 1), renamed.append("three", 3);
    const struct {
        const char* name;
        const NVList &x, &y;
        int ordered, skip, expected;
    } cases[] = {
        {"any order", a, b, 0, 0, 1},           {"in order", a, b, 1, 0, 0},
        {"in order behind", a, b, 1, 2, 1},     {"skip all", a, renamed, 1, 3, 1},
        {"case of values", a, strict, 1, 0, 0}, {"case, other way", strict, a, 0, 0, 0},
        {"names", a, renamed, 1, 0, 0},         {"names looked up", a, renamed, 0, 0, 0},
        {"itself", strict, strict, 1, 0, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.x.compare(&c.y, c.ordered, c.skip), c.expected);
    }
    b.append("four", 4);
    EXPECT_EQ(a.compare(&b, 0, 4), 0);
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
    EXPECT_TRUE(copy->get_sensitive() && copy->is_key_list() && !copy->get_name_ref() &&
                !copy->is_key_sorted());
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
    EXPECT_STREQ(e->name(), "new");
    EXPECT_STREQ(name, "mine");
    list.append(heap_str("taken"), 1);
    list.set_name_ref(false, true); // from now on the entries free their names
    list.append(name, 3, &e);
    EXPECT_NE(e->name(), name);
    NVElem* first = list.head();
    EXPECT_EQ(first->next(0), first);
    EXPECT_EQ(first->next(2), e);
    EXPECT_EQ(first->next(3), nullptr);
    EXPECT_EQ(first->next(-1), nullptr);
    EXPECT_EQ(first->getNVList(), &list);
    EXPECT_DEATH(list.append(nullptr, 1), "name != NULL");
    EXPECT_DEATH(first->append(nullptr), "nvelemp != NULL");
}

TEST(NVElem, ScopedValueIsTheEntrysOrTheHosts) {
    NVList list;
    NVElem* e = nullptr;
    list.append("attr", 1, &e);
    e->setGL(2, "anyhost");
    EXPECT_EQ(e->gets32GL("other"), 2);
    NVList* hosts = new NVList;
    hosts->append("h1", 10), hosts->append("h2", 20);
    e->set(hosts, 0);
    e->set_vscope(host_specific);
    e->setGL(21, "H2");
    EXPECT_EQ(e->gets32GL("h1"), 10);
    EXPECT_EQ(e->gets32GL("h2"), 21);
    EXPECT_DEATH(e->gets32GL("h3"), "nvelemp != NULL");
}

} // namespace
