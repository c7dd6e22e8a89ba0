// The first step of a compilation: source lines become messages with their positions.
#include "SourceParser.h"

#include "TextEscape.h"

#include "i18n/unix/i18n_conv.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace gencat {

namespace {

constexpr std::string_view BLANKS = " \t";
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
constexpr int64_t NONE_YET = -1;

bool is_digit(char c) {
    return '0' <= c && c <= '9';
}
bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

void skip_blanks(std::string_view& rest) {
    const size_t n = rest.find_first_not_of(BLANKS);
    rest.remove_prefix(n == std::string_view::npos ? rest.size() : n);
}

std::string_view take_word(std::string_view& rest) {
    const std::string_view word = rest.substr(0, rest.find_first_of(BLANKS));
    rest.remove_prefix(word.size());
    return word;
}

// The number if word is all digits and lies in the bounds. Any count of digits is taken without overflow.
std::optional<uint32_t> to_number(std::string_view word, uint32_t low, uint32_t high) {
    uint32_t value = 0;
    if (word.empty()) return std::nullopt;
    for (const char c : word) {
        if (!is_digit(c)) return std::nullopt;
        value = value * 10 + static_cast<uint32_t>(c - '0');
        if (value > high) return std::nullopt;
    }
    if (value < low) return std::nullopt;
    return value;
}

bool is_identifier(std::string_view word) {
    return !word.empty() && !is_digit(word.front()) && std::all_of(word.begin(), word.end(), [](char c) {
        return is_digit(c) || c == '_' || ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z');
    });
}

bool ends_in_continuation(std::string_view line) {
    size_t backslashes = 0;
    while (backslashes < line.size() && line[line.size() - 1 - backslashes] == '\\') ++backslashes;
    return backslashes % 2 == 1;
}

// UTF-16 and UTF-32 with a byte order mark, or without one, when the first character is ASCII.
bool is_wide(std::string_view source) {
    if (source.starts_with("\xFF\xFE") || source.starts_with("\xFE\xFF")) return true;
    return source.size() > 1 && source.substr(0, 2).find('\0') != std::string_view::npos;
}

bool blanks_hide_quote(std::string_view text, char quote) {
    const size_t first = text.find_first_not_of(BLANKS);
    return quote != 0 && first != 0 && first != std::string_view::npos && text[first] == quote;
}

class Parser {
public:
    Parser(std::string_view file, std::string_view source, DefaultSet default_set, Messages& messages,
           Diagnostics& faults)
        : _rest(source), _messages(messages), _faults(faults) {
        _pos.file = std::make_shared<const std::string>(file);
        if (_rest.starts_with(BYTE_ORDER_MARK)) _rest.remove_prefix(BYTE_ORDER_MARK.size());
        if (default_set != DefaultSet::None) _category = static_cast<uint32_t>(default_set);
    }

    bool run() {
        if (!_check_encoding()) return false;
        while (!_rest.empty()) {
            const std::string_view line = _next_line();
            _pos.line = _lines_read;
            _parse_line(line);
        }
        _end_marks();
        return _good;
    }

private:
    bool _check_encoding();
    std::string_view _next_line();
    std::string _join_continuations(std::string_view text);
    void _parse_line(std::string_view line);
    void _parse_directive(std::string_view line);
    void _parse_set(std::string_view arguments);
    void _parse_delset(std::string_view arguments);
    void _parse_quote(std::string_view arguments);
    bool _parse_mark(std::string_view word, std::string_view arguments);
    void _parse_message(std::string_view line);
    void _end_marks();
    bool _accept_number(uint32_t number);
    void _fault(const std::string& reason);

    std::string_view _rest; // what is not read yet
    uint32_t _lines_read = 0;
    SourcePos _pos; // of the first line of the construct being parsed
    Messages& _messages;
    Diagnostics& _faults;
    bool _good = true;

