// Faults of sources, in the order in which they were found.
#pragma once

#include "Messages.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace gencat {

class Diagnostics {
public:
    void add(const SourcePos& pos, const std::string& reason) {
        _lines.push_back(*pos.file + ":" + std::to_string(pos.line) + ": " + reason);
    }

    bool empty() const { return _lines.empty(); }
    const std::vector<std::string>& lines() const { return _lines; } // "file:line: reason"

private:
    std::vector<std::string> _lines;
};

} // namespace gencat
