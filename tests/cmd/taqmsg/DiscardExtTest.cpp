#include "support/Prelude.h"
#include "taqmsg.h"

TEST(DiscardExt, NameWithoutExtension) {
    const std::pair<const char*, const char*> cases[] = {
        {"a.b.ldf", "a.b"}, {"x", "x"},  {"/d.d/x.ldf", "/d.d/x"}, {"dir/.ldf", "dir/"}, {"..", "."},
        {"d.ir/x", "x"},    {"dir/", ""}}; // without an extension only the last part is kept
    for (const auto& [file, name] : cases) EXPECT_STREQ(name, discard_ext(file)) << file;
    for (const size_t length : {4095u, 4096u, 100000u})
        EXPECT_EQ(std::string(4095, 'n'), discard_ext((std::string(length, 'n') + ".ldf").c_str()));
}
