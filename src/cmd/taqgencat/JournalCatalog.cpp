// The last step of --journal-catalog.
#include "JournalCatalog.h"

#include "CatalogCodec.h"
#include "SourceFiles.h"

#include "cmd/JournalId.h"
#include "i18n/common/bmc_format.h"
#include "i18n/common/i18n_format.h"

namespace gencat {

namespace {

constexpr int32_t MAX_ARGS = 6; // of a record

std::string explanation(std::string_view text) {
    std::string out;
    i18n_piece piece;
    for (i18n_scanner scanner(text); scanner.next(&piece);) {
        out.append(text.substr(piece._offset, piece._size));
        if (piece._arg == I18N_NO_ARG) continue;
        if (piece._arg < MAX_ARGS)
            out.append("@TAQ_ARG_").append(1, static_cast<char>('A' + piece._arg)).append("@");
        else
            out.append(I18N_MISSING_ARG);
    }
    return out;
}

} // namespace

bool append_journal_catalog(const ModuleTarget& target, std::string& catalog, std::string& error) {
    InstalledModule module(target);
    if (!module.load(error)) return false;
    if (module.entries().empty()) return error = target.map_path() + ": lists no catalogs", false;
    for (const auto& [category, entry] : module.entries()) {
        const std::string path = target.folder() + entry.base + BMC_EXTENSION;
        std::string bytes;
        MessageSet set;
        if (!read_file(path, bytes, error)) return false;
        if (const char* reason = decode_catalog(bytes, set)) return error = path + ": " + reason, false;
        for (const auto& [number, message] : set) {
            if (message.text.empty()) continue;
            catalog.append("-- ").append(journal_message_id(target.module, category, number));
            catalog.append(" ").append(target.language).append("\nSubject: ").append(target.module);
            catalog.append("-").append(std::to_string(category)).append("-").append(std::to_string(number));
            catalog.append("\n\n").append(explanation(message.text)).append("\n\n");
        }
    }
    return true;
}

} // namespace gencat
