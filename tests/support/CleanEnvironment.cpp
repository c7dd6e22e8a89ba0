// Part of every test program: what the machine or its user have set about locales, times and our own
// variables is forgotten before the first test.
#include <cstdlib>
#include <string>
#include <vector>

extern char** environ;

namespace {

[[gnu::constructor]] void clean_environment() {
    std::vector<std::string> names;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string name = std::string(*variable).substr(0, std::string(*variable).find('='));
        for (const char* prefix : {"LC_", "LANG", "LOCPATH", "TZ", "TAQ_", "QEN", "ZORQ_"})
            if (name.starts_with(prefix)) names.push_back(name);
    }
    for (const std::string& name : names) unsetenv(name.c_str());
}

} // namespace
