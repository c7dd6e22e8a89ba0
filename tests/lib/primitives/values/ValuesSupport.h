// What the tests of lists and values share.
#pragma once

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <strings.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "primitives/values/BusinessObject.h"
#include "primitives/values/NVList.h"
#include "primitives/values/VList.h"

// Repeatable throws: dice(n) is below n.
class Dice {
public:
    explicit Dice(unsigned seed) : _random(seed) {}
    unsigned operator()(size_t n) { return static_cast<unsigned>(_random() % n); }

private:
    std::mt19937 _random;
};

// The order of names in a sorted list.
struct Order {
    bool sensitive;
    bool operator()(const std::string& a, const std::string& b) const {
        return (sensitive ? strcmp(a.c_str(), b.c_str()) : strcasecmp(a.c_str(), b.c_str())) < 0;
    }
};

// An owned string as the containers free it.
inline char* heap_str(const std::string& s) {
    char* p = new char[s.size() + 1];
    memcpy(p, s.c_str(), s.size() + 1);
    return p;
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

inline std::vector<std::string> strings_of(const VList& list) {
    std::vector<std::string> out;
    for (const VElem* e = list.head(); e != nullptr; e = e->next()) out.push_back(e->getstr());
    return out;
}

inline std::vector<std::string> names_of(const NVList& list) {
    std::vector<std::string> out;
    for (const NVElem* e = list.head(); e != nullptr; e = e->next()) out.push_back(e->name());
    return out;
}
