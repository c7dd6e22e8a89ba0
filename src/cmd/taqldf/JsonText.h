// One line of JSON. The library writes it; a text from a record leaves as valid JSON whatever its bytes are,
// and without a control character.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

class JsonText {
public:
    using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

    // Starts a new line.
    void begin() {
        _buffer.Clear();
        _writer.Reset(_buffer);
    }
    Writer* operator->() { return &_writer; }
    template <size_t N>
    void name(const char (&name)[N]) {
        _writer.Key(name, N - 1);
    }
    // Without a newline; valid until begin().
    std::string_view bytes() const { return {_buffer.GetString(), _buffer.GetSize()}; }

    // Forgets bytes() within a line that is too long to be kept; what is added goes on where they ended.
    void clear_bytes() { _buffer.Clear(); }

    // Adds a string. `oddities`: what it may hold (VisibleText.h). False: some bytes are no UTF-8; U+FFFD
    // stands for each.
    bool text(std::string_view text, unsigned oddities);

private:
    rapidjson::StringBuffer _buffer;
    Writer _writer{_buffer};
    std::string _quoted; // used for each text
};

std::string base64(std::string_view bytes);
