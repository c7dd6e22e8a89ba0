#include <gtest/gtest.h>

#include "taqmsg.h"

namespace {

TEST(DiscardExt, Names) {
    const struct {
        const char *file, *name;
    } cases[] = {
        {"x.ldf", "x"},
        {"x", "x"},
        {"x.txt", "x"},
        {"a.b.ldf", "a.b"},
        {"dir/x.ldf", "dir/x"},
        {"/d/e/x.ldf", "/d/e/x"},
        {"dir/x", "x"}, // without an extension only the last part is kept
        {"/x", "x"},
        {"d.ir/x", "x"},
        {"d.ir/x.y", "d.ir/x"},
        {".ldf", ""},
        {"dir/.ldf", "dir/"},
        {"x.", "x"},
        {".", ""},
        {"..", "."},
        {"dir/", ""},
        {"/", ""},
        {"", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        EXPECT_STREQ(c.name, discard_ext(c.file));
    }
}

TEST(DiscardExt, CutsAtTheBuffer) {
    for (const size_t length : {4094u, 4095u, 4096u, 4097u, 100000u}) {
        SCOPED_TRACE(length);
        const std::string name(length, 'n');
        EXPECT_EQ(name.substr(0, 4095), discard_ext((name + ".ldf").c_str()));
        EXPECT_EQ(name, discard_ext(name.c_str())); // a pointer into the argument needs no room
    }
}

} // namespace
