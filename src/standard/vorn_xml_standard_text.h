// vornxml -- a document's bytes turned into the UTF-8 text the standard
// reader reads.
#ifndef VORN_XML_STANDARD_TEXT_H
#define VORN_XML_STANDARD_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "vorn_xml_standard_bytes.h"

namespace vorn_standard {

// The document as UTF-8 without its byte order mark, line ends turned into
// line feeds and every character checked to be one XML allows.  text[size]
// is a NUL byte and no NUL byte lies before it.  When the bytes hold
// something that is not a character (a byte sequence that is not one in
// the encoding, a character XML forbids) or name an encoding that is not
// read, the text ends where that is and `fault` says what it is: the
// reader reports it when it reaches the end of the text.
struct DOCUMENT_TEXT {
    const char* text = nullptr;
    std::size_t size = 0;
    std::string owned;  // the text when it is not the source's bytes as they are
    std::string fault;  // empty when the text is the whole document
};

// Decodes `bytes` into `out`.  The encoding comes from the byte order mark
// and, without one, from the encoding named in the XML declaration; UTF-8
// when neither says.  `out` may point into `bytes`, which must then outlive
// it.
void decode_document(SOURCE_BYTES& bytes, DOCUMENT_TEXT& out);

// XML 1.0 white space: blank, tab, line feed, carriage return.
inline bool is_space(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// A character XML 1.0 allows in a document (Char).
inline bool xml_char(uint32_t c)
{
    if (c < 0x20)
        return c == 0x9 || c == 0xA || c == 0xD;
    if (c < 0xD800)
        return true;
    if (c < 0xE000)
        return false;
    if (c < 0x10000)
        return c != 0xFFFE && c != 0xFFFF;
    return c < 0x110000;
}

// Appends the UTF-8 form of the code point `c` (below 0x110000) to `out`.
inline void append_utf8(std::string& out, uint32_t c)
{
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

}  // namespace vorn_standard

#endif
