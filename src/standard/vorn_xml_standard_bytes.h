// vornxml -- the raw bytes of a source for the standard reader.
//
// The standard reader needs every byte of a document, 0xFF included (the
// UTF-16 byte order marks), which get_next_char() reports as the end of
// input.  This is the one place that knows how each kind of source keeps
// its bytes.
#ifndef VORN_XML_STANDARD_BYTES_H
#define VORN_XML_STANDARD_BYTES_H

#include <cstddef>
#include <string>

#include "vorn_xml_input.h"

namespace vorn_standard {

// The bytes of a source from where it stands to its end.  Either `view`
// points into the source's own memory (a string source: nothing copied) or
// into `owned`.  In both cases view[size] is a NUL byte.
struct SOURCE_BYTES {
    const char* view = nullptr;
    std::size_t size = 0;
    std::string owned;
};

// Reads what is left of `source` into `bytes` and leaves the source at its
// end of input.  The library's string, file and streaming sources, and the
// counting and tracking sources wrapped around one of them, are read
// straight from their memory or descriptor; any other source one
// get_next_char() at a time up to its -1.  A string source keeps its text
// in xml_string (string_pos moves to its end); a file or streaming source
// has its buffer marked used up; last_char becomes -1; xml_text of no
// source grows.  A read error of a streaming source is kept in its error
// field and ends the bytes there.
void read_source_bytes(VORN_XML_SAX_INPUT_SOURCE& source, SOURCE_BYTES& bytes);

}  // namespace vorn_standard

#endif
