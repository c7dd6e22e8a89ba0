// What a power cut may leave of a service's logs, and what reader and writer make of it. Records the calls of
// some runs of a writer, builds from each moment the states of the disk that a cut at that moment may leave,
// and opens each of them: first with the reader, then with a writer that goes on. What the reader cannot show
// whole is recovered.
//
// A cut leaves any version of each 4 KiB page since the file was last synced, any size that the file had
// since, with zeros where pages are missing, and the changes of names up to any one since the directory was
// synced.
//
// POWERCUT_STATES in the environment: states of each moment (5). POWERCUT_FOLDER: gets the damaged log data
// files that the reader meets, the shortest of each kind.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sys/resource.h>
#include <utility>

#include "Recorder.h"
#include "Recovered.h"
#include "primitives/ldf/LdfReader.h"
#include "primitives/log/Log.h"
#include "primitives/log/LogQueue.h"
#include "primitives/message/MsgStruct.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t PAGE = 4096;
constexpr int MESSAGES = 75;          // of a run: several rotations
constexpr rlim_t FILE_LIMIT = 33'000; // and small files
constexpr int AFTERWARDS = 99'999;    // the message of the writer that goes on

std::string text_of(int number) {
    char text[16];
    std::snprintf(text, sizeof text, "number %05d ", number);
    return text;
}

// ---- The writer's run

struct Recording {
    std::string level;
    bool gathers; // as the logger thread does
    std::vector<DiskEvent> events = {};
    std::map<size_t, std::vector<int>> synced = {}; // messages that are on the disk behind so many events

    friend void PrintTo(const Recording& r, std::ostream* out) { *out << r.level; }
};

std::unique_ptr<Log> opened() {
    auto log = std::make_unique<Log>();
    EXPECT_EQ(ULOG_OK, log->open("engine", nullptr, 0, nullptr));
    return log;
}

void send(Log& log, int number, int sev, RecordWriter* writer) {
    const std::string filling(static_cast<size_t>(number) * 7919 % 1900, '.'), start = text_of(number);
    auto msgp = std::make_unique<MsgStruct>();
    msgp->add_elem(MSGID_TEXT, (start + filling).c_str(), 0);
    for (const std::string& arg : {start, filling}) msgp->append_elem(MSGID_ARGS, arg.c_str(), 0);
    const LogCall call(1, sev, "f", "g", 1, ULOG_NO_EVENT, 100, 1);
    if (writer == nullptr) return log.write_log(1, sev, "f", "g", 1, call.flags, 100, 1, nullptr, msgp.get());
    auto* record = new vlog_msg_t(&log, call, /*debug_text=*/nullptr, msgp.release());
    record->is_to_log = true;
    writer->write(record);
}

void record(Recording& run) {
    setenv("QEN_LOG_SYNC", run.level.c_str(), 1);
    const int synced_sev = run.level == "all" ? SEV_INFO : run.level == "error" ? SEV_ERR : -1;
    Recorder::events = &run.events;
    {
        const auto log = opened();
        RecordWriter writer(std::chrono::hours(1));
        std::vector<int> batch;
        for (int number = 0; number < MESSAGES; ++number) {
            const int sev = number % 3 == 1 ? SEV_ERR : number % 17 == 0 ? SEV_CRIT : SEV_INFO;
            send(*log, number, sev, run.gathers ? &writer : nullptr);
            if (sev <= synced_sev) batch.push_back(number);
            if (run.gathers && number % 5 != 4) continue;
            writer.flush();
            run.synced[run.events.size()] = std::exchange(batch, {});
        }
        EXPECT_EQ(0u, log->losses().lines_lost() + log->losses().records_lost());
    }
    Recorder::events = nullptr;
    unsetenv("QEN_LOG_SYNC");
}

// ---- The states that a cut may leave

using Names = std::map<std::string, int>; // which file each path stands for

void change(Names& names, const DiskEvent& e) {
    if (e.kind == DiskEvent::CREATE) names[e.path] = e.file;
    if (e.kind == DiskEvent::LINK || e.kind == DiskEvent::RENAME) names[e.second] = names.at(e.path);
    if (e.kind == DiskEvent::UNLINK || e.kind == DiskEvent::RENAME) names.erase(e.path);
}