    std::optional<uint32_t> _category; // none: before the first $set, behind $delset or a faulty $set
    bool _skipping = false;            // behind a faulty $set, whose messages are not faults of their own
    int64_t _last_set = NONE_YET;
    int64_t _last_number = NONE_YET; // within the set
    char _quote = 0;
    Message _marks; // "$name", "$retired" and "$same" of the message that comes next
};

void Parser::_fault(const std::string& reason) {
    _good = false;
    _faults.add(_pos, reason);
}

bool Parser::_check_encoding() {
    _pos.line = 1;
    if (is_wide(_rest)) {
        _fault("the source is UTF-16 or UTF-32, not UTF-8");
        return false;
    }
    const std::string_view source = _rest;
    while (!_rest.empty()) {
        const std::string_view line = _next_line();
        _pos.line = _lines_read;
        if (!i18n_is_utf8(line)) _fault("not valid UTF-8");
    }
    _rest = source;
    _lines_read = 0;
    return _good;
}

std::string_view Parser::_next_line() {
    std::string_view line = _rest.substr(0, _rest.find('\n'));
    _rest.remove_prefix(std::min(line.size() + 1, _rest.size()));
    ++_lines_read;
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

std::string Parser::_join_continuations(std::string_view text) {
    std::string joined(text);
    while (ends_in_continuation(text) && !_rest.empty()) {
        joined.pop_back();
        text = _next_line();
        joined += text;
    }
    return joined;
}

void Parser::_parse_line(std::string_view line) {
    if (line.empty()) return;
    if (line.front() == '$') return _parse_directive(line.substr(1));
    if (is_digit(line.front())) return _parse_message(line);
    if (line.find_first_not_of(BLANKS) == std::string_view::npos) return;
    _fault("a line begins with a message number or with $");
}

void Parser::_parse_directive(std::string_view line) {
    if (line.empty() || is_blank(line.front())) return; // comment
    const std::string_view word = take_word(line);
    if (word == "set") return _parse_set(line);
    if (word == "delset") return _parse_delset(line);
    if (word == "quote") return _parse_quote(line);
    if (!_parse_mark(word, line)) _fault("unknown directive; a comment has a blank behind $");
}

bool Parser::_parse_mark(std::string_view word, std::string_view arguments) {
    if (word == "name") {
        skip_blanks(arguments);
        _marks.name = take_word(arguments);
        if (!is_identifier(_marks.name)) _fault("$name takes letters, digits and '_', no digit first");
    } else if (word == "retired") {
        _marks.retired = true;
    } else if (word == "same") {
        _marks.same = true;
    } else {
        return false;
    }
    _marks.pos = _pos;
    return true;
}

// Behind the last message of a set, a mark has no effect.
void Parser::_end_marks() {
    if (_marks.pos.file) _faults.warn(_marks.pos, "no message follows in this set");
    _marks = {};
}

void Parser::_parse_set(std::string_view arguments) {
    _end_marks();
    skip_blanks(arguments);
    _category = to_number(take_word(arguments), MIN_CATEGORY, MAX_CATEGORY);
    _skipping = !_category;
    _last_number = NONE_YET;
    if (!_category) return _fault("$set takes a category from 1 to 65535");
    if (int64_t{*_category} <= _last_set)
        return _fault("set " + std::to_string(*_category) + " must come before set " +
                      std::to_string(_last_set));
    _last_set = *_category;
    _messages[*_category];
}

void Parser::_parse_delset(std::string_view arguments) {
    _end_marks();
    skip_blanks(arguments);
    const auto category = to_number(take_word(arguments), MIN_CATEGORY, MAX_CATEGORY);
    _category.reset();
    _skipping = false;
    if (!category) return _fault("$delset takes a category from 1 to 65535");
    if (_messages.erase(*category) == 0)
        _faults.warn(_pos, "set " + std::to_string(*category) + " is not there to be deleted");
}

void Parser::_parse_quote(std::string_view arguments) {
    skip_blanks(arguments);
    const std::string_view word = take_word(arguments);
    skip_blanks(arguments);
    _quote = 0;
    if (word.empty()) return;
    const auto c = static_cast<unsigned char>(word.front());
    if (word.size() != 1 || !arguments.empty() || c <= ' ' || c >= 0x7F || c == '\\')
        return _fault("$quote takes one ASCII character other than a backslash");
    _quote = word.front();
}

void Parser::_parse_message(std::string_view line) {
    const std::string whole = _join_continuations(line);
    std::string_view rest = whole;
    const auto number = to_number(take_word(rest), 0, MAX_MESSAGE);
    Message message = std::exchange(_marks, {});
    message.pos = _pos;
    if (_skipping) return;
    if (!number) return _fault("a message number is a decimal from 0 to 65535 with a blank behind it");
    if (!_accept_number(*number)) return;
    if (rest.empty()) {
        if (_messages[*_category].erase(*number) == 0)
            _faults.warn(_pos,
                         "message " + std::to_string(*number) +
                             " is not there to be deleted; an empty text needs a blank behind its number");
        return;
    }
    rest.remove_prefix(1);
    if (blanks_hide_quote(rest, _quote))
        _faults.warn(_pos, "the blanks before the quote, and the quotes, become part of the text");
    if (const char* reason = unescape_text(rest, _quote, message.text)) return _fault(reason);
    if (!i18n_is_utf8(message.text)) return _fault("the escapes do not give valid UTF-8");
    _messages[*_category].insert_or_assign(*number, std::move(message));
}

bool Parser::_accept_number(uint32_t number) {
    if (!_category) {
        _fault("a message stands outside any set; $set must come first");
        return false;
    }
    if (int64_t{number} <= _last_number) {
        _fault(number == _last_number ? "message " + std::to_string(number) + " is given twice"
                                      : "message " + std::to_string(number) + " must come before message " +
                                            std::to_string(_last_number));
        return false;
    }
    _last_number = number;
    return true;
}

} // namespace

bool parse_source(std::string_view file, std::string_view source, DefaultSet default_set, Messages& messages,
                  Diagnostics& faults) {
    return Parser(file, source, default_set, messages, faults).run();
}

} // namespace gencat
