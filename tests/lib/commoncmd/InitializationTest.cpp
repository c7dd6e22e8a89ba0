#include <csignal>
#include <gtest/gtest.h>
#include <string>

#include "commoncmd/commoncmd.h"
#include "primitives/log/Log.h"

namespace {

TEST(Initialization, MakesAPairThatCanBeReplaced) {
    initialization("cmd");
    EXPECT_NE(nullptr, _unified_log_function__);
    EXPECT_EQ(Log_obj("cmd"), _unified_log_function__);
    EXPECT_EQ(Log_obj("cmd-err"), _unified_logerr_function__);
    struct sigaction action;
    sigaction(SIGIO, nullptr, &action);
    EXPECT_EQ(SIG_IGN, action.sa_handler);

    use_log_pair("read", "read-err");
    EXPECT_EQ(nullptr, Log_obj("cmd"));
    EXPECT_EQ(nullptr, Log_obj("cmd-err"));
    EXPECT_NE(nullptr, _unified_log_function__);
    EXPECT_EQ(Log_obj("read"), _unified_log_function__);
    EXPECT_EQ(Log_obj("read-err"), _unified_logerr_function__);

    drop_log_pair();
    EXPECT_EQ(nullptr, Log_obj("read"));
    EXPECT_EQ(nullptr, _unified_log_function__);
    EXPECT_EQ(nullptr, _unified_logerr_function__);
    Log::destroy();
}

TEST(Initialization, OneLogForBothStreamsIsDeletedOnce) {
    Log::init("QEN", "K-16", nullptr);
    _unified_log_function__ = _unified_logerr_function__ = new Log;
    drop_log_pair();
    EXPECT_EQ(nullptr, _unified_log_function__);
    EXPECT_EQ(nullptr, _unified_logerr_function__);
    Log::destroy();
}

} // namespace
