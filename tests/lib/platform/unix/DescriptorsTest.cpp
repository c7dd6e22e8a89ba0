// Descriptors that the library keeps, writing to a descriptor, and the count of forks.
#include "platform/unix/QENDescriptors.h"
#include "platform/unix/QENFork.h"
#include "platform/unix/QENPlatform.h"
#include "support/ChildProcess.h"
#include "support/Prelude.h"
#include "support/SystemCalls.h"
#include "support/TempDir.h"

TEST(WriteAll, GoesOnAfterShortWritesAndEndsWhenNothingIsTaken) {
    const TempDir dir;
    const std::tuple<std::vector<ssize_t>, int, const char*> cases[] = {
        {{2, -EINTR, 3, 5}, 0, "0123456789"}, {{4, -ENOSPC}, ENOSPC, "0123"}, {{3, 0}, EIO, "012"}};
    for (const auto& [results, error, arrived] : cases) {
        const int fd = open(dir.write("file", "").c_str(), O_WRONLY | O_CLOEXEC);
        plan("write", results);
        EXPECT_EQ(error == 0, QENWriteAll(fd, "0123456789", 10));
        EXPECT_TRUE(error == 0 || error == errno) << errno;
        system_call_plan = nullptr;
        close(fd);
        EXPECT_EQ(arrived, dir.read("file"));
    }
}

// In a process without its standard streams, as a daemon may be started.
TEST(Descriptors, KeptOnesAreNeverTheStandardStreamsAndEndWithExec) {
    EXPECT_EQ(0, in_child([] {
                  const auto is_kept = [](int fd) {
                      return fd >= 3 && (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0;
                  };
                  for (const int fd : {99, 2, 1, 0}) {
                      close(fd);
                      EXPECT_TRUE(is_kept(QENOpenDescriptor("/dev/null", O_RDONLY)));
                  }
                  for (const std::string mode : {"r", "r+", "w", "w+", "a", "a+"}) {
                      FILE* fp = QENOpenStream("/dev/null", mode.c_str());
                      EXPECT_TRUE(is_kept(fileno(fp)));
                      const int access = mode.size() > 1 ? O_RDWR : mode == "r" ? O_RDONLY : O_WRONLY;
                      const int append = mode[0] == 'a' ? O_APPEND : 0;
                      EXPECT_EQ(access | append, fcntl(fileno(fp), F_GETFL) & (O_ACCMODE | O_APPEND));
                  }
                  const int fd = QENOpenDescriptor("/dev/null", O_RDONLY);
                  EXPECT_TRUE(QENStreamOver(fd, "w") == nullptr && fcntl(fd, F_GETFD) == -1) << "closed";
                  EXPECT_TRUE(QENOpenStream("/dev/null", "x") == nullptr && errno == EINVAL);
                  EXPECT_TRUE(fcntl(0, F_GETFD) == -1 && fcntl(2, F_GETFD) == -1) << "not left open";
                  return testing::Test::HasFailure() ? 1 : 0;
              }));
}

TEST(ForkCount, AChildSeesAGreaterNumberThanItsParent) {
    const unsigned parent = QENForkCount();
    EXPECT_EQ(0, in_child([&] { return QENForkCount() == parent + 1 ? 0 : 1; }));
    EXPECT_EQ(parent, QENForkCount());
}
