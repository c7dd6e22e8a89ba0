// Arbitrary bytes as a catalog file: every form of lookup must end in a listed result, with a text inside its
// bounds. The input is the file; its last four bytes also choose a number.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "i18n/common/bmc_format.h"
#include "i18n/common/i18n.h"
#include "i18n/unix/i18n_conv.h"
#include "support/CatalogBuilder.h"

namespace {

constexpr uint32_t CATEGORY = 25;

void require(bool ok) {
    if (!ok) abort();
}

// A module in English and in a language whose texts are converted to UTF-8, both with the same catalog file.
class Catalogs {
public:
    Catalogs() {
        std::string name =
            std::filesystem::is_directory("/dev/shm") ? "/dev/shm/bmcfuzzXXXXXX" : "/tmp/bmcfuzzXXXXXX";
        _root = mkdtemp(name.data());
        for (const char* lang : {"en", "ja"}) CatalogTree(_root, lang).catalog("c", CATEGORY, {}).write();
        std::filesystem::remove(_root + "/messages/ja/c.bmc");
        std::filesystem::create_symlink(file(), _root + "/messages/ja/c.bmc");
    }
    ~Catalogs() { std::filesystem::remove_all(_root); }
    void put(const uint8_t* data, size_t size) const {
        FILE* fp = std::fopen(file().c_str(), "wbe");
        require(fp && std::fwrite(data, 1, size, fp) == size && std::fclose(fp) == 0);
    }
    const char* root() const { return _root.c_str(); }

private:
    std::string file() const { return _root + "/messages/en/c.bmc"; }
    std::string _root;
};

void require_text(int rc, const char* text, int32_t size, size_t limit) {
    const bool listed = rc == I18N_SOK || rc == I18N_ESPECCOUNT || rc == I18N_ECONV || rc == I18N_ENOTFOUND ||
                        rc == I18N_EBADHANDLE || rc == I18N_EBMC;
    require(listed);
    if (rc != I18N_SOK) return require(text == nullptr && size == 0);
    require(size >= 1 && static_cast<size_t>(size) <= limit && text[size - 1] == '\0');
}

// The text taken apart and put together again; "" where that is not offered for these arguments.
std::string put_together(void** handle, uint32_t number, const std::string_view* args, size_t argc,
                         bool* offered) {
    size_t args_size = 0;
    for (size_t i = 0; i < argc; ++i) args_size += args[i].size();
    i18nTemplate parts;
    *offered = i18nGetTemplate(handle, CATEGORY, number, &parts) == I18N_SOK && argc == parts.arg_count &&
               args_size <= parts.args_size_max &&
               (!parts.needs_ascii || std::all_of(args, args + argc, i18n_is_ascii));
    std::string whole;
    for (size_t i = 0; *offered && i < parts.piece_count; ++i) {
        const i18n_piece& piece = parts.pieces[i];
        whole += parts.text.substr(piece._offset, piece._size);
        if (piece._arg == I18N_NO_ARG) continue;
        const auto ndx = static_cast<size_t>(piece._arg);
        whole += ndx < argc ? args[ndx] : "???";
    }
    return whole;
}

void look_up(void** handle, uint32_t number, size_t file_size) {
    static const std::string_view args[] = {"one", "%s", "", "four", "\xFF", "six"};
    char* text;
    int32_t size;
    for (size_t argc = 0; argc <= I18N_MAX_ARGS; ++argc) {
        const int rc = i18nGetSafeMsgViews(handle, CATEGORY, number, &text, &size, args, argc);
        require_text(rc, text, size, I18N_CONV_BUFFSIZE);
        const std::string whole = rc == I18N_SOK ? std::string(text, static_cast<size_t>(size - 1)) : "";
        char line[I18N_CONV_BUFFSIZE - 1];
        size_t len;
        require(rc == i18nFormatSafeTo(handle, CATEGORY, number, args, argc, line, sizeof line, &len));
        require(std::string_view(line, len) == whole);
        bool offered;
        const std::string again = put_together(handle, number, args, argc, &offered);
        require(!offered || (rc == I18N_SOK && again == whole));
    }
    int rc = i18nGetSimpleMsg(handle, CATEGORY, number, &text, &size);
    require_text(rc, text, size, file_size);
    rc = i18nGetMsg(handle, CATEGORY, number, &text, &size, "a", "b", nullptr);
    require_text(rc, text, size, I18N_CONV_BUFFSIZE);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Catalogs catalogs;
    catalogs.put(data, size);
    for (const char* lang : {"en", "ja"}) {
        void* handle = nullptr;
        require(i18nOpen(&handle, catalogs.root(), "KORE", lang) == I18N_SOK);
        for (const uint32_t number : {0u, 1u, 2u, 5u, 65535u}) look_up(&handle, number, size);
        if (size >= 4) look_up(&handle, get_be32(data + size - 4), size);
        require(i18nClose(&handle) == I18N_SOK);
    }
    return 0;
}
