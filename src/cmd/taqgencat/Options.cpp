// The command line: modes and values are collected first, then judged together.
#include "Options.h"

#include "MapFile.h"
#include "Owners.h"
#include "SourceFiles.h"

#include "platform/unix/QENDefaults.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <utility>

namespace gencat {

const char USAGE_TEXT[] =
    "Usage: taqgencat [checks] --module NAME --lang LANGUAGE --out ROOT source...\n"
    "       taqgencat [checks] --add OWNER [--module NAME] [--lang LANGUAGE] [--out ROOT] source...\n"
    "       taqgencat --remove OWNER [--module NAME] [--lang LANGUAGE] [--out ROOT] [category...]\n"
    "       taqgencat [checks] --header FILE --namespace NAME source...\n"
    "       taqgencat [checks] catfile source...\n"
    "       taqgencat [checks] --check source...\n"
    "       taqgencat --list catfile\n"
    "       taqgencat --journal-catalog [--module NAME] [--lang LANGUAGE] [--out ROOT]\n"
    "\n"
    "Compiles message sources to binary message catalogs. A source is a file, \"-\" for\n"
    "standard input, or a folder, which stands for its files *.msg. An existing catfile\n"
    "is replaced when it is a catalog. With --check it must end in .bmc; otherwise the\n"
    "sources are checked and nothing is written.\n"
    "\n"
    "  --module NAME      module of the catalogs, for instance KORE\n"
    "  --lang LANGUAGE    language of the texts, for instance de\n"
    "  --out ROOT         write ROOT/messages/LANGUAGE/NAME.bmcmap and the catalogs beside it\n"
    "  --add OWNER        put categories into an installed module; without --lang: into all its\n"
    "                     languages, from the folders of that name in the one source\n"
    "  --remove OWNER     take the owner's categories out again\n"
    "  --header FILE      write a C++ header with a name for each message, in --namespace NAME\n"
    "  --list             print a catalog as a source (\"-\": standard input)\n"
    "  --journal-catalog  print the texts of an installed module as a catalog of the journal\n"
    "  --help, --version\n"
    "\n"
    "Checks:\n"
    "  --check            refuse texts that cannot be filled with arguments\n"
    "  --reference PATH   with --check: compare with these sources of another language\n"
    "  --category N       refuse other categories; messages before any $set belong to N\n"
    "  --fill-from PATH   take missing messages from these sources of another language\n"
    "\n"
    "Exit status: 0 done, 1 the sources have faults, 2 wrong usage or a file that cannot\n"
    "be read or written. Faults are reported as file:line: reason.\n";

namespace {

struct Flag {
    const char* name;
    Mode mode;
};

constexpr Flag MODE_FLAGS[] = {{"--help", Mode::Help},
                               {"--version", Mode::Version},
                               {"--list", Mode::List},
                               {"--journal-catalog", Mode::Journal}};

struct Values {
    std::vector<std::string> modules, languages, roots, adders, removers, references, fill_from, headers,
        name_spaces, categories, operands;
    bool check = false;
};

struct ValueOption {
    const char* name;
    std::vector<std::string> Values::*values;
};

constexpr ValueOption VALUE_OPTIONS[] = {{"--module", &Values::modules},
                                         {"--lang", &Values::languages},
                                         {"--out", &Values::roots},
                                         {"--add", &Values::adders},
                                         {"--remove", &Values::removers},
                                         {"--reference", &Values::references},
                                         {"--fill-from", &Values::fill_from},
                                         {"--header", &Values::headers},
                                         {"--namespace", &Values::name_spaces},
                                         {"--category", &Values::categories}};

bool find_mode(const std::string& argument, Mode& mode) {
    for (const Flag& flag : MODE_FLAGS) {
        if (argument != flag.name) continue;
        mode = flag.mode;
        return true;
    }
    return false;
}

// The list that the option's value goes to; null when the argument is no option with a value.
std::vector<std::string>* find_values(const std::string& name, Values& values) {
    for (const ValueOption& option : VALUE_OPTIONS)
        if (name == option.name) return &(values.*option.values);
    return nullptr;
}

bool is_option(const std::string& argument) {
    return argument.size() > 1 && argument.front() == '-';
}

// Takes one option with its value, given as "--name value" or "--name=value". i stands at the option.
std::string take_value(const std::vector<std::string>& arguments, size_t& i, Values& values) {
    const size_t equals = arguments[i].find('=');
    const std::string name = arguments[i].substr(0, equals);
    std::vector<std::string>* list = find_values(name, values);
    if (!list) return "unknown option " + arguments[i];
    if (equals != std::string::npos) {
        list->push_back(arguments[i].substr(equals + 1));
    } else if (i + 1 < arguments.size()) {
        list->push_back(arguments[++i]);
    } else {
        return name + " takes a value";
    }
    return list->back().empty() ? name + " takes a value" : "";
}

// Distributes the arguments; mode is set by the options that stand for one.
std::string collect(const std::vector<std::string>& arguments, Values& values, Options& options,
                    bool& mode_given) {
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--") {
            values.operands.insert(values.operands.end(),
                                   arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1, arguments.end());
            break;
        }
        if (!is_option(arguments[i])) {
            values.operands.push_back(arguments[i]);
        } else if (find_mode(arguments[i], options.mode)) {
            mode_given = true;
            if (options.mode == Mode::Help || options.mode == Mode::Version)
                break; // help and version want nothing else
        } else if (arguments[i] == "--check") {
            values.check = true;
        } else if (std::string wrong = take_value(arguments, i, values); !wrong.empty()) {
            return wrong;
        }
    }
    return "";
}

