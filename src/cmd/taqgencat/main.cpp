// taqgencat: compiles message sources to the binary catalogs that the message lookup reads.

#include "CatalogCodec.h"
#include "CatalogLister.h"
#include "Checker.h"
#include "ModuleWriter.h"
#include "Options.h"
#include "SourceFiles.h"

#include <cstdio>

namespace {

using namespace gencat;

enum ExitStatus { DONE = 0, FAULTY = 1, FAILED = 2 };

ExitStatus fail(const std::string& reason) {
    std::fprintf(stderr, "taqgencat: %s\n", reason.c_str());
    return FAILED;
}

ExitStatus print(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0)
        return DONE;
    return fail("cannot write to standard output");
}

ExitStatus report(const Diagnostics& faults) {
    for (const std::string& line : faults.lines()) std::fprintf(stderr, "%s\n", line.c_str());
    return FAULTY;
}

ExitStatus list(const Options& options) {
    std::string bytes, error;
    if (!read_file(options.catalog, bytes, error)) return fail(error);
    MessageSet set;
    if (const char* reason = decode_catalog(bytes, set)) return fail(options.catalog + ": " + reason);
    return print(list_catalog(set, category_of_path(options.catalog)));
}

// Checks the translation and completes it. Messages that are filled in do not count as missing.
bool check_and_fill(const Options& options, const Messages& reference, const Messages& fillers,
                    Messages& messages, Diagnostics& faults) {
    fill_missing(messages, fillers);
    if (!options.check) return true;
    const bool texts_good = check_texts(messages, faults);
    return (options.references.empty() || check_translation(messages, reference, faults)) && texts_good;
}

ExitStatus write(const Options& options, Messages& messages) {
    drop_empty_sets(messages);
    if (messages.empty()) return fail("the sources hold no messages");
    std::string error;
    if (options.mode == Mode::Module) {
        const ModuleTarget target{options.root, options.module, options.language};
        return write_module(target, messages, error) ? DONE : fail(error);
    }
    if (messages.size() > 1) return fail("a catalog holds one set; write several with --module");
    return write_catalog(options.catalog, messages.begin()->second, error) ? DONE : fail(error);
}

ExitStatus compile(const Options& options) {
    const DefaultSet default_set = options.mode == Mode::Catalog ? DefaultSet::First : DefaultSet::None;
    Messages messages, reference, fillers;
    Diagnostics faults;
    std::string error;
    if (!load_sources(options.sources, default_set, messages, faults, error) ||
        !load_sources(options.references, default_set, reference, faults, error) ||
        !load_sources(options.fill_from, default_set, fillers, faults, error))
        return fail(error);
    if (!faults.empty() || !check_and_fill(options, reference, fillers, messages, faults))
        return report(faults);
    return options.mode == Mode::Check ? DONE : write(options, messages);
}

ExitStatus run(const std::vector<std::string>& arguments) {
    Options options;
    const std::string wrong = parse_options(arguments, options);
    if (!wrong.empty()) return fail(wrong + "\nTry 'taqgencat --help'.");
    switch (options.mode) {
    case Mode::Help: return print(USAGE_TEXT);
    case Mode::Version: return print("taqgencat " TAQ_VERSION "\n");
    case Mode::List: return list(options);
    default: return compile(options);
    }
}

} // namespace

int main(int argc, char** argv) {
    return run(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
