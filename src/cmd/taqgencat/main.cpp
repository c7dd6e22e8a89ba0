// taqgencat: compiles message sources to the binary catalogs that the message lookup reads.

#include "CatalogCodec.h"
#include "CatalogLister.h"
#include "Checker.h"
#include "HeaderWriter.h"
#include "JournalCatalog.h"
#include "ModuleWriter.h"
#include "Options.h"
#include "SourceFiles.h"

#include <cstdio>

namespace {

using namespace gencat;

constexpr char REFERENCE_LANGUAGE[] = "en"; // in which the lookup looks when a language has no catalogs

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

ExitStatus list(const Options& options) {
    std::string bytes, error;
    if (!read_file(options.catalog, bytes, error)) return fail(error);
    MessageSet set;
    if (const char* reason = decode_catalog(bytes, set)) return fail(options.catalog + ": " + reason);
    return print(list_catalog(set, category_of_path(options.catalog)));
}

// Everything that the sources give.
struct Compilation {
    Messages messages, reference, fillers;
    std::vector<std::string> inputs; // files read
    std::string header;              // mode Header
    Diagnostics diagnostics;
};

bool load(const Options& options, Compilation& all, std::string& error) {
    const bool is_module = options.mode == Mode::Module || options.mode == Mode::Add;
    const DefaultSet default_set = options.category != 0 ? static_cast<DefaultSet>(options.category)
                                   : is_module           ? DefaultSet::None
                                                         : DefaultSet::First;
    const auto read = [&](const std::vector<std::string>& paths, Messages& messages) {
        return load_sources(paths, default_set, messages, all.diagnostics, all.inputs, error);
    };
    return read(options.sources, all.messages) && read(options.references, all.reference) &&
           read(options.fill_from, all.fillers);
}

// Fills in missing messages and checks the texts. Filled-in messages do not count as missing. Sources with
// faults are not compared with the reference: it is unknown what they lack.
void fill_and_check(const Options& options, Compilation& all) {
    if (options.category != 0) check_category(all.messages, options.category, all.diagnostics);
    const bool is_complete = !all.diagnostics.has_faults();
    if (options.check) check_copies(all.messages, all.reference, all.diagnostics);
    fill_missing(all.messages, all.fillers);
    if (!options.check && options.mode != Mode::Header) return;
    check_texts(all.messages, all.diagnostics);
    if (is_complete && !options.references.empty())
        check_translation(all.messages, all.reference, all.diagnostics);
}

ExitStatus write(const Options& options, Compilation& all) {
    drop_empty_sets(all.messages);
    if (all.messages.empty()) return fail("the sources hold no messages");
    std::string error;
    const ModuleTarget target{options.root, options.module, options.language};
    if (options.mode == Mode::Module)
        return write_module(target, all.messages, all.inputs, error) ? DONE : fail(error);
    if (options.mode == Mode::Header)
        return write_header_file(options.header, all.header, all.inputs, error) ? DONE : fail(error);
    if (options.mode == Mode::Add)
        return add_to_module(target, options.owner, all.messages, all.inputs, error) ? DONE : fail(error);
    if (all.messages.size() > 1) return fail("a catalog holds one set; write several with --module");
    const MessageSet& set = all.messages.begin()->second;
    return write_catalog(options.catalog, set, all.inputs, error) ? DONE : fail(error);
}

ExitStatus compile(const Options& options) {
    Compilation all;
    std::string error;
    if (!load(options, all, error)) return fail(error);
    fill_and_check(options, all);
    if (options.mode == Mode::Header && !all.diagnostics.has_faults())
        all.header = write_header(all.messages, options.name_space, all.diagnostics);
    for (const std::string& line : all.diagnostics.lines()) std::fprintf(stderr, "%s\n", line.c_str());
    if (all.diagnostics.has_faults()) return FAULTY;
    return options.mode == Mode::Check ? DONE : write(options, all);
}

std::vector<std::string> languages_of(const Options& options) {
    if (!options.language.empty()) return {options.language};
    return installed_languages(options.root, options.module);
}

// Adds to every language in which the module is installed, the reference's texts where the service has no
// others.
ExitStatus add(const Options& options) {
    if (!options.language.empty()) return compile(options);
    const std::vector<std::string> languages = languages_of(options);
    if (languages.empty()) return fail(options.root + ": holds no catalogs of " + options.module);
    const std::string& folder = options.sources.front();
    for (const std::string& language : languages) {
        Options one = options;
        const bool is_translated = is_folder(std::string(folder).append("/").append(language));
        one.language = language;
        one.sources = {folder + "/" + (is_translated ? language : REFERENCE_LANGUAGE)};
        one.fill_from.push_back(folder + "/" + REFERENCE_LANGUAGE);
        if (const ExitStatus status = compile(one); status != DONE) return status;
    }
    return DONE;
}

ExitStatus remove(const Options& options) {
    std::string error;
    for (const std::string& language : languages_of(options))
        if (!remove_from_module({options.root, options.module, language}, options.owner, options.categories,
                                error))
            return fail(error);
    return DONE;
}

ExitStatus print_journal_catalog(const Options& options) {
    const std::vector<std::string> languages = languages_of(options);
    if (languages.empty()) return fail(options.root + ": holds no catalogs of " + options.module);
    std::string catalog, error;
    for (const std::string& language : languages)
        if (!append_journal_catalog({options.root, options.module, language}, catalog, error))
            return fail(error);
    return print(catalog);
}

ExitStatus run(const std::vector<std::string>& arguments) {
    Options options;
    const std::string wrong = parse_options(arguments, options);
    if (!wrong.empty()) return fail(wrong + "\nTry 'taqgencat --help'.");
    switch (options.mode) {
    case Mode::Help: return print(USAGE_TEXT);
    case Mode::Version: return print("taqgencat " TAQ_VERSION "\n");
    case Mode::List: return list(options);
    case Mode::Journal: return print_journal_catalog(options);
    case Mode::Add: return add(options);
    case Mode::Remove: return remove(options);
    default: return compile(options);
    }
}

} // namespace

int main(int argc, char** argv) {
    return run(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
