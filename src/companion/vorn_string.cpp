#include "vorn_companion.h"

std::string to_lower_case(const std::string& text)
{
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c + ('a' - 'A'));
    }
    return result;
}

std::string to_upper_case(const std::string& text)
{
    std::string result(text);
    for (char& c : result) {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - ('a' - 'A'));
    }
    return result;
}

std::string trim_right(const std::string& text)
{
    std::string::size_type end = text.size();
    while (end > 0) {
        const char c = text[end - 1];
        if (c != ' ' && c != '\t' && c != '\n' && c != '\v' && c != '\f' && c != '\r')
            break;
        --end;
    }
    return text.substr(0, end);
}
