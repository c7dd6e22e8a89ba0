/* A host that knows nothing of C++: one plugin opens its log, and both log into it.
   Usage: c_host PLUGIN OTHER_PLUGIN local|global LOG */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

static void* function(void* plugin, const char* name) {
    void* found = plugin != NULL ? dlsym(plugin, name) : NULL;
    if (found == NULL) fprintf(stderr, "%s: %s\n", name, dlerror());
    return found;
}

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    const int flags = RTLD_NOW | (strcmp(argv[3], "global") == 0 ? RTLD_GLOBAL : RTLD_LOCAL);
    void* plugins[2] = {dlopen(argv[1], flags), dlopen(argv[2], flags)};
    void* (*open_log)(const char*) = (void* (*)(const char*))function(plugins[0], "plugin_open_log");
    void (*close_log)(void*) = (void (*)(void*))function(plugins[0], "plugin_close_log");
    if (open_log == NULL || close_log == NULL) return 1;
    void* log = open_log(argv[4]);
    if (log == NULL) return 1;
    for (int i = 1; i >= 0; --i) {
        void (*log_it)(void*, const char*) = (void (*)(void*, const char*))function(plugins[i], "plugin_log");
        void (*finish)(void) = (void (*)(void))function(plugins[i], "plugin_finish");
        if (log_it == NULL || finish == NULL) return 1;
        log_it(log, i == 1 ? "the other" : "its owner");
        finish();
    }
    if (dlclose(plugins[1]) != 0) return 1;
    close_log(log);
    return dlclose(plugins[0]);
}
