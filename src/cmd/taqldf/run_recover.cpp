// Puts the parts together: input, recovery, report, and the new file, which gets its name when it is found
// whole.
#include "run_recover.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>

#include "FileCheck.h"
#include "GroupedNumber.h"
#include "InputBytes.h"
#include "Inputs.h"
#include "Languages.h"
#include "MessageTexts.h"
#include "Progress.h"
#include "Recovery.h"
#include "RecoveryReport.h"
#include "platform/unix/QENDescriptors.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/files/FileIo.h"

namespace {

// The new file under its first name; gone when it does not get the other.
class NewFile {
public:
    explicit NewFile(std::string path) : _path(std::move(path)), _unfinished(_path + ".unfinished") {}
    ~NewFile() {
        if (_fd < 0) return;
        if (is_mine()) (void)QENRemoveName(_unfinished.c_str());
        QENCloseDescriptor(_fd);
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    // False with errno set. EEXIST: the name is taken.
    bool create() {
        QENFileState state;
        errno = EEXIST;
        if (QENStateOfName(_path.c_str(), state)) return false;
        _fd = file_create(_unfinished.c_str(), "", QENAccess::UPDATE);
        return _fd >= 0;
    }
    // The disk has the file, and it takes the name unless somebody else has taken it. False with errno set.
    bool publish() {
        if (!QENSyncData(_fd)) return false;
        errno = EEXIST;
        if (!is_mine()) return false; // another recover has begun
        if (QENLinkFile(_unfinished.c_str(), _path.c_str())) return true;
        QENFileState state;
        if (errno == EEXIST || QENStateOfName(_path.c_str(), state)) return false;
        return std::rename(_unfinished.c_str(), _path.c_str()) == 0; // a file system without hard links
    }
    int fd() const { return _fd; }

private:
    bool is_mine() const {
        QENFileState open, named;
        return QENStateOfOpen(_fd, open) && QENStateOfName(_unfinished.c_str(), named) &&
               open.is_same_file(named);
    }

    const std::string _path, _unfinished;
    int _fd = -1;
};

// The one file that the argument means; an empty path with the reason told.
std::string find_file(const std::string& word, Problems& problems) {
    std::vector<LogInput> inputs;
    find_input(word, inputs, problems);
    if (inputs.empty()) return {};
    if (inputs.size() == 1 && inputs[0].files.size() == 1 && !inputs[0].is_standard_input)
        return inputs[0].files[0].path;
    problems.failure("'" + word + "' is not one file");
    return {};
}

void suspect_unknown_messages(std::vector<SuspectRecord>& suspects) {
    MessageTexts texts;
    if (suspects.empty() || languages_with_catalogs().empty() || !texts.open(nullptr)) return;
    for (SuspectRecord& suspect : suspects)
        if (texts.of(suspect.msgcat_id).kind == KnownMessage::UNKNOWN) suspect.why |= SuspectRecord::TEXT;
}

// What was written is judged like any other file.
bool is_whole(int fd, int64_t records, int64_t now, std::string& reason) {
    LdfFileBytes bytes(fd);
    const FileVerdict verdict = check_file(bytes, now);
    reason = verdict.reason;
    return verdict.kind == FileVerdict::WHOLE && verdict.records == records && verdict.tail_size == 0;
}

bool save(int input, const Options& options, RecoveryReport& report, RecoveryResult& result,
          Problems& problems) {
    NewFile file(options.output);
    const auto fail = [&](const std::string& path, int why) {
        problems.failure(path + ": " + std::strerror(why));
        return false;
    };
    if (!file.create()) return fail(options.output, errno);
    const RecoverySettings settings{time(nullptr), options.host, options.keep_repeats};
    LdfFileBytes input_file(input);
    InputBytes bytes(input_file);
    RecoveredFile output(file.fd());
    report.begin(bytes.size());
    result = Recovery(bytes, settings, output, [&](const RecoveredRange& range) { report.put(range); }).run();
    if (result.error != 0)
        return fail(result.has_read_failed ? options.inputs[0] : options.output, result.error);
    if (bytes.unreadable() > 0) // what is behind them was looked for all the same
        problems.failure(options.inputs[0] + ": " + counted(bytes.unreadable(), "byte") + " cannot be read");
    suspect_unknown_messages(result.suspects);
    if (result.records > 0) {
        std::string reason;
        if (!is_whole(file.fd(), result.records, settings.now, reason)) {
            problems.failure(options.output + ": the new file is not whole: " + reason);
            return false;
        }
        if (!file.publish()) return fail(options.output, errno);
    }
    return true;
}

// Whether a file that is about to be written, or the name that it has until then, is the input: it would be
// replaced, and may be all that is left of the records.
bool is_input(const std::string& path, const QENFileState& input, Problems& problems) {
    for (const std::string& name : {path, path + ".unfinished"}) {
        QENFileState state;
        if (!QENStateOfPath(name.c_str(), state) || !state.is_same_file(input)) continue;
        problems.failure(name + ": is the input");
        return true;
    }
    return false;
}

} // namespace

int run_recover(const Options& options) {
    (void)QENSigignore(SIGXFSZ); // a limit of the file size is a full disk
    Problems problems;
    const std::string path = find_file(options.inputs[0], problems);
    if (path.empty()) return problems.status(false);
    QENFileState state;
    const int input = file_open_regular(path.c_str(), QENAccess::READ, state);
    if (input < 0) {
        problems.failure(path + ": " + (errno == EINVAL ? "no regular file" : std::strerror(errno)));
        return problems.status(false);
    }
    RecoveryReport report(path, options, problems);
    RecoveryResult result;
    if (!is_input(options.output, state, problems) && !is_input(options.report, state, problems) &&
        report.open() && save(input, options, report, result, problems))
        report.end(result);
    QENCloseDescriptor(input);
    const int status = problems.status(result.records > 0);
    return status == TAQLDF_FOUND && !result.is_complete ? TAQLDF_DAMAGED : status;
}
