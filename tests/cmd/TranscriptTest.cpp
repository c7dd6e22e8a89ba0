// Runs the sessions of a command in transcripts/: command lines of the shell with what they must print.
//
//   file f flags=1           a log data file, with words of its header; records follow
//   record times=25 num=0 <n>   25 records: fields, then arguments; <n> counts them
//   def export TZ=UTC        stands before every command from here on
//   $ taqmsg a ;; taqmsg b   commands; each of them gives what follows
//   > output                 a line of standard output; "! " of standard error; "? " the status when it is
//   not 0
//
// ";;" separates records, too. <root>, <catalogs>, <x*80>, \xC3 and 'two words' are replaced. Commands run in
// a folder of the session's own; $DATA is the folder data/. A session of taqmsg runs without catalogs and
// with the English ones, unless it sets TAQ_MESSAGES_DIR.
#include "support/LdfBuilder.h"
#include "support/Prelude.h"
#include "support/TempDir.h"

#include <regex>
#include <sys/wait.h>

namespace {

const std::map<std::string, size_t> header_words = {{"signature", 0}, {"major", 4},  {"platform", 45},
                                                    {"created", 49},  {"total", 57}, {"flags", 109},
                                                    {"end", 113}};

using R = LdfTestRecord;
template <auto Field>
void set(R& record, const std::string& value) {
    if constexpr (requires { record.*Field = value; })
        record.*Field = value;
    else
        record.*Field = static_cast<std::decay_t<decltype(record.*Field)>>(std::stoul(value));
}
const std::map<std::string, void (*)(R&, const std::string&)> record_fields = {
    {"sev", set<&R::sev>},         {"obj", set<&R::obj>},  {"cat", set<&R::cat>},   {"num", set<&R::num>},
    {"version", set<&R::version>}, {"seq", set<&R::seq>},  {"line", set<&R::line>}, {"file", set<&R::file>},
    {"func", set<&R::func>},       {"text", set<&R::text>}};

std::vector<std::string> split(const std::string& text) {
    static const std::regex separator(" *;; *");
    return {std::sregex_token_iterator(text.begin(), text.end(), separator, -1), {}};
}

class Transcript : public testing::Test {
public:
    Transcript(fs::path path, const std::string& catalogs) : _path(std::move(path)) {
        _dir.make("ldf");
        for (const std::string& variable :
             {"HOME=" + _dir.path(), "TAQ_LDF=" + _dir.path(), "TAQ_MESSAGES_DIR=" + catalogs,
              "DATA=" + (_path.parent_path() / "../data").string()})
            _environment += " '" + variable + "'";
        if (const char* options = getenv("ASAN_OPTIONS"))
            _environment += std::string(" ASAN_OPTIONS=") + options;
    }

    void TestBody() override {
        std::ifstream in(_path);
        for (std::string line; std::getline(in, line); ++_number)
            if (!line.empty() && !line.starts_with("//"))
                take(line[0], line.substr(line.find(' ') + 1), line);
        check_step();
    }

private:
    void take(char kind, const std::string& rest, const std::string& line) {
        if (kind == '>') return (void)(_out += expanded(line.size() > 1 ? rest : "") + "\n");
        if (kind == '!') return (void)(_err += expanded(line.size() > 1 ? rest : "") + "\n");
        if (kind == '?') return (void)(_status = std::stoi(rest));
        check_step();
        if (kind == '$')
            _commands = split(expanded(rest)), _step = _number;
        else if (kind == 'd')
            _definitions += expanded(rest) + "\n";
        else if (kind == 'f')
            begin_file(words(rest));
        else
            for (const std::string& each : split(rest)) add_records(each);
    }

    std::string expanded(const std::string& text, int n = 0) const {
        static const std::regex macro(R"(<(?:(.)\*(\d+)|(root|catalogs|n))>|\\x([0-9A-F]{2}))");
        std::string line, rest = text;
        for (std::smatch m; std::regex_search(rest, m, macro); rest = m.suffix().str()) {
            line += m.prefix();
            if (m[1].matched)
                line += std::string(std::stoul(m[2]), m.str(1)[0]);
            else if (m[4].matched)
                line += static_cast<char>(std::stoi(m[4], nullptr, 16));
            else
                line += m[3] == "n" ? std::to_string(n) : m[3] == "root" ? _dir.path() : TAQ_TEST_CATALOGS;
        }
        return line + rest;
    }

