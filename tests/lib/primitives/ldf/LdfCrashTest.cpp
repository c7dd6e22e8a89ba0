// A writing process is killed at random moments, again and again; no record whose write had returned may be
// missing, doubled or damaged afterwards, and the next writer goes on with the same files.
#include <atomic>
#include <csignal>
#include <random>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "LdfFixture.h"

namespace fs = std::filesystem;

namespace {

constexpr int ROUNDS = 300;
constexpr int MAX_LIFE_US = 6000; // of one writer

// What the writer tells from beyond its death.
struct Shared {
    std::atomic<unsigned> started, returned; // records whose write was begun, has returned
};

std::string argument(unsigned seq) {
    return std::to_string(seq) + ":" + std::string(seq * 7919 % 3900, 'a');
}

} // namespace

class LdfCrashTest : public LdfFixture {
protected:
    [[noreturn]] void write_until_killed(Shared& shared) {
        LdfWriter w;
        if (w.open("log", 0) != LDF_OK) _exit(1);
        w.set_maxlen(LDF_MIN_MAXLEN);
        for (unsigned seq = shared.returned;; ++seq) {
            shared.started = seq + 1;
            write(w, seq, argument(seq));
            shared.returned = seq + 1;
        }
    }

    uintmax_t bytes_left() const {
        uintmax_t n = 0;
        for (const auto& entry : fs::directory_iterator(root + "/ldf"))
            if (entry.path().extension() == ".ldf") n += entry.file_size();
        return n;
    }
};

TEST_F(LdfCrashTest, KilledWriterLosesNoFinishedRecord) {
    auto* shared = static_cast<Shared*>(
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(MAP_FAILED, static_cast<void*>(shared));
    std::mt19937 random(20261116);
    int rotated = 0;
    for (int round = 0; round < ROUNDS; ++round) {
        SCOPED_TRACE(round);
        const unsigned had = shared->returned;
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) write_until_killed(*shared);
        int status;
        while (shared->started == had) { // until the writer is up
            ASSERT_EQ(0, waitpid(child, &status, WNOHANG)) << "the writer could not open its log";
            usleep(50);
        }
        usleep(static_cast<useconds_t>(random() % MAX_LIFE_US));
        kill(child, SIGKILL);
        ASSERT_EQ(child, waitpid(child, &status, 0));
        ASSERT_TRUE(WIFSIGNALED(status));

        const auto records = kept("log");
        for (const auto& r : records) ASSERT_EQ(std::vector{argument(r.header.seq)}, r.args);
        const Seqs all = seqs(records);
        if (all.empty()) {
            ASSERT_EQ(0u, shared->returned);
            shared->started = 0;
            continue;
        }
        const unsigned first = all.front(), last = all.back();
        for (size_t i = 0; i < all.size(); ++i) ASSERT_EQ(first + i, all[i]); // each exactly once
        ASSERT_GE(last + 1, shared->returned);
        ASSERT_LE(last + 1, shared->started); // at most the one in flight
        // Only whole old files are gone. A killed write may leave a part of a record that the next writer
        // counts before it overwrites it, so a file may be rotated that much early.
        ASSERT_TRUE(first == 0 || bytes_left() >= 2 * (LDF_MIN_MAXLEN - LDF_RECORD_MAX));
        ASSERT_FALSE(exists(path("log_A") + ".err"));
        rotated += first > 0;
        shared->returned = shared->started = last + 1;
    }
    EXPECT_GT(rotated, ROUNDS / 2); // else the rotation was not put to the test
    munmap(shared, sizeof *shared);
}
