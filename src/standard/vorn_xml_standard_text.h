// vornxml -- a document's bytes turned into the UTF-8 text the standard
// reader reads.
#ifndef VORN_XML_STANDARD_TEXT_H
#define VORN_XML_STANDARD_TEXT_H

#include <cstddef>
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

}  // namespace vorn_standard

#endif
