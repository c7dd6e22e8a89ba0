// How the library and a program, or another one that brings it as well, get on in one process.
#include "primitives/log/Log.h"
#include "primitives/log/MessageSite.h"
#include "primitives/values/NVList.h"
#include "support/Prelude.h"

int count_of_own_objects(); // OwnNames.cpp

TEST(Linking, ProgramHasOwnClassesOfTheSameNames) {
    Log::init("QEN", "K-16", nullptr);
    auto log = std::make_unique<::Log>();
    ASSERT_EQ(ULOG_OK, log->open("own", stdout, ULOG_BARE_TEXT, nullptr));
    testing::internal::CaptureStdout();
    QEN_MESSAGE(log.get(), SEV_INFO, 0, 25, 0, "%d objects", count_of_own_objects());
    EXPECT_EQ("17 objects\n", testing::internal::GetCapturedStdout());
    log.reset();
    Log::destroy();
}
