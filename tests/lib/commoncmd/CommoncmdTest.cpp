#include "commoncmd/commoncmd.h"

#include <csignal>
#include <cstdio>
#include <gtest/gtest.h>

#include "primitives/log/Log.h"
#include "primitives/log/MessageSite.h"

namespace {

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

class CommoncmdTest : public ::testing::Test {
protected:
    CommoncmdTest() {
        setenv("TAQ_MESSAGES_DIR", "/nowhere", 1);
        initialization("cmd");
    }
    ~CommoncmdTest() override {
        drop_log_pair();
        Log::destroy();
    }

    static std::string error_line() {
        CaptureStderr();
        QEN_MESSAGE(_unified_logerr_function__, SEV_WARN, 0, 25, 30001, "no %s", "file");
        return GetCapturedStderr();
    }
};

TEST_F(CommoncmdTest, PairStandsOnTheStandardStreamsWithoutTimes) {
    struct sigaction action;
    ASSERT_EQ(0, sigaction(SIGIO, nullptr, &action));
    EXPECT_EQ(SIG_IGN, action.sa_handler);
    EXPECT_EQ(_unified_log_function__, Log_obj("cmd"));
    EXPECT_EQ(_unified_logerr_function__, Log_obj("cmd-err"));
    ASSERT_NE(_unified_log_function__, _unified_logerr_function__);

    EXPECT_EQ("QEN WARNING K-16-25-30001 no file\n", error_line());
    CaptureStdout();
    QEN_MESSAGE(_unified_log_function__, SEV_INFO, 0, 25, 0, "ready");
    EXPECT_EQ("QEN INFO K-16-25-0 ready\n", GetCapturedStdout());
}

TEST_F(CommoncmdTest, AnotherPairReplacesTheFirst) {
    use_log_pair("other", "other-err");
    EXPECT_EQ(nullptr, Log_obj("cmd"));
    EXPECT_EQ(nullptr, Log_obj("cmd-err"));
    EXPECT_EQ(_unified_log_function__, Log_obj("other"));
    EXPECT_EQ(_unified_logerr_function__, Log_obj("other-err"));
    EXPECT_EQ("QEN WARNING K-16-25-30001 no file\n", error_line()); // the stream stayed open

    use_log_pair("other", "other-err"); // the names are free again
    EXPECT_EQ(_unified_log_function__, Log_obj("other"));
    EXPECT_NE(nullptr, Log_obj("other-err"));
}

TEST_F(CommoncmdTest, OneLogInBothPlacesIsDeletedOnce) {
    delete _unified_logerr_function__;
    _unified_logerr_function__ = _unified_log_function__;
    drop_log_pair();
    EXPECT_EQ(nullptr, _unified_log_function__);
    EXPECT_EQ(nullptr, _unified_logerr_function__);
    EXPECT_EQ(nullptr, Log_obj("cmd"));
}

TEST(L10nConversion, LeavesTheArgumentsAsTheyAre) {
    char name[] = "taqmsg", word[] = "\xC3\xA4%x";
    char* argv[] = {name, word, nullptr};
    char* converted[] = {nullptr, nullptr};
    EXPECT_EQ(0, l10nconversion(converted, 2, argv));
    EXPECT_EQ(nullptr, converted[0]);
    EXPECT_EQ(nullptr, converted[1]);
    EXPECT_STREQ("\xC3\xA4%x", argv[1]);
}

} // namespace
