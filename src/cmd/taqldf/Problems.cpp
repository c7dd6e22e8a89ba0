// Tells of files that cannot be read, whatever bytes their names have.
#include "Problems.h"

#include "VisibleText.h"

#include <cstdio>
#include <string>

void Problems::failure(std::string_view text) {
    _has_failed = true;
    _tell(text);
}

void Problems::damage(std::string_view text) {
    ++_damaged;
    _tell(text);
}

void Problems::_tell(std::string_view text) {
    const std::string line = "taqldf: " + visible_text(text) + "\n";
    (void)std::fwrite(line.data(), 1, line.size(), stderr); // nobody is left to tell
}

int Problems::status(bool found) const {
    if (_has_failed) return TAQLDF_FAILED;
    if (_damaged > 0) return TAQLDF_DAMAGED;
    return found ? TAQLDF_FOUND : TAQLDF_NONE;
}