void put(std::string& content, const DiskEvent& write, size_t from, size_t to) {
    const auto offset = static_cast<size_t>(write.offset);
    from = std::max(from, offset);
    to = std::min({to, offset + write.bytes.size(), content.size()});
    if (from < to) content.replace(from, to - from, write.bytes, from - offset, to - from);
}

struct File {
    std::string synced;
    std::vector<const DiskEvent*> unsynced;

    size_t size_after(size_t writes) const {
        size_t size = synced.size();
        for (size_t i = 0; i < writes; ++i)
            size = std::max(size, static_cast<size_t>(unsynced[i]->offset) + unsynced[i]->bytes.size());
        return size;
    }
    // writes_of(page): how many of the unsynced writes have reached it.
    template <class WritesOf>
    std::string content(size_t size, const WritesOf& writes_of) const {
        std::string all = synced;
        all.resize(size);
        for (size_t page = 0; page * PAGE < size && !unsynced.empty(); ++page)
            for (size_t i = 0, n = writes_of(page); i < n; ++i)
                put(all, *unsynced[i], page * PAGE, (page + 1) * PAGE);
        return all;
    }
    std::string newest() const {
        return content(size_after(unsynced.size()), [this](size_t) { return unsynced.size(); });
    }
};

using State = std::map<std::string, std::string>; // paths and contents

class Disk {
public:
    void apply(const DiskEvent& e) {
        if (e.kind == DiskEvent::WRITE) {
            _files[e.file].unsynced.push_back(&e);
        } else if (e.kind == DiskEvent::SYNC) {
            _files[e.file] = {_files[e.file].newest(), {}};
        } else if (e.kind == DiskEvent::SYNC_NAMES) {
            std::erase_if(_pending, [&](const DiskEvent* change_of_name) {
                const bool is_here = fs::path(change_of_name->path).parent_path() == e.path;
                if (is_here) change(_names, *change_of_name);
                return is_here;
            });
        } else {
            _files[e.file];
            _pending.push_back(&e);
        }
    }

    // way 0: the oldest that may be left, 1: the newest, 2: names and sizes without data, 3: these and the
    // first pages, 4: the first pages only; others by chance.
    State cut(int way, std::mt19937& chance) const {
        const auto some = [&](size_t most, bool all) {
            return way > 4 ? chance() % (most + 1) : all ? most : 0;
        };
        Names names = _names;
        const size_t changes = some(_pending.size(), way != 0);
        for (size_t i = 0; i < changes; ++i) change(names, *_pending[i]);
        State state;
        std::map<int, std::string> contents; // a file may have several names
        for (const auto& [path, number] : names) {
            const File& file = _files.at(number);
            const size_t writes = file.unsynced.size();
            const size_t size = file.size_after(some(writes, way != 0 && way != 4));
            if (!contents.contains(number))
                contents[number] = file.content(
                    size, [&](size_t page) { return some(writes, way == 1 || (way > 2 && page == 0)); });
            state[path] = contents[number];
        }
        return state;
    }

    // Whether a message is in a file that has a name.
    bool has(int message) const {
        Names names = _names;
        for (const DiskEvent* e : _pending) change(names, *e);
        int found = 0;
        for (const char* folder : {"/log/", "/ldf/"})
            found += std::any_of(names.begin(), names.end(), [&](const auto& entry) {
                return entry.first.find(folder) != std::string::npos &&
                       _files.at(entry.second).newest().find(text_of(message)) != std::string::npos;
            });
        return found == 2;
    }

private:
    Names _names; // that are on the disk
    std::vector<const DiskEvent*> _pending;
    std::map<int, File> _files;
};

// ---- Reader and writer on a state

class Judge {
public:
    // is_never_ahead: all records are waited for, so a header counts none that the disk does not have.
    Judge(const TempDir& dir, bool is_never_ahead) : _dir(dir), _is_never_ahead(is_never_ahead) {}

