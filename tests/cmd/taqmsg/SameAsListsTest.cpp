// The command shows records straight from the reader's window. Programs take them as lists and hand these to
// the log. Both must print the same bytes.
#include <clocale>
#include <random>

#include "cmd/taqmsg/CommandTest.h"
#include "primitives/ldf/LdfReader.h"
#include "primitives/log/Log.h"
#include "primitives/values/VList.h"

namespace {

class SameAsListsTest : public CommandTest {
protected:
    // What a program prints that shows each record by its list, in the environment of the command.
    std::string shown_through_lists(const std::string& name) const {
        CapturedStream out;
        fflush(stdout);
        const pid_t pid = fork();
        if (pid == 0) {
            for (const auto& [variable, value] : env) setenv(variable.c_str(), value.c_str(), 1);
            dup2(out.fd(), STDOUT_FILENO);
            show_through_lists(name.c_str());
            fflush(stdout);
            _exit(0);
        }
        EXPECT_EQ(0, wait_for(pid));
        return out.text();
    }

    static void show_through_lists(const char* name) {
        setlocale(LC_ALL, "");
        Log::init("QEN", "K-16", nullptr);
        LdfReader::init();
        Log log;
        log.open("lists", stdout, ULOG_NO_TIME | ULOG_NO_EVENT, nullptr);
        LdfReader reader;
        if (reader.open(nullptr, name) != LDF_OK) _exit(2);
        ldf_msg_header_t header;
        ldf_dbg_info_t dbg;
        VList* args = nullptr;
        while (reader.get_next(LDF_ANY_ID, LDF_ANY_ID, static_cast<char>(LDF_ANY_CODE),
                               static_cast<char>(LDF_ANY_CODE), nullptr, &header, &dbg, &args, 0) == LDF_OK) {
            log.display_ldf_entry(header.sev, header.obj_type, header.timestamp,
                                  static_cast<int>(header.msgcat_id), args, 0);
            delete args;
        }
    }

    // A file of varied records: every kind of identity, severity, time step, argument count and length.
    static LdfBuilder varied(unsigned seed) {
        std::mt19937 random(seed);
        const auto pick = [&](uint32_t below) { return static_cast<uint32_t>(random() % below); };
        const uint16_t categories[] = {25, 100, 100, 100, 10000, 65534, 40000, 0};
        const size_t lengths[] = {0, 1, 3, 10, 60, 600};
        LdfBuilder file;
        int32_t time = 1794854291;
        for (int i = 0; i < 400; ++i) {
            LdfTestRecord r;
            r.sev = static_cast<uint8_t>(pick(10) == 0 ? pick(256) : pick(5));
            r.obj = static_cast<uint8_t>(pick(256));
            r.cat = categories[pick(8)];
            r.num = static_cast<uint16_t>(pick(4) == 0 ? pick(65536) : pick(18));
            r.time = time += static_cast<int32_t>(pick(3) == 0 ? pick(2000000) : pick(3));
            if (pick(50) == 0) r.time = static_cast<int32_t>(random());
            for (uint32_t n = pick(9); n > 0; --n) {
                std::string arg(lengths[pick(6)], ' ');
                for (char& c : arg) c = static_cast<char>(1 + pick(254)); // not NUL, not the separator
                r.args.push_back(arg);
            }
            if (pick(30) == 0) r.args = {std::string(4000, 'x')};
            if (pick(30) == 0) r.text = std::string(pick(8), '\xFF') + "a\xFF" + std::string(pick(3), '\0');
            file.record(r);
        }
        return file;
    }
};

TEST_F(SameAsListsTest, VariedRecords) {
    env["TAQ_MESSAGES_DIR"] = TAQ_TEST_CATALOGS;
    env["TZ"] = "Europe/Berlin";
    for (unsigned seed = 1; seed <= 3; ++seed) {
        SCOPED_TRACE(seed);
        for (const char* lang : {"en", "de", "ja"}) {
            SCOPED_TRACE(lang);
            env["QENI18N_LANG"] = lang;
            write("f", varied(seed));
            const std::string expected = shown_through_lists("f");
            EXPECT_GT(expected.size(), 10000u);
            EXPECT_EQ(expected, run({"f"}).out);
            EXPECT_EQ(expected, run({"-tail", "1000", "f"}).out);
        }
    }
    env["TAQ_MESSAGES_DIR"] = "/nowhere";
    EXPECT_EQ(shown_through_lists("f"), run({"f"}).out);
}

} // namespace
