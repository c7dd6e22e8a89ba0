// Where records go: standard output, a device or pipe, or a file that appears under its name when it is
// complete.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "Problems.h"
#include "primitives/log/LineBuffer.h"
#include "primitives/memory/RawRoom.h"

class Output {
public:
    explicit Output(Problems& problems) : _problems(problems) {}
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // path "": standard output. False, and told: it cannot be made.
    bool open(const std::string& path);

    LineBuffer& lines() { return *_lines; }

    // Whether more can be written. A closed pipe is the reader's wish, any other reason is told.
    bool takes_more() { return !_lines->has_failed() || _give_up(); }

    // Sends what is left and gives a file its name.
    void finish();

private:
    static constexpr size_t ROOM = 128 * 1024;

    bool _open_file();
    bool _give_up();

    Problems& _problems;
    RawRoom<char> _room;
    std::unique_ptr<LineBuffer> _lines;
    std::string _path;       // "" for standard output
    std::string _unfinished; // "" when the bytes go where they belong at once
    FILE* _file = nullptr;   // owned; null for standard output
    bool _is_told = false;
};
