// vornxml -- the standard XML 1.0 reader over a decoded document.
#ifndef VORN_XML_STANDARD_READER_H
#define VORN_XML_STANDARD_READER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "vorn_xml_standard.h"
#include "vorn_xml_standard_text.h"

namespace vorn_standard {

// Reads one decoded document and sends its events to a handler.  On the
// first fault it stops and keeps the message and the place in the
// document's text where the fault lies.
class STANDARD_READER {
public:
    STANDARD_READER(VORN_XML_SAX_TREE_HANDLER& handler, uint64_t expansion_limit);
    ~STANDARD_READER();
    STANDARD_READER(const STANDARD_READER&) = delete;
    STANDARD_READER& operator=(const STANDARD_READER&) = delete;

    // True when the document is well-formed.  Otherwise message() says why
    // and fault_offset() where, as a byte offset in text.text.
    bool read(const DOCUMENT_TEXT& text);
    const std::string& message() const;
    std::size_t fault_offset() const;

private:
    class STATE;
    std::unique_ptr<STATE> state;
};

}  // namespace vorn_standard

#endif
