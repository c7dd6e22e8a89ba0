// Arbitrary texts and arguments, separated by NULs in the input: the formatter against a plain one that
// builds strings, and every bound respected; likewise the line of a record that is put together from the
// pieces.
#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "i18n/common/i18n.h"
#include "i18n/common/i18n_format.h"
#include "primitives/log/RecordLines.h"

namespace {

void require(bool ok) {
    if (!ok) abort();
}

std::string argument(const std::vector<std::string>& args, size_t ndx) {
    return ndx < args.size() ? args[ndx] : "???";
}

// The plain formatter: one look at each character.
std::string format_plainly(const std::string& text, const std::vector<std::string>& args) {
    std::string out;
    size_t sequential = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const std::string at = text.substr(i, 4);
        if (at.substr(0, 2) == "%%") {
            out += '%';
            i += 1;
        } else if (at.substr(0, 2) == "%s") {
            out += argument(args, sequential++);
            i += 1;
        } else if (at.size() == 4 && at[0] == '%' && at[1] >= '1' && at[1] <= '9' && at.substr(2) == "$s") {
            out += argument(args, static_cast<size_t>(at[1] - '1'));
            i += 3;
        } else {
            out += text[i];
        }
    }
    return out;
}

void require_prefix(const i18n_formatted& done, const char* dst, size_t room, const std::string& whole) {
    require(done._size == std::min(room, whole.size()));
    require(done._cut == (whole.size() > room));
    require(std::string_view(dst, done._size) == std::string_view(whole).substr(0, room));
}

bool stands_twice(int32_t arg, const std::vector<i18n_piece>& pieces) {
    return std::count_if(pieces.begin(), pieces.end(), [&](auto& p) { return p._arg == arg; }) > 1;
}

// What a catalog handle offers as a template, whatever the number of arguments.
void require_line(const std::string& text, const std::vector<i18n_piece>& pieces,
                  const std::vector<std::string_view>& args, const std::string& whole) {
    for (const i18n_piece& piece : pieces)
        if (piece._arg != I18N_NO_ARG && stands_twice(piece._arg, pieces)) return;
    size_t args_size = 0;
    for (std::string_view arg : args) args_size += arg.size();
    static RecordLines lines;
    const std::string head = " QEN INFO K-16-25-1 ";
    const i18nTemplate parts = {text,        pieces.data(),      pieces.size(),
                                args.size(), I18N_CONV_BUFFSIZE, /*needs_ascii=*/false};
    const RecordLine* line = lines.keep(1, 4, head, &parts);
    require(line == lines.find(1, 4) && line->head() == head);
    if (!line->takes(args, args_size)) return;
    std::vector<char> out(line->size() + args_size + RecordLine::SLACK); // likewise of exactly this size
    require(std::string(out.data(), line->compose(args, out.data())) == head + whole + "\n");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    std::vector<std::string> args;
    for (size_t i = 1; i <= size; ++i) {
        if (i == 1 || data[i - 1] == '\0') args.emplace_back();
        if (i < size && data[i] != '\0') args.back() += static_cast<char>(data[i]);
    }
    const std::string text = args.front();
    args.erase(args.begin());
    args.resize(std::min(args.size(), I18N_MAX_ARGS));
    const std::vector<std::string_view> views(args.begin(), args.end());

    const std::string whole = format_plainly(text, args);
    std::vector<i18n_piece> pieces;
    i18n_piece piece;
    for (i18n_scanner scanner(text); scanner.next(&piece);) pieces.push_back(piece);
    require(pieces.size() <= text.size() && i18n_count_string_specifiers(text) <= text.size() / 2);

    for (const size_t room : {whole.size(), size_t{data[0]}}) {
        std::vector<char> dst(room); // of exactly this size, for the address sanitizer
        require_prefix(i18n_format(text, views.data(), views.size(), dst.data(), room), dst.data(), room,
                       whole);
        require_prefix(i18n_format(text.data(), pieces.data(), pieces.size(), views.data(), views.size(),
                                   dst.data(), room),
                       dst.data(), room, whole);
    }
    require_line(text, pieces, views, whole);
    return 0;
}