    void judge(const State& state, const std::vector<int>& synced) {
        lay(state);
        const std::set<int> before = read();
        const std::string a = _dir.read("ldf/engine_A.ldf"), oldest = _dir.read("ldf/engine_C.ldf"),
                          oldest_text = _dir.read("log/engine_C.log");
        {
            const auto log = opened();
            send(*log, AFTERWARDS, SEV_INFO, nullptr);
            EXPECT_EQ(0u, log->losses().lines_lost() + log->losses().records_lost());
        }
        const std::set<int> after = read();
        EXPECT_TRUE(after.contains(AFTERWARDS)) << "the writer goes on";
        const bool is_aside = fs::exists(_dir.path("ldf/engine_A.ldf.err"));
        set_aside += is_aside;
        const std::string aside = is_aside ? _dir.read("ldf/engine_A.ldf.err") : std::string();
        EXPECT_TRUE(!is_aside || aside == a) << "set aside as it was";
        const std::string texts = _dir.read("log/engine_A.log") + _dir.read("log/engine_B.log") +
                                  _dir.read("log/engine_C.log") + oldest_text;
        EXPECT_TRUE(has(texts, text_of(AFTERWARDS)));
        for (const int message : synced) {
            const std::string text = text_of(message), whole = record_text(message);
            const bool is_read = after.contains(message) || (before.contains(message) && has(oldest, whole));
            EXPECT_TRUE(is_read || has(aside, whole)) << "the record of " << text;
            EXPECT_TRUE(has(texts, text)) << "the line of " << text;
        }
    }

    long recovered = 0;                  // records, from damaged files
    long ended_early = 0, set_aside = 0; // files that the reader does not show whole, that are not continued
    std::map<std::string, std::string> damaged; // the shortest file of each kind, by the reader's results

private:
    static bool has(const std::string& bytes, const std::string& part) {
        return bytes.find(part) != std::string::npos;
    }
    static std::string record_text(int number) {
        const std::string filling(static_cast<size_t>(number) * 7919 % 1900, '.');
        return "g\xff"
               "f\xff" +
               text_of(number) + '\xff' + (filling.empty() ? " " : filling) + '\xff';
    }
    void lay(const State& state) const {
        for (const char* folder : {"log", "ldf"}) {
            remove_tree(_dir.path(folder));
            fs::create_directory(_dir.path(folder));
        }
        for (const auto& [path, content] : state) std::ofstream(path, std::ios::binary) << content;
    }
    // The messages that the reader shows; damaged files are kept.
    std::set<int> read() {
        std::set<int> numbers;
        for (const char* name : {"engine_A", "engine_B", "engine_C"}) {
            LdfReader reader;
            int rc = reader.open(nullptr, name);
            const int opened_with = rc;
            LdfRecordView view;
            int records = 0;
            while (rc == LDF_OK && (rc = reader.next_record({}, view)) == LDF_OK) {
                ++records;
                if (view.argc() > 0) numbers.insert(std::atoi(std::string(view.argv()[0]).c_str() + 7));
            }
            const std::string file = std::string("ldf/") + name + ".ldf";
            if (rc == LDF_EEND && records == reader.get_header()->total_msgs) continue;
            if (!fs::exists(_dir.path(file))) continue;
            ++ended_early;
            const std::string bytes = _dir.read(file);
            const bool is_new = bytes.size() < LDF_HEADER_SIZE || bytes.starts_with(std::string(4, '\0'));
            EXPECT_TRUE(is_new || !_is_never_ahead) << "a header is ahead of its records";
            recover(bytes);
            const std::string kind = std::to_string(opened_with) + "-" + std::to_string(rc);
            std::string& kept = damaged[kind];
            if (kept.empty() || (!bytes.empty() && bytes.size() < kept.size())) kept = bytes;
        }
        return numbers;
    }

