#include <csignal>
#include <gtest/gtest.h>
#include <string>

#include "commoncmd/commoncmd.h"
#include "primitives/log/Log.h"
#include "primitives/log/MessageSite.h"

namespace {

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

    // The pair goes by these names and writes to the standard streams, without times.
    static void expect_pair(const char* name, const char* err_name) {
        ASSERT_NE(nullptr, Log_obj(name));
        EXPECT_EQ(Log_obj(name), _unified_log_function__);
        EXPECT_EQ(Log_obj(err_name), _unified_logerr_function__);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        QEN_MESSAGE(_unified_log_function__, SEV_INFO, 0, 25, 0, "ready");
        QEN_MESSAGE(_unified_logerr_function__, SEV_WARN, 0, 25, 30001, "no %s", "file");
        EXPECT_EQ("QEN INFO K-16-25-0 ready\n", testing::internal::GetCapturedStdout());
        EXPECT_EQ("QEN WARNING K-16-25-30001 no file\n", testing::internal::GetCapturedStderr());
    }
};

TEST_F(CommoncmdTest, MakesAPairThatCanBeReplaced) {
    struct sigaction action;
    sigaction(SIGIO, nullptr, &action);
    EXPECT_EQ(SIG_IGN, action.sa_handler);
    expect_pair("cmd", "cmd-err");
    use_log_pair("other", "other-err");
    EXPECT_EQ(nullptr, Log_obj("cmd"));
    EXPECT_EQ(nullptr, Log_obj("cmd-err"));
    expect_pair("other", "other-err"); // the streams stayed open
    use_log_pair("other", "other-err");
    expect_pair("other", "other-err"); // the names were free again
}

TEST_F(CommoncmdTest, OneLogInBothPlacesIsDeletedOnce) {
    delete _unified_logerr_function__;
    _unified_logerr_function__ = _unified_log_function__;
    drop_log_pair();
    EXPECT_EQ(nullptr, _unified_log_function__);
    EXPECT_EQ(nullptr, _unified_logerr_function__);
    EXPECT_EQ(nullptr, Log_obj("cmd"));
}

} // namespace
