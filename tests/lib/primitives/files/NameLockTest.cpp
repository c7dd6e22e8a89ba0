#include "primitives/files/NameLock.h"
#include "support/ChildProcess.h"
#include "support/Prelude.h"
#include "support/TempDir.h"

using Holder = NameLock::Holder;

struct NameLockTest : testing::Test {
    Holder take(NameLock& lock, const std::string& name = "engine") const {
        return lock.take(folder.c_str(), name.c_str()).holder;
    }
    const TempDir temp;
    const std::string folder = temp.path() + "/";
};

TEST_F(NameLockTest, BelongsToOneProcess) {
    NameLock mine, second;
    ASSERT_EQ(Holder::NOBODY, take(mine));
    EXPECT_EQ(Holder::THIS_PROCESS, take(second));
    EXPECT_EQ(Holder::NOBODY, take(second, "other"));
    const auto other_sees = [this, parent = getpid()] {
        NameLock lock;
        const NameLock::Answer answer = lock.take(folder.c_str(), "engine");
        return answer.holder != Holder::OTHER_PROCESS || answer.pid != parent;
    };
    EXPECT_EQ(0, in_child(other_sees)) << "neither the refused attempt here nor one there has freed it";
    EXPECT_EQ(0, in_child([&] {
                  const bool believes = mine.is_held();
                  mine.release(); // the child's copy
                  return believes || other_sees();
              }));
    EXPECT_EQ(0, in_child(other_sees)) << "a child's end frees nothing";
    mine.release();
    second.release();
    EXPECT_TRUE(fs::is_empty(folder));
}

// As a user who may only read it; root becomes another one.
TEST_F(NameLockTest, OfAnotherUserIsSeenAndItsRemainsGiveWay) {
    fs::permissions(temp.path(), fs::perms::all);
    NameLock mine;
    const auto expect_other_finds = [&](Holder holder) {
        fs::permissions(folder + ".engine.lock", fs::perms(0444));
        EXPECT_EQ(0, in_child([&] {
                      NameLock theirs;
                      (void)setuid(65534);
                      return take(theirs) == holder && theirs.is_held() == (holder == Holder::NOBODY) ? 0 : 1;
                  }));
    };
    ASSERT_EQ(Holder::NOBODY, take(mine));
    expect_other_finds(Holder::OTHER_PROCESS);
    mine.release();
    ASSERT_EQ(0, in_child([&] { return take(mine) == Holder::NOBODY ? 0 : 1; }));
    expect_other_finds(Holder::NOBODY); // what a dead process left is free
}

// Whoever locks a file that its holder removed meanwhile must not believe that the name is his.
TEST_F(NameLockTest, ManyProcessesNeverHoldItTogether) {
    const std::string witness = folder + "witness";
    std::vector<pid_t> processes;
    for (int i = 0; i < 4; ++i)
        processes.push_back(start_child([&] {
            for (int round = 0; round < 500;) {
                NameLock lock;
                if (take(lock) != Holder::NOBODY) continue;
                const int fd = open(witness.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600);
                if (fd < 0) return 1;
                close(fd);
                unlink(witness.c_str());
                ++round;
            }
            return 0;
        }));
    for (const pid_t process : processes) EXPECT_EQ(0, wait_for(process));
}

TEST_F(NameLockTest, NamesThatCannotBeLockedMayBeWritten) {
    NameLock lock;
    fs::create_directory(folder + ".directory.lock");
    fs::create_symlink("elsewhere", folder + ".link.lock");
    for (const std::string name : {"missing/folder", "directory", "link"}) {
        EXPECT_EQ(Holder::NOBODY, take(lock, name)) << name;
        EXPECT_FALSE(lock.is_held()) << name;
    }
    EXPECT_FALSE(fs::exists(folder + "elsewhere"));
    EXPECT_EQ(Holder::NOBODY, take(lock, std::string(249, 'n')));
    EXPECT_TRUE(lock.is_held()) << "the longest name of a log";
}
