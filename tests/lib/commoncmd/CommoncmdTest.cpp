#include "commoncmd/commoncmd.h"
#include "platform/unix/QENThread.h"
#include "primitives/log/Log.h"
#include "primitives/log/MessageSite.h"
#include "support/Prelude.h"

TEST(Commoncmd, PairOfLogsCanBeReplacedAndIsDroppedOnce) {
    setenv("TAQ_MESSAGES_DIR", "/nowhere", 1);
    initialization("cmd");
    for (int i = 0; i < 2; ++i) use_log_pair("other", "other-err"); // the names are free again
    EXPECT_TRUE(Log_obj("cmd") == nullptr && Log_obj("other") == _unified_log_function__);
    testing::internal::CaptureStdout(), testing::internal::CaptureStderr();
    QEN_MESSAGE(_unified_log_function__, SEV_INFO, 0, 25, 0, "ready");
    QEN_MESSAGE(_unified_logerr_function__, SEV_WARN, 0, 25, 30001, "no %s", "file");
    EXPECT_EQ(ESRCH, QENThreadJoin(0x1000, nullptr)); // which is reported to the users of the command
    EXPECT_EQ("QEN INFO K-16-25-0 ready\n"
              "QEN WARNING K-16-25-13163 Could not join thread(4096) - No such thread\n",
              testing::internal::GetCapturedStdout());
    EXPECT_EQ("QEN WARNING K-16-25-30001 no file\n", testing::internal::GetCapturedStderr());
    delete _unified_logerr_function__;
    _unified_logerr_function__ = _unified_log_function__; // one log in both places
    drop_log_pair();
    EXPECT_EQ(nullptr, Log_obj("other"));
    Log::destroy();
}
