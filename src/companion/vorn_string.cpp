#include "../internal/vorn_xml_chars.h"
#include "vorn_companion.h"

using vorn_xml_chars::fold_case;
using vorn_xml_chars::is_space;

std::string to_lower_case(const std::string& text)
{
    std::string result(text);
    for (char& c : result)
        c = fold_case(c);
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
    while (end > 0 && is_space(text[end - 1]))
        --end;
    return text.substr(0, end);
}
