// Part of every test program: what the machine or its user have set about locales, times and our own
// variables is forgotten before the first test.
#include <cstdlib>
#include <string>
#include <unistd.h>

[[gnu::constructor]] static void clean_environment() {
    for (char** variable = environ; *variable != nullptr;) {
        const std::string text = *variable++;
        for (const char* prefix : {"LC_", "LANG", "LOCPATH", "TZ", "TAQ_", "QEN", "ZORQ_"})
            if (text.starts_with(prefix))
                unsetenv(text.substr(0, text.find('=')).c_str()), variable = environ;
    }
}
