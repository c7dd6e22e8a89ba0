// Numbers for people.
#pragma once

#include <cstdint>
#include <string>

// "62,300", whatever the language: lines of verify and recover are read by programs, too.
inline std::string grouped(int64_t number) {
    std::string digits = std::to_string(number);
    for (size_t at = digits.size(); at > 3 && digits[at - 4] != '-';) digits.insert(at -= 3, 1, ',');
    return digits;
}

// "1 record", "62,300 records".
inline std::string counted(int64_t number, const char* thing) {
    return grouped(number) + " " + thing + (number == 1 ? "" : "s");
}