// The parts of the target that are given; each at most once.
std::string take_target(const Values& values, Options& options) {
    if (!values.modules.empty()) options.module = values.modules[0];
    if (!values.languages.empty()) options.language = values.languages[0];
    if (!values.roots.empty()) options.root = values.roots[0];
    if (!is_module_name(options.module)) return "a module name has up to 64 letters, digits, '-' and '_'";
    if (!values.languages.empty() && !is_language_name(options.language))
        return "a language has up to 31 letters, digits, '-' and '_'";
    return "";
}

std::string settle_module(const Values& values, Options& options) {
    if (values.modules.size() != 1 || values.languages.size() != 1 || values.roots.size() != 1)
        return "--module, --lang and --out go together, each once";
    options.mode = Mode::Module;
    return take_target(values, options);
}

bool to_category(const std::string& word, uint32_t& category) {
    const char* const end = word.data() + word.size();
    const auto [behind, failure] = std::from_chars(word.data(), end, category);
    return failure == std::errc() && behind == end && category >= MIN_CATEGORY && category <= MAX_CATEGORY;
}

std::string take_categories(Options& options) {
    for (const std::string& source : std::exchange(options.sources, {}))
        if (!to_category(source, options.categories.emplace_back()))
            return "--remove takes categories from 1 to 65535";
    return "";
}

// The catalogs that the programs of this machine read, unless told otherwise.
std::string take_installed(const Values& values, Options& options) {
    const char* const root = std::getenv(QEN_ENV_MESSAGES_ROOT);
    if (std::max({values.modules.size(), values.languages.size(), values.roots.size()}) > 1)
        return "--module, --lang and --out are given once";
    options.module = QEN_MESSAGES_MODULE;
    options.root = root != nullptr && *root != '\0' ? root : QEN_DEFAULT_MESSAGES_ROOT;
    return take_target(values, options);
}

