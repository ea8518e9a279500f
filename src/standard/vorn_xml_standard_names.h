// vornxml -- names as XML 1.0 (fifth edition) defines them, over UTF-8
// text that is known to be valid.
#ifndef VORN_XML_STANDARD_NAMES_H
#define VORN_XML_STANDARD_NAMES_H

#include <cstdint>

namespace vorn_standard {

// ASCII bytes that may start a name (1) or continue one (2, with 1).
struct ASCII_NAME_BYTES {
    uint8_t kind[128] = {};
    constexpr ASCII_NAME_BYTES() : kind()
    {
        for (int c = 'a'; c <= 'z'; ++c)
            kind[c] = 3;
        for (int c = 'A'; c <= 'Z'; ++c)
            kind[c] = 3;
        kind[static_cast<int>('_')] = 3;
        kind[static_cast<int>(':')] = 3;
        for (int c = '0'; c <= '9'; ++c)
            kind[c] = 2;
        kind[static_cast<int>('-')] = 2;
        kind[static_cast<int>('.')] = 2;
    }
};
constexpr ASCII_NAME_BYTES ascii_name_bytes;

inline bool name_start_code(uint32_t c)
{
    return (c >= 0xC0 && c <= 0xD6) || (c >= 0xD8 && c <= 0xF6) || (c >= 0xF8 && c <= 0x2FF) ||
           (c >= 0x370 && c <= 0x37D) || (c >= 0x37F && c <= 0x1FFF) || (c >= 0x200C && c <= 0x200D) ||
           (c >= 0x2070 && c <= 0x218F) || (c >= 0x2C00 && c <= 0x2FEF) || (c >= 0x3001 && c <= 0xD7FF) ||
           (c >= 0xF900 && c <= 0xFDCF) || (c >= 0xFDF0 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0xEFFFF);
}

inline bool name_code(uint32_t c)
{
    return name_start_code(c) || c == 0xB7 || (c >= 0x300 && c <= 0x36F) || (c >= 0x203F && c <= 0x2040);
}

// The character at p (a byte from 0x80 up starts it) and its length.
inline uint32_t decode_at(const char* p, int& length)
{
    const auto* s = reinterpret_cast<const unsigned char*>(p);
    if (s[0] < 0xE0) {
        length = 2;
        return ((s[0] & 0x1Fu) << 6) | (s[1] & 0x3Fu);
    }
    if (s[0] < 0xF0) {
        length = 3;
        return ((s[0] & 0x0Fu) << 12) | ((s[1] & 0x3Fu) << 6) | (s[2] & 0x3Fu);
    }
    length = 4;
    return ((s[0] & 0x07u) << 18) | ((s[1] & 0x3Fu) << 12) | ((s[2] & 0x3Fu) << 6) | (s[3] & 0x3Fu);
}

// The end of the name characters from p on (p itself when none).
inline const char* name_chars_end(const char* p)
{
    for (;;) {
        const auto c = static_cast<unsigned char>(*p);
        if (c < 0x80) {
            if (ascii_name_bytes.kind[c] == 0)
                return p;
            ++p;
        } else {
            int length;
            if (!name_code(decode_at(p, length)))
                return p;
            p += length;
        }
    }
}

// The end of the name that starts at p; p itself when none starts there.
inline const char* name_end(const char* p)
{
    const auto c = static_cast<unsigned char>(*p);
    if (c < 0x80) {
        if (ascii_name_bytes.kind[c] != 3)
            return p;
        return name_chars_end(p + 1);
    }
    int length;
    if (!name_start_code(decode_at(p, length)))
        return p;
    return name_chars_end(p + length);
}

// The end of the name token (Nmtoken) that starts at p; p when none.
inline const char* nmtoken_end(const char* p)
{
    return name_chars_end(p);
}

}  // namespace vorn_standard

#endif
