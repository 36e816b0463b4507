#pragma once

#include <string>

namespace backend {

// Without the blanks at both ends.
inline std::string trimmed(const std::string &text)
{
    constexpr char Blanks[] = " \t\r";
    const std::size_t begin = text.find_first_not_of(Blanks);
    return begin == std::string::npos
               ? std::string()
               : text.substr(begin, text.find_last_not_of(Blanks) - begin + 1);
}

// Of a hexadecimal digit; -1 for anything else.
inline int hexValue(char digit)
{
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

} // namespace backend