std::string settle_installed(const Values& values, Options& options) {
    const bool adds = !values.adders.empty();
    const auto& owners = adds ? values.adders : values.removers;
    if (values.adders.size() + values.removers.size() != 1) return "--add or --remove is given once";
    if (!is_owner_name(owners[0])) return "an owner has up to 64 letters, digits, '+', '-', '.' and '_'";
    options.mode = adds ? Mode::Add : Mode::Remove;
    options.owner = owners[0];
    if (std::string wrong = take_installed(values, options); !wrong.empty()) return wrong;
    if (!adds) return values.check ? "--check needs sources" : take_categories(options);
    const bool is_folder = options.sources.size() == 1 && options.sources[0] != STANDARD_STREAM;
    if (!options.language.empty() || is_folder) return "";
    return "--add without --lang takes one folder, with a folder for each language";
}

std::string settle_header(const Values& values, Options& options) {
    if (values.headers.size() != 1 || values.name_spaces.size() != 1)
        return "--header and --namespace go together, each once";
    options.mode = Mode::Header;
    options.header = values.headers[0];
    options.name_space = values.name_spaces[0];
    return "";
}

std::string settle_catalog(Options& options) {
    if (options.sources.empty()) return "a catalog file must be named";
    options.catalog = options.sources.front();
    options.sources.erase(options.sources.begin());
    return "";
}

std::string settle_mode(const Values& values, Options& options) {
    if (!values.adders.empty() || !values.removers.empty()) return settle_installed(values, options);
    if (!values.modules.empty() || !values.languages.empty() || !values.roots.empty())
        return settle_module(values, options);
    if (!values.headers.empty() || !values.name_spaces.empty()) return settle_header(values, options);
    const bool names_catalog = !options.sources.empty() && options.sources.front().ends_with(BMC_EXTENSION);
    if (values.check && !names_catalog) {
        options.mode = Mode::Check;
        return "";
    }
    if (!values.fill_from.empty()) return "--fill-from needs --check or --out";
    options.mode = Mode::Catalog;
    return settle_catalog(options);
}

// Neither checks nor what only other modes take.
bool has_others(const Values& values) {
    return values.check || !values.references.empty() || !values.fill_from.empty() ||
           !values.adders.empty() || !values.removers.empty() || !values.headers.empty() ||
           !values.name_spaces.empty() || !values.categories.empty();
}

std::string settle_journal(const Values& values, Options& options) {
    if (has_others(values) || !values.operands.empty())
        return "--journal-catalog takes --module, --lang and --out alone";
    return take_installed(values, options);
}

std::string settle_list(const Values& values, Options& options) {
    const bool alone =
        !has_others(values) && values.modules.empty() && values.languages.empty() && values.roots.empty();
    if (!alone || values.operands.size() != 1) return "--list takes one catalog file and no other option";
    options.catalog = values.operands.front();
    return "";
}

bool reads_stdin_twice(const Options& options) {
    std::ptrdiff_t count = 0;
    for (const auto* inputs : {&options.sources, &options.references, &options.fill_from})
        count += std::count(inputs->begin(), inputs->end(), STANDARD_STREAM);
    return count > 1;
}

} // namespace

std::string parse_options(const std::vector<std::string>& arguments, Options& options) {
    Values values;
    bool mode_given = false;
    if (std::string wrong = collect(arguments, values, options, mode_given); !wrong.empty()) return wrong;
    if (mode_given && options.mode == Mode::Journal) return settle_journal(values, options);
    if (mode_given) return options.mode == Mode::List ? settle_list(values, options) : "";

    options.check = values.check;
    options.references = values.references;
    options.fill_from = values.fill_from;
    options.sources = values.operands;
    if (!values.references.empty() && !values.check) return "--reference needs --check";
    if (std::string wrong = settle_mode(values, options); !wrong.empty()) return wrong;
    if (!values.categories.empty() && !to_category(values.categories.back(), options.category))
        return "--category takes a category from 1 to 65535";
    if (options.sources.empty() && options.mode != Mode::Remove) return "no source is named";
    if (reads_stdin_twice(options)) return "standard input can be read only once";
    return "";
}

} // namespace gencat
