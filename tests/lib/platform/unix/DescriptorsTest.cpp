// Descriptors that the library keeps, writing to a descriptor, and the count of forks.
#include "platform/unix/QENDescriptors.h"
#include "platform/unix/QENFork.h"
#include "platform/unix/QENPlatform.h"
#include "support/ChildProcess.h"
#include "support/Prelude.h"

// Stands in for write() in the library (linked with --wrap=write): the next results, -errno for a failure.
static std::vector<ssize_t> write_results;
static std::string written;
extern "C" ssize_t __real_write(int fd, const void* data, size_t n);
extern "C" ssize_t __wrap_write(int fd, const void* data, size_t n) {
    if (write_results.empty()) return __real_write(fd, data, n);
    const ssize_t result = write_results.front();
    write_results.erase(write_results.begin());
    if (result > 0) written.append(static_cast<const char*>(data), static_cast<size_t>(result));
    if (result < 0) errno = static_cast<int>(-result);
    return result < 0 ? -1 : result;
}

TEST(WriteAll, GoesOnAfterShortWritesAndEndsWhenNothingIsTaken) {
    const std::tuple<std::vector<ssize_t>, int, const char*> cases[] = {
        {{2, -EINTR, 3, 5}, 0, "0123456789"}, {{4, -ENOSPC}, ENOSPC, "0123"}, {{3, 0}, EIO, "012"}};
    for (const auto& [results, error, arrived] : cases) {
        written.clear();
        write_results = results;
        errno = 0;
        EXPECT_EQ(error == 0, QENWriteAll(-1, "0123456789", 10));
        EXPECT_TRUE(error == 0 || error == errno) << errno;
        EXPECT_EQ(arrived, written);
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
