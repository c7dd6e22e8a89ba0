// Finds the records whose text matches. Composing a text costs more than all other conditions together, so
// most records are ruled out before.
//
// An atom is a string in lower case that a matching text must hold (RE2 derives them). In the text of a
// message an atom can stand
//   - in a literal piece: then in every text of the message
//   - within one argument: then it stands in the record, too
//   - across ends of pieces: then an argument, and the record, holds a part of it, whose least extent follows
//   from
//     the literal pieces around the arguments
// A message whose literal pieces do not suffice, and whose arguments must hold a part of some length, is
// decided by a search for these parts, the needles, in the bytes of many records at once. All others are
// composed.
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
constexpr size_t SHORTEST_NEEDLE = 3;
constexpr size_t MOST_ATOMS = 16; // with more, composing is cheaper than looking for each
constexpr size_t MOST_NEEDLES = 32;

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

// Whether the start of an atom can stand right before an argument that the piece precedes: in the piece, or
// over the whole piece when there is an argument before it.
bool can_precede(std::string_view start, std::string_view piece, bool has_arg_before) {
    return piece.ends_with(start) || (has_arg_before && start.ends_with(piece));
}
bool can_follow(std::string_view end, std::string_view piece, bool has_arg_behind) {
    return piece.starts_with(end) || (has_arg_behind && end.starts_with(piece));
}

// The part of the atom that one argument holds at least when the atom stands in a text, but not in one of its
// pieces.
std::string_view least_part_in_argument(std::string_view atom, const std::vector<std::string>& pieces) {
    size_t first = 0, last = atom.size();
    for (size_t p = 0; p + 1 < pieces.size(); ++p) { // the argument between two pieces
        for (size_t i = first + 1; i < atom.size(); ++i)
            if (can_precede(atom.substr(0, i), pieces[p], p > 0)) first = i;
        for (size_t i = last - 1; i > 0; --i)
            if (can_follow(atom.substr(i), pieces[p + 1], p + 2 < pieces.size())) last = i;
    }
    return first < last ? atom.substr(first, last - first) : std::string_view();
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
    _atoms = std::move(atoms);
}

void TextSearch::begin(const LdfRun& run) {
    _run = run;
    _is_prepared = false;
}

bool TextSearch::may_match(const unsigned char* record, size_t place) {
    const uint32_t msgcat_id = ldf_record_id(record);
    if (_filtered != nullptr) {
        Seen& seen = _seen[(msgcat_id ^ msgcat_id >> 16) % _seen.size()];
        if (seen.key != msgcat_id) seen = _learn(_texts.of(msgcat_id));
        if (!seen.can_match && !_has_needle(record, ldf_record_size(record), seen.needles))
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

TextSearch::Seen TextSearch::_learn(const KnownMessage& message) {
    Seen seen{message.key, true, 0};
    if (message.kind != KnownMessage::TEMPLATE || _holds_strange_letter(message.text)) return seen;
    const std::vector<std::string> pieces = literal_pieces(message);
    std::vector<int> present, potentials; // atoms of which the record's bytes tell nothing
    for (size_t i = 0; i < _atoms.size(); ++i) {
        const std::string& atom = _atoms[i];
        const bool is_in_piece = std::any_of(pieces.begin(), pieces.end(), [&](const std::string& piece) {
            return piece.find(atom) != piece.npos;
        });
        const std::string_view part = least_part_in_argument(atom, pieces);
        if (is_in_piece || part.size() < SHORTEST_NEEDLE || !_add_needle(part, seen))
            present.push_back(static_cast<int>(i));
    }
    _filtered->AllPotentials(present, &potentials);
    seen.can_match = !potentials.empty();
    return seen;
}

// False: there are too many.
bool TextSearch::_add_needle(std::string_view bytes, Seen& seen) {
    bytes = bytes.substr(0, LONGEST_NEEDLE); // the slack behind a run bounds it
    size_t n = 0;
    while (n < _needles.size() && _needles[n].bytes != bytes) ++n;
    if (n == MOST_NEEDLES) return false;
    if (n == _needles.size()) _needles.push_back({std::string(bytes), _find(bytes, 0)});
    seen.needles |= uint32_t{1} << n;
    return true;
}

// Whether one of the needles stands in the record. Records come in the order of the run.
bool TextSearch::_has_needle(const unsigned char* record, size_t size, uint32_t needles) {
    if (!_is_prepared) _prepare_run();
    if (_folds_strangely) return true;
    const auto from = static_cast<size_t>(record - _run.bytes);
    for (; needles != 0; needles &= needles - 1) {
        Needle& needle = _needles[static_cast<size_t>(std::countr_zero(needles))];
        if (needle.next < from) needle.next = _find(needle.bytes, from);
        if (needle.next < from + size) return true;
    }
    return false;
}

void TextSearch::_prepare_run() {
    _is_prepared = true;
    _folds_strangely = std::any_of(_strange_letters.begin(), _strange_letters.end(),
                                   [this](std::string_view letter) { return _find(letter, 0) < _run.size; });
    for (Needle& needle : _needles) needle.next = _find(needle.bytes, 0);
}

size_t TextSearch::_find(std::string_view needle, size_t from) const {
    return find_in_any_case(reinterpret_cast<const char*>(_run.bytes), _run.size, from, needle);
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
