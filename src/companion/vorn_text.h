// Copying text into strings that are reused.  Internal: not installed.
#ifndef VORN_TEXT_H
#define VORN_TEXT_H

#include <cstddef>
#include <cstring>
#include <string>

// `text`, which held a text of its kind before (a reused name or value),
// becomes [p, p + size), which lies outside it: in place when it is no
// shorter, which needs no reallocation and no call into the string's
// replacing code; else by clear() and append(), the same result as assign()
// by a shorter road.
inline void vorn_reuse_text(std::string& text, const char* p, std::size_t size)
{
    if (size <= text.size()) {
        if (size != 0)
            std::memcpy(&text[0], p, size);
        text.resize(size);
        return;
    }
    text.clear();
    text.append(p, size);
}

#endif
