#include "platform/unix/QENStreams.h"
#include "support/Prelude.h"

static bool put(FILE* fp, const std::string& bytes, bool at_once) {
    return QENStreamWrite(fp, bytes.data(), bytes.size(), at_once) == bytes.size();
}

TEST(Streams, TakeTheirBytesInOrderAndTellWhatTheyRefuse) {
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC | O_NONBLOCK));
    FILE* stream = fdopen(ends[1], "w");
    const auto read_some = [&] {
        char bytes[5000];
        const ssize_t n = read(ends[0], bytes, sizeof bytes);
        return std::string(bytes, n > 0 ? static_cast<size_t>(n) : 0);
    };
    fputs("program ", stream);
    EXPECT_TRUE(put(stream, "waits ", /*at_once=*/false));
    EXPECT_EQ("", read_some());
    EXPECT_TRUE(put(stream, "now ", /*at_once=*/true));
    EXPECT_EQ("program waits now ", read_some());
    for (const bool at_once : {false, true}) { // to a reader that is slow
        std::string sent, arrived;
        for (size_t i = 0; i < 2000; ++i) sent.append(i % 300, static_cast<char>('a' + i % 26)).append("\n");
        std::thread reader([&] {
            for (; arrived.size() < sent.size(); usleep(200)) arrived += read_some();
        });
        for (size_t at = 0; at < sent.size(); at += 777)
            EXPECT_TRUE(put(stream, sent.substr(at, 777), at_once));
        EXPECT_TRUE(QENStreamFlush(stream));
        reader.join();
        EXPECT_EQ(sent, arrived) << at_once;
    }
    std::signal(SIGPIPE, SIG_IGN);
    close(ends[0]);
    EXPECT_FALSE(put(stream, "x", /*at_once=*/true));
    EXPECT_TRUE(put(stream, "x", /*at_once=*/false));
    EXPECT_FALSE(QENStreamFlush(stream));
    fclose(stream);

    char memory[8];
    stream = fmemopen(memory, sizeof memory, "w"); // has no descriptor
    EXPECT_TRUE(put(stream, "abc", /*at_once=*/false) && QENStreamFlush(stream));
    EXPECT_STREQ("abc", memory);
    EXPECT_FALSE(put(stream, "too much for it", /*at_once=*/false) && QENStreamFlush(stream));
    fclose(stream);
}