    std::vector<std::string> words(const std::string& line, int n = 0) const {
        static const std::regex word(R"((?:'[^']*'|[^\s'])+)");
        std::vector<std::string> found(std::sregex_token_iterator(line.begin(), line.end(), word), {});
        for (std::string& each : found) {
            std::erase(each, '\'');
            each = expanded(each, n);
        }
        return found;
    }

    void begin_file(const std::vector<std::string>& settings) {
        _file = settings[0];
        _ldf = LdfBuilder();
        for (size_t i = 1; i < settings.size(); ++i) {
            const size_t equal = settings[i].find('=');
            const std::string field = settings[i].substr(0, equal), value = settings[i].substr(equal + 1);
            field == "system" ? _ldf.system(value)
                              : _ldf.put32(header_words.at(field), static_cast<uint32_t>(std::stol(value)));
        }
        write_file();
    }
    void write_file() const { _ldf.write(_dir.path("ldf/" + _file + ".ldf")); }

    void add_records(const std::string& line) {
        const bool many = line.starts_with("times="), all_alike = line.find("<n>") == std::string::npos;
        const int count = many ? std::stoi(line.substr(6)) : 1;
        LdfTestRecord record;
        for (int n = 1; n <= count; ++n) {
            if (n == 1 || !all_alike) record = record_of(words(many ? line.substr(line.find(' ')) : line, n));
            _ldf.record(record);
        }
        write_file();
    }
    static LdfTestRecord record_of(const std::vector<std::string>& settings) {
        LdfTestRecord record;
        for (const std::string& word : settings) {
            const size_t equal = word.find('=');
            const auto field = record_fields.find(word.substr(0, equal));
            if (equal == std::string::npos || field == record_fields.end())
                record.args.push_back(word);
            else
                field->second(record, word.substr(equal + 1));
        }
        return record;
    }

    void check_step() {
        for (const std::string& command : std::exchange(_commands, {})) {
            SCOPED_TRACE(_path.filename().string() + ":" + std::to_string(_step) + ": $ " +
                         command.substr(0, 99));
            _streams.write("script", "cd\n" + _definitions + command);
            const int status = std::system(("cd '" + _streams.path() +
                                            "'; exec env -i TZ=UTC LC_ALL=C 'LOCPATH=" TAQ_TEST_LOCALES
                                            "' 'PATH=" TAQ_COMMAND_FOLDER ":/usr/bin:/bin'" +
                                            _environment + " sh script </dev/null >out 2>err")
                                               .c_str());
            EXPECT_EQ(_out, _streams.read("out"));
            EXPECT_EQ(_err, _streams.read("err"));
            EXPECT_EQ(_status, WEXITSTATUS(status));
        }
        _out = _err = "";
        _status = 0;
    }

    const fs::path _path;
    const TempDir _dir, _streams;
    std::vector<std::string> _commands;
    std::string _environment, _definitions, _file, _out, _err;
    LdfBuilder _ldf;
    int _status = 0, _number = 1, _step = 0;
};

[[maybe_unused]] const bool registered = [] {
    for (const auto& entry : fs::directory_iterator(TAQ_TRANSCRIPTS)) {
        const fs::path path = entry.path();
        std::ifstream in(path);
        const std::string text{std::istreambuf_iterator<char>(in), {}};
        std::map<std::string, std::string> variants = {{"", "/no-catalogs"}};
        if (*TAQ_TEST_CATALOGS != '\0' && text.find("TAQ_MESSAGES_DIR") == std::string::npos)
            variants["InEnglish"] = TAQ_TEST_CATALOGS;
        for (const auto& variant : variants)
            testing::RegisterTest("Transcript", (path.stem().string() + variant.first).c_str(), nullptr,
                                  nullptr, path.c_str(), 1,
                                  [=]() -> testing::Test* { return new Transcript(path, variant.second); });
    }
    return true;
}();

} // namespace
