// How the tool shows text: between quotes, with anything that is not a
// printable ASCII character escaped, so control characters stay visible.
#include <cstdio>

#include "vornxml_tool.h"

namespace vornxml_tool {

std::string quoted(const std::string& text)
{
    std::string out(1, '"');
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\t': out += "\\t"; break;
        case '\r': out += "\\r"; break;
        default:
            if (byte < 0x20 || byte >= 0x7f) {
                char hex[8];
                std::snprintf(hex, sizeof hex, "\\x%02X", byte);
                out += hex;
            } else {
                out += c;
            }
        }
    }
    out += '"';
    return out;
}

void put_line(std::string line)
{
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stdout);
}

}  // namespace vornxml_tool
