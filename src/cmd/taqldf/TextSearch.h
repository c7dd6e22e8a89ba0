// Regular expressions over the texts of records. A text is not in a record: the catalogs tell first whether
// it can match at all.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "FoundPlace.h"
#include "MessageTexts.h"
#include "primitives/ldf/LdfStream.h"
#include "primitives/memory/RawRoom.h"

namespace re2 {
class RE2;
class FilteredRE2;
} // namespace re2

// One condition: the text matches one of the expressions, or none of them.
struct TextCondition {
    std::vector<std::string> expressions;
    bool is_negated = false;
};

struct TextSearchOptions {
    bool is_literal = false; // the expressions are texts to be found as they are
    bool ignores_case = false;
    bool any = false; // one condition suffices
};

// With one condition, a text is composed only when its catalog's text or the record's arguments hold what the
// expressions need, and texts are searched in blocks of many. The result is that of a search in each text.
class TextSearch {
public:
    // Null, with the reason in `error`, when an expression is wrong. The texts must outlive the search.
    static std::unique_ptr<TextSearch> make(const std::vector<TextCondition>& conditions,
                                            const TextSearchOptions& options, MessageTexts& texts,
                                            std::string& error);
    ~TextSearch();
    TextSearch(const TextSearch&) = delete;
    TextSearch& operator=(const TextSearch&) = delete;

    // For each run of records: begin, then for each record in order may_match, then end. may_match false: it
    // does not match. Else the caller puts it in `found` at `place`, and end() removes it again if it does
    // not match after all.
    void begin(const LdfRun& run);
    bool may_match(const unsigned char* record, size_t place);
    void end(std::vector<FoundPlace>& found);

private:
    struct Condition;
    // What is looked for in the bytes of many records at once, and the next place in the run where it stands.
    struct Needle {
        std::string bytes; // lower case
        size_t next;
    };
    // What is known of the texts of a message.
    struct Seen {
        uint64_t key = ~uint64_t{0};
        bool can_match = true; // whatever the arguments are
        uint32_t needles = 0;  // else a record must hold one of these: a bit for each of _needles
    };
    struct Line {
        size_t start; // in the block
        size_t place;
    };

    TextSearch(MessageTexts& texts, bool any);
    void _prepare_blocks(const std::string& expression, bool ignores_case);
    void _prepare_atoms(const std::string& expression, bool ignores_case);
    Seen _learn(const KnownMessage& message);
    bool _add_needle(std::string_view bytes, Seen& seen);
    bool _has_needle(const unsigned char* record, size_t size, uint32_t needles);
    void _prepare_run();
    size_t _find(std::string_view needle, size_t from) const;
    bool _holds_strange_letter(std::string_view text) const;
    bool _matches_alone(std::string_view text) const;
    void _search_block();
    void _decide(size_t place, bool matches) {
        if (!matches) _dropped.push_back(place);
    }

    MessageTexts& _texts;
    const bool _any;
    std::vector<Condition> _conditions;
    std::unique_ptr<re2::RE2> _in_block;         // null: each text is searched alone
    std::unique_ptr<re2::FilteredRE2> _filtered; // null: every text must be composed
    std::vector<std::string> _atoms;
    std::vector<Needle> _needles;
    std::vector<std::string_view> _strange_letters; // whose lower case is a letter of an atom

    std::array<Seen, 1024> _seen; // a message has one place, which it shares with others

    LdfRun _run = {};
    bool _is_prepared = false;     // the needles were looked for in the run
    bool _folds_strangely = false; // the run holds one of the strange letters

    RawRoom<char> _block;
    size_t _used = 0;
    std::vector<Line> _lines; // of the block
    std::vector<size_t> _dropped;
};
