// Finds the records whose text matches. Composing a text costs more than all other conditions together, so
// most records are ruled out before.
//
// An atom is a string in lower case that a matching text must hold (RE2 derives them). In the text of a
// message an atom can stand
//   - in a literal piece: then in every text of the message
//   - within one argument: then it stands in the record, too
//   - across an end of a piece: only when the end of the piece fits the start of the atom, or the other way
//   round.
// Only a message whose literal pieces do not suffice and across whose ends no atom can stand is decided by a
// search for the atoms in the bytes of many records at once.
#include "TextSearch.h"

#include <algorithm>
#include <bit>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif
#include <re2/filtered_re2.h>
#include <re2/re2.h>

namespace {

constexpr size_t BLOCK_SIZE = 48 * 1024; // bytes of texts that are searched together
constexpr int SHORTEST_ATOM = 3;
constexpr size_t MOST_ATOMS = 16; // with more, composing is cheaper than looking for each

// Characters beyond ASCII whose lower case is an ASCII letter: the Kelvin sign and the long s.
constexpr struct {
    std::string_view letter;
    char lower_case;
} STRANGE_LETTERS[] = {{"\xE2\x84\xAA", 'k'}, {"\xC5\xBF", 's'}};

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}

// Whether the bytes are those of the needle, which is in lower case.
bool is_same_in_lower_case(const char* bytes, std::string_view needle) {
    return std::equal(needle.begin(), needle.end(), bytes, [](char a, char b) { return a == lower(b); });
}

// The first place from `from` on where the needle stands in any case, or `size`. The needle is not empty and
// in lower case. Bytes behind the end are addressable: as many as the needle has, and BLOCK more.
#ifdef __SSE2__
constexpr size_t BLOCK = sizeof(__m128i);

// Compares the first and the last byte of the needle at BLOCK places at once, without regard to the bit that
// makes a letter small.
size_t find_in_any_case(const char* bytes, size_t size, size_t from, std::string_view needle) {
    const __m128i small = _mm_set1_epi8(0x20);
    const __m128i first = _mm_or_si128(_mm_set1_epi8(needle.front()), small);
    const __m128i last = _mm_or_si128(_mm_set1_epi8(needle.back()), small);
    for (size_t at = from; at + needle.size() <= size; at += BLOCK) {
        const char* const p = bytes + at;
        const auto starts = _mm_or_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), small);
        const auto ends =
            _mm_or_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + needle.size() - 1)), small);
        const __m128i both = _mm_and_si128(_mm_cmpeq_epi8(starts, first), _mm_cmpeq_epi8(ends, last));
        for (auto places = static_cast<unsigned>(_mm_movemask_epi8(both)); places != 0;
             places &= places - 1) {
            const size_t place = at + static_cast<size_t>(std::countr_zero(places));
            if (place + needle.size() <= size && is_same_in_lower_case(bytes + place, needle)) return place;
        }
    }
    return size;
}
#else
constexpr size_t BLOCK = 0;

size_t find_in_any_case(const char* bytes, size_t size, size_t from, std::string_view needle) {
    for (size_t at = from; at + needle.size() <= size; ++at)
        if (is_same_in_lower_case(bytes + at, needle)) return at;
    return size;
}
#endif

constexpr size_t LONGEST_NEEDLE = LDF_SPLIT_SLACK - BLOCK;

re2::RE2::Options options_of(bool ignores_case) {
    re2::RE2::Options options;
    options.set_case_sensitive(!ignores_case);
    options.set_log_errors(false);
    return options;
}

// One expression for several.
std::string alternatives(const std::vector<std::string>& expressions, bool is_literal) {
    std::string all;
    for (const std::string& expression : expressions) {
        if (!all.empty()) all += '|';
        all += is_literal                ? re2::RE2::QuoteMeta(expression)
               : expressions.size() == 1 ? expression
                                         : "(?:" + expression + ")";
    }
    return all;
}

