// Checked messages become the names with which a service logs them; CatalogMessage.h is the other half.
#include "HeaderWriter.h"

#include "Targets.h"
#include "TextEscape.h"

#include "i18n/common/i18n_format.h"

#include <set>

namespace gencat {

namespace {

constexpr char QUOTE = '"';

std::string descriptor(const std::string& name, uint32_t category, uint32_t number, const std::string& text) {
    const std::string numbers = std::to_string(category) + ", " + std::to_string(number) + ", " +
                                std::to_string(i18n_count_string_specifiers(text));
    return "inline constexpr struct " + name + "_t : CatalogMessage<" + numbers + "> {\n" +
           "    static constexpr char text[] = " + escape_text(text, QUOTE) + ";\n} " + name + ";\n";
}

} // namespace

std::string write_header(const Messages& messages, const std::string& name_space, Diagnostics& faults) {
    std::string header =
        std::string(HEADER_START) +
        " from message sources, for QEN_REPORT(log, severity, flags, message, argument...).\n"
        "#pragma once\n\n#include <taq/log.h>\n\nnamespace " +
        name_space + " {\n\n";
    std::set<std::string> names;
    for (const auto& [category, set] : messages)
        for (const auto& [number, message] : set) {
            if (message.retired) continue;
            const std::string name =
                message.name.empty() ? "message_" + std::to_string(number) : message.name;
            if (!names.insert(name).second) faults.add(message.pos, "the name " + name + " is given twice");
            header += descriptor(name, category, number, message.text);
        }
    return header + "\n} // namespace " + name_space + "\n";
}

} // namespace gencat
