// What the tests of lists and values share.
#pragma once

#include <strings.h>

#include "primitives/values/BusinessObject.h"
#include "primitives/values/NVList.h"
#include "primitives/values/VList.h"
#include "support/Prelude.h"

// The order of names in a sorted list.
struct Order {
    bool sensitive;
    bool operator()(const std::string& a, const std::string& b) const {
        return (sensitive ? strcmp(a.c_str(), b.c_str()) : strcasecmp(a.c_str(), b.c_str())) < 0;
    }
};

using Map = std::map<std::string, int, Order>;

// Adds, finds and removes names at random in a container, beside a map that says what must come out: one to
// three letters of a small alphabet in both cases, with bytes above ASCII and prefixes. add(front, name,
// value, out) tells whether it was added; check(name, found, map) looks at the container before each step.
template <class Container, class Add, class Check>
void walk_as_map(Container& container, Map& model, int removed, Add add, Check check) {
    std::mt19937 random(42);
    const auto dice = [&](size_t n) { return random() % n; };
    for (int step = 0; step < 5000; ++step) {
        std::string name;
        for (auto n = 1 + dice(3); n > 0; --n) name += "aAbBzZ\xc4\xe4*"[dice(9)];
        const std::string padded = name + "tail"; // the view has no NUL behind it
        NVElem *found = container.inquire(name.c_str()), *out = nullptr;
        ASSERT_EQ(found != nullptr, model.count(name) == 1);
        ASSERT_EQ(container.inquire(std::string_view(padded).substr(0, name.size())), found);
        ASSERT_NO_FATAL_FAILURE(check(name, found, model));
        if (dice(3) == 0) {
            ASSERT_EQ(container.remove(name.c_str()) == removed, model.erase(name) == 1);
        } else {
            ASSERT_EQ(add(dice(2), name.c_str(), step, &out), model.emplace(name, step).second);
            ASSERT_EQ(out->gets32(), model.at(name));
        }
    }
}

// An owned string as the containers free it.
inline char* heap_str(const std::string& s) {
    return strcpy(new char[s.size() + 1], s.c_str());
}

// Counts its ends in the int that it was given.
class Probe : public BusinessObject {
public:
    explicit Probe(int* ends) : _ends(ends) {}
    ~Probe() override { ++*_ends; }
    const char* object_label() const override { return "Probe"; }

private:
    int* _ends;
};

// Takes over a new[] string.
inline std::string taken(char* s) {
    const std::unique_ptr<char[]> owner(s);
    return s != nullptr ? s : "(null)";
}

inline const char* text_of(const VElem& elem) {
    return elem.getstr();
}
inline const char* text_of(const NVElem& elem) {
    return elem.name();
}
// The strings or the names of a list, with a blank between them.
template <class List>
std::string texts_of(const List& list) {
    std::string texts;
    for (const auto* e = list.head(); e != nullptr; e = e->next())
        texts += (e == list.head() ? "" : " ") + std::string(text_of(*e));
    return texts;
}