// Whether a letter of the expression may stand for one of another case.
bool may_fold(std::string_view expression, bool ignores_case) {
    return ignores_case || expression.find("(?") != expression.npos ||
           expression.find("\\x") != expression.npos ||
           std::any_of(expression.begin(), expression.end(),
                       [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
}

// Whether the expression asks for the ends of the whole text, or switches off the ends of lines.
bool asks_for_ends_of_text(std::string_view expression) {
    for (const char* ends : {"\\A", "\\z", "\\Z", "\\C"})
        if (expression.find(ends) != expression.npos) return true;
    for (size_t at = expression.find("(?"); at != expression.npos; at = expression.find("(?", at + 1)) {
        const std::string_view flags = expression.substr(at, expression.find_first_of(":)", at) - at);
        const size_t minus = flags.find('-');
        if (minus != flags.npos && flags.find('m', minus) != flags.npos) return true;
    }
    return false;
}

// The literal bytes before, between and after the arguments of a text, in lower case.
std::vector<std::string> literal_pieces(const KnownMessage& message) {
    std::vector<std::string> pieces(1);
    for (const i18n_piece& piece : message.pieces) {
        for (const char c : std::string_view(message.text).substr(piece._offset, piece._size))
            pieces.back() += lower(c);
        if (piece._arg != I18N_NO_ARG) pieces.emplace_back();
    }
    return pieces;
}

// Whether a proper end of `first` is a start of `second`.
bool overlap(std::string_view first, std::string_view second, size_t longest) {
    for (size_t n = 1; n <= std::min({first.size(), second.size(), longest}); ++n)
        if (first.substr(first.size() - n) == second.substr(0, n)) return true;
    return false;
}

} // namespace

struct TextSearch::Condition {
    std::unique_ptr<re2::RE2> expression;
    bool is_negated;
};

TextSearch::TextSearch(MessageTexts& texts, bool any) : _texts(texts), _any(any) {}
TextSearch::~TextSearch() = default;

std::unique_ptr<TextSearch> TextSearch::make(const std::vector<TextCondition>& conditions,
                                             const TextSearchOptions& options, MessageTexts& texts,
                                             std::string& error) {
    std::unique_ptr<TextSearch> search(new TextSearch(texts, options.any));
    for (const TextCondition& condition : conditions) {
        for (const std::string& expression : condition.expressions) { // each alone, to tell what is wrong
            if (options.is_literal) continue;
            const re2::RE2 alone(expression, options_of(options.ignores_case));
            if (alone.ok()) continue;
            error = "wrong expression '" + expression + "': " + alone.error();
            return nullptr;
        }
        const std::string all = alternatives(condition.expressions, options.is_literal);
        auto expression = std::make_unique<re2::RE2>(all, options_of(options.ignores_case));
        if (!expression->ok()) {
            error = "wrong expression '" + all + "': " + expression->error();
            return nullptr;
        }
        search->_conditions.push_back({std::move(expression), condition.is_negated});
    }
    search->_block = raw_room<char>(BLOCK_SIZE + MessageTexts::SIZE + 1);
    if (search->_conditions.size() != 1) return search;
    const std::string& expression = search->_conditions.front().expression->pattern();
    search->_prepare_blocks(expression, options.ignores_case);
    search->_prepare_atoms(expression, options.ignores_case);
    return search;
}

// In a block the texts are lines, across which nothing matches.
void TextSearch::_prepare_blocks(const std::string& expression, bool ignores_case) {
    if (asks_for_ends_of_text(expression)) return;
    re2::RE2::Options options = options_of(ignores_case);
    options.set_never_nl(true);
    _in_block = std::make_unique<re2::RE2>("(?m:" + expression + ")", options);
    if (!_in_block->ok()) _in_block.reset();
}

void TextSearch::_prepare_atoms(const std::string& expression, bool ignores_case) {
    _filtered = std::make_unique<re2::FilteredRE2>(SHORTEST_ATOM);
    int id;
    std::vector<std::string> atoms;
    const bool is_added = _filtered->Add(expression, options_of(ignores_case), &id) == re2::RE2::NoError;
    if (is_added) _filtered->Compile(&atoms);
    // "???" stands in a text for an argument that is not in the record.
    const bool is_useful = is_added && !atoms.empty() && atoms.size() <= MOST_ATOMS &&
                           std::all_of(atoms.begin(), atoms.end(), [](const std::string& atom) {
                               return std::all_of(atom.begin(), atom.end(), [](char c) {
                                   return static_cast<unsigned char>(c) < 0x80 && c != '?';
                               });
                           });
    if (!is_useful) return _filtered.reset();
    for (const auto& [letter, lower_case] : STRANGE_LETTERS)
        if (may_fold(expression, ignores_case) &&
            std::any_of(atoms.begin(), atoms.end(),
                        [c = lower_case](const std::string& atom) { return atom.find(c) != atom.npos; }))
            _strange_letters.push_back(letter);
    for (std::string& atom : atoms) _atoms.push_back({std::move(atom), 0});
}

void TextSearch::begin(const LdfRun& run) {
    _run = run;
    _is_prepared = false;
}

bool TextSearch::may_match(const unsigned char* record, size_t place) {
    const uint32_t msgcat_id = ldf_record_id(record);
    if (_filtered != nullptr) {
        Seen& seen = _seen[(msgcat_id ^ msgcat_id >> 16) % _seen.size()];
        if (seen.key != msgcat_id) seen = {msgcat_id, _can_match_anywhere(_texts.of(msgcat_id))};
        if (!seen.can_match && !_has_atom(record, ldf_record_size(record)))
            return _conditions.front().is_negated;
    }
    LdfRecordView view;
    ldf_view_record(record, view);
    char* const text = _block.get() + _used;
    const size_t size = _texts.compose(_texts.of(msgcat_id), {view.argv(), view.argc()}, text);
    if (_in_block == nullptr || std::memchr(text, '\n', size) != nullptr) {
        _decide(place, _matches_alone({text, size}));
        return true;
    }
    _lines.push_back({_used, place});
    _used += size;
    _block.get()[_used++] = '\n';
    if (_used > BLOCK_SIZE) _search_block();
    return true;
}

bool TextSearch::_holds_strange_letter(std::string_view text) const {
    return std::any_of(_strange_letters.begin(), _strange_letters.end(),
                       [text](std::string_view letter) { return text.find(letter) != text.npos; });
}

// Whether the texts of a message can match whatever its arguments hold.
bool TextSearch::_can_match_anywhere(const KnownMessage& message) {
    if (message.kind != KnownMessage::TEMPLATE || _holds_strange_letter(message.text)) return true;
    const std::vector<std::string> pieces = literal_pieces(message);
    std::vector<int> present, potentials;
    for (size_t i = 0; i < _atoms.size(); ++i) {
        const std::string& atom = _atoms[i].bytes;
        bool may_stand = false;
        for (size_t p = 0; p < pieces.size(); ++p) {
            const std::string& piece = pieces[p];
            const bool has_arg_before = p > 0, has_arg_behind = p + 1 < pieces.size();
            may_stand = may_stand || piece.find(atom) != piece.npos ||
                        (has_arg_behind && overlap(piece, atom, atom.size() - 1)) ||
                        (has_arg_before && overlap(atom, piece, atom.size() - 1)) ||
                        (has_arg_before && has_arg_behind && atom.find(piece) != atom.npos);
        }
        if (may_stand) present.push_back(static_cast<int>(i));
    }
    _filtered->AllPotentials(present, &potentials);
    return !potentials.empty();
}

// Whether one of the atoms stands in the record. Records come in the order of the run.
bool TextSearch::_has_atom(const unsigned char* record, size_t size) {
    if (!_is_prepared) _prepare_run();
    if (_folds_strangely) return true;
    const auto from = static_cast<size_t>(record - _run.bytes);
    bool found = false;
    for (Atom& atom : _atoms) {
        if (atom.next < from) atom.next = _find(atom.bytes, from);
        found = found || atom.next < from + size;
    }
    return found;
}

void TextSearch::_prepare_run() {
    _is_prepared = true;
    _folds_strangely = std::any_of(_strange_letters.begin(), _strange_letters.end(),
                                   [this](std::string_view letter) { return _find(letter, 0) < _run.size; });
    for (Atom& atom : _atoms) atom.next = _find(atom.bytes, 0);
}

// A long needle is looked for by its start: the slack behind a run bounds it.
size_t TextSearch::_find(std::string_view needle, size_t from) const {
    return find_in_any_case(reinterpret_cast<const char*>(_run.bytes), _run.size, from,
                            needle.substr(0, LONGEST_NEEDLE));
}

bool TextSearch::_matches_alone(std::string_view text) const {
    for (const Condition& condition : _conditions) {
        const bool holds = re2::RE2::PartialMatch(re2::StringPiece(text.data(), text.size()),
                                                  *condition.expression) != condition.is_negated;
        if (holds == _any) return holds;
    }
    return !_any;
}

// Takes one match after the other. What matches in the block is tried alone: a match may lie in the text
// before.
void TextSearch::_search_block() {
    const bool is_negated = _conditions.front().is_negated;
    const re2::StringPiece block(_block.get(), _used);
    size_t line = 0;
    while (line < _lines.size()) {
        re2::StringPiece match;
        if (!_in_block->Match(block, _lines[line].start, _used, re2::RE2::UNANCHORED, &match, 1)) break;
        const auto at = static_cast<size_t>(match.data() - block.data());
        while (line + 1 < _lines.size() && _lines[line + 1].start <= at)
            _decide(_lines[line++].place, is_negated);
        const size_t end = line + 1 < _lines.size() ? _lines[line + 1].start : _used;
        _decide(_lines[line].place,
                _matches_alone({_block.get() + _lines[line].start, end - 1 - _lines[line].start}));
        ++line;
    }
    while (line < _lines.size()) _decide(_lines[line++].place, is_negated);
    _lines.clear();
    _used = 0;
}

void TextSearch::end(std::vector<FoundPlace>& found) {
    if (!_lines.empty()) _search_block();
    if (_dropped.empty()) return;
    constexpr int32_t DROPPED = -1;
    for (const size_t place : _dropped) found[place].number = DROPPED;
    std::erase_if(found, [](const FoundPlace& place) { return place.number == DROPPED; });
    _dropped.clear();
}
