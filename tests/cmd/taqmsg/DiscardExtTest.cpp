#include <gtest/gtest.h>

#include "taqmsg.h"

namespace {

TEST(DiscardExt, NameWithoutExtension) {
    const std::pair<const char*, const char*> cases[] = {
        {"a.b.ldf", "a.b"},   {"x", "x"},   {"/d.d/x.ldf", "/d.d/x"},
        {"dir/.ldf", "dir/"}, {"..", "."},  {"", ""},
        {"d.ir/x", "x"},      {"dir/", ""}, // without an extension only the last part is kept
    };
    for (const auto& [file, name] : cases) EXPECT_STREQ(name, discard_ext(file)) << file;
    for (const size_t length : {4095u, 4096u, 100000u}) {
        const std::string name(length, 'n');
        EXPECT_EQ(name.substr(0, 4095), discard_ext((name + ".ldf").c_str()));
        EXPECT_EQ(name, discard_ext(name.c_str())); // a pointer into the argument needs no room
    }
}

} // namespace
