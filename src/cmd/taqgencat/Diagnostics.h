// What the parser and the checker say about sources: faults, for which nothing is written, and warnings.
#pragma once

#include "Messages.h"

#include <cstddef>
#include <string>
#include <unordered_set>
#include <vector>

namespace gencat {

class Diagnostics {
public:
    void add(const SourcePos& pos, const std::string& fault) {
        _append(pos, fault);
        _has_faults = true;
    }
    void warn(const SourcePos& pos, const std::string& reason) { _append(pos, "warning: " + reason); }

    bool has_faults() const { return _has_faults; }
    const std::vector<std::string>& lines() const {
        return _lines;
    } // "file:line: reason", as they were found

private:
    void _append(const SourcePos& pos, const std::string& reason) {
        const std::string line = *pos.file + ":" + std::to_string(pos.line) + ": " + reason;
        if (_told.insert(line).second) _lines.push_back(line); // a source may also be the reference
    }

    std::vector<std::string> _lines;
    std::unordered_set<std::string> _told;
    bool _has_faults = false;
};

} // namespace gencat
