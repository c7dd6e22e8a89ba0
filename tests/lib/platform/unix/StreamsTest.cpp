#include "platform/unix/QENStreams.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

// A non-blocking pipe under a stream.
class Pipe {
public:
    Pipe() {
        EXPECT_EQ(0, pipe2(_ends, O_CLOEXEC | O_NONBLOCK));
        stream = fdopen(_ends[1], "w");
    }
    ~Pipe() {
        if (stream != nullptr) fclose(stream);
        if (_ends[0] >= 0) close(_ends[0]);
    }
    std::string read_some(size_t most = 65536) const {
        std::string bytes(most, '\0');
        const ssize_t n = read(_ends[0], bytes.data(), most);
        return bytes.substr(0, n > 0 ? static_cast<size_t>(n) : 0);
    }
    void close_reader() {
        close(_ends[0]);
        _ends[0] = -1;
    }
    FILE* stream;

private:
    int _ends[2];
};

bool put(FILE* fp, const std::string& bytes, bool at_once) {
    return QENStreamWrite(fp, bytes.data(), bytes.size(), at_once) == bytes.size();
}

TEST(Streams, EveryByteArrivesThoughTheReaderIsSlow) {
    for (const bool at_once : {false, true}) {
        Pipe pipe;
        std::string sent, arrived;
        for (int i = 0; i < 2000; ++i)
            sent += std::string(static_cast<size_t>(i % 300), static_cast<char>('a' + i % 26)) + "\n";
        std::thread reader([&] {
            while (arrived.size() < sent.size()) {
                arrived += pipe.read_some(5000);
                usleep(200);
            }
        });
        for (size_t at = 0; at < sent.size(); at += 777)
            EXPECT_TRUE(put(pipe.stream, sent.substr(at, 777), at_once));
        EXPECT_TRUE(QENStreamFlush(pipe.stream));
        reader.join();
        EXPECT_EQ(sent, arrived) << at_once;
    }
}

TEST(Streams, BytesOfTheProgramKeepTheirPlace) {
    Pipe pipe;
    fputs("program ", pipe.stream);
    EXPECT_TRUE(put(pipe.stream, "waits ", /*at_once=*/false));
    EXPECT_EQ("", pipe.read_some());
    EXPECT_TRUE(put(pipe.stream, "now ", /*at_once=*/true));
    EXPECT_EQ("program waits now ", pipe.read_some());
    fputs("again", pipe.stream);
    EXPECT_TRUE(QENStreamFlush(pipe.stream));
    EXPECT_EQ("again", pipe.read_some());
}

TEST(Streams, WhatIsRefusedIsTold) {
    std::signal(SIGPIPE, SIG_IGN);
    Pipe pipe;
    pipe.close_reader();
    EXPECT_FALSE(put(pipe.stream, "x", /*at_once=*/true));
    EXPECT_TRUE(put(pipe.stream, "x", /*at_once=*/false));
    EXPECT_FALSE(QENStreamFlush(pipe.stream));
    std::signal(SIGPIPE, SIG_DFL);

    char memory[8];
    FILE* fp = fmemopen(memory, sizeof memory, "w");
    EXPECT_TRUE(put(fp, "abc", /*at_once=*/false));
    EXPECT_TRUE(QENStreamFlush(fp));
    EXPECT_STREQ("abc", memory);
    EXPECT_FALSE(put(fp, "too much for it", /*at_once=*/false) && QENStreamFlush(fp));
    fclose(fp);
}

} // namespace
