// taqmsg: shows log data files. See docs/taqmsg.1.
#include "taqmsg.h"

#include "commoncmd/commoncmd.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/ldf/LdfReader.h"
#include "primitives/log/Log.h"

#include <csignal>
#include <cstdio>
#include <vector>

char* cmdname = nullptr; // base name of the program path

namespace {

char unnamed[] = "taqmsg";
char* no_arguments[] = {unnamed, nullptr};

int process(int argc, char** argv) {
    std::vector<char*> converted(static_cast<size_t>(argc));
    if (l10nconversion(converted.data(), argc, argv) != 1) return taqmsg_process_args(argc, argv, nullptr, 0);
    const int rc = taqmsg_process_args(argc, converted.data(), nullptr, 0);
    for (char* argument : converted) delete[] argument;
    return rc;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 1) { // a caller may leave even the name out
        argc = 1;
        argv = no_arguments;
    }
    QENSigignore(SIGPIPE); // a reader of our output may stop early, as "head" does: no failure
    cmdname = QENCLIBasename(argv[0]);
    initialization(cmdname);
    use_log_pair("ldfread", "ldfread-err");
    LdfReader::init(nullptr);

    const int rc = process(argc, argv);

    drop_log_pair();
    Log::destroy();
    LdfReader::destroy();
    return rc;
}