    // Every whole record that is somewhere in the file comes back, in order.
    void recover([[maybe_unused]] const std::string& bytes) {
#ifdef TAQ_HAS_RECOVERY
        std::vector<std::string> there;
        for (size_t at = 0; at + LDF_RECORD_HEADER_SIZE < bytes.size(); ++at) {
            const uint32_t size = from_be(bytes.substr(at, 4));
            if (size < 2 || size > LDF_TEXT_MAX || bytes.size() - at < LDF_RECORD_HEADER_SIZE + size)
                continue;
            const std::string record = bytes.substr(at, LDF_RECORD_HEADER_SIZE + size);
            const std::string text = record.substr(LDF_RECORD_HEADER_SIZE);
            if (text.find('\0') == size - 1 &&
                text.starts_with("g\xff"
                                 "f\xffnumber ") &&
                text[size - 2] == '\xff')
                there.push_back(record);
        }
        const std::vector<std::string> back = recovered_records(bytes, _dir.path("recovered.ldf"));
        EXPECT_EQ(there, back);
        recovered += static_cast<long>(back.size());
#endif
    }

    const TempDir& _dir;
    const bool _is_never_ahead;
};

size_t hash_of(const State& state) {
    size_t hash = 0;
    for (const auto& [path, content] : state)
        hash = hash * 31 + std::hash<std::string>()(path) * 7 + std::hash<std::string>()(content);
    return hash;
}

class PowerCutTest : public testing::TestWithParam<Recording> {
protected:
    PowerCutTest() {
        for (const char* var : {"TAQ_LOG", "TAQ_LDF"}) setenv(var, _dir.path().c_str(), 1);
        for (const char* folder : {"log", "ldf"}) _dir.make(folder);
        getrlimit(RLIMIT_FSIZE, &_before);
        const rlimit small = {FILE_LIMIT, _before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        Recorder::root = _dir.path();
        Log::init("QEN", "K-16", nullptr);
        LdfReader::init();
    }
    ~PowerCutTest() override {
        Log::destroy();
        setrlimit(RLIMIT_FSIZE, &_before);
    }

    // Of each moment some states; the same one is judged once.
    void cut_everywhere(const Recording& run, int states_of_each) {
        std::mt19937 chance(1);
        Disk disk;
        std::vector<int> synced;
        for (size_t done = 1; done <= run.events.size(); ++done) {
            disk.apply(run.events[done - 1]);
            if (const auto more = run.synced.find(done); more != run.synced.end())
                synced.insert(synced.end(), more->second.begin(), more->second.end());
            std::erase_if(synced, [&](int message) { return !disk.has(message); }); // rotated away
            for (int way = 0; way < states_of_each; ++way) {
                SCOPED_TRACE(testing::Message() << "call " << done << ", way " << way);
                const State state = disk.cut(way, chance);
                if (_states[hash_of(state)].insert(synced).second) judge.judge(state, synced);
                if (HasFailure()) return;
            }
        }
    }

    const TempDir _dir;
    Judge judge{_dir, GetParam().level == "all"};
    std::map<size_t, std::set<std::vector<int>>> _states; // and for which messages they were judged
    rlimit _before;
};

TEST_P(PowerCutTest, LosesNothingThatWasWaitedFor) {
    const char* const states = std::getenv("POWERCUT_STATES");
    const char* const folder = std::getenv("POWERCUT_FOLDER");
    Recording run = GetParam();
    record(run);
    cut_everywhere(run, states != nullptr ? std::atoi(states) : 5);
    EXPECT_LT(100u, _states.size());
    std::printf("%s%s: %zu calls, %zu states, of which %ld have a file that the reader cannot show whole, "
                "and %ld one "
                "that is set aside; %ld records recovered\n",
                run.level.c_str(), run.gathers ? ", gathered" : "", run.events.size(), _states.size(),
                judge.ended_early, judge.set_aside, judge.recovered);
    for (const auto& [kind, bytes] : judge.damaged)
        if (folder != nullptr)
            std::ofstream(std::string(folder) + "/" + run.level + "-" + kind + ".ldf", std::ios::binary)
                << bytes;
}

INSTANTIATE_TEST_SUITE_P(Runs, PowerCutTest,
                         testing::Values(Recording{"none", false}, Recording{"none", true},
                                         Recording{"error", false}, Recording{"error", true},
                                         Recording{"all", false}, Recording{"all", true}),
                         [](const auto& run) {
                             return run.param.level + (run.param.gathers ? "Gathered" : "");
                         });

} // namespace
