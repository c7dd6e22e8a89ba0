// Which records are wanted: by the fields of their fixed part first, then by names, then by their text.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "TextSearch.h"
#include "primitives/ldf/LdfStream.h"

// A condition on one property, of which any value will do.
struct FilterClause {
    enum Kind { SEVERITY, OBJECT_TYPE, ID, CATEGORY, OBJECT, SOURCE, TEXT };
    struct Identity {
        uint32_t mask, value; // of msgcat_id
    };
    struct Position {
        std::string file;
        int64_t line; // -1: any
    };

    Kind kind;
    bool is_negated;
    std::bitset<256> codes;           // SEVERITY, OBJECT_TYPE
    std::vector<Identity> identities; // ID, CATEGORY
    std::vector<std::string> names;   // OBJECT
    std::vector<Position> positions;  // SOURCE
    std::vector<std::string> texts;   // TEXT: regular expressions
};

struct FilterOptions {
    int64_t since = std::numeric_limits<int64_t>::min();
    int64_t until = std::numeric_limits<int64_t>::max(); // exclusive
    bool any = false;                                    // one clause suffices; the times bound in any case
    std::vector<FilterClause> clauses;
};

// Not const: the text search keeps what it learns. One thread at a time.
class RecordFilter {
public:
    // search: for the clauses on texts, null when there are none.
    explicit RecordFilter(FilterOptions options, std::unique_ptr<TextSearch> search = nullptr);

    // Appends the records of a run that are wanted. `key` is the greatest time so far and is brought forward
    // over all records.
    void find(const LdfRun& run, int32_t& key, std::vector<FoundPlace>& found);

private:
    enum class Verdict { NO, YES, ASK };
    Verdict _judge_fields(const unsigned char* record) const;
    Verdict _judge_some_field(const unsigned char* record) const;
    Verdict _judge_names(const unsigned char* record) const;
    void _take(const unsigned char* record, FoundPlace place, std::vector<FoundPlace>& found);

    const FilterOptions _options;
    const int64_t _since;
    const uint64_t _seconds; // from there on; 0: nothing is wanted
    // All clauses on these two codes at once, when every clause must hold.
    std::array<bool, 256> _severities, _object_types;
    std::vector<const FilterClause*> _field_clauses; // those that are not in the two sets
    std::vector<const FilterClause*> _name_clauses;
    std::unique_ptr<TextSearch> _search;
};
