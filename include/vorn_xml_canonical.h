// vornxml -- a document in canonical form, written as it is read.
#ifndef VORN_XML_CANONICAL_H
#define VORN_XML_CANONICAL_H

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "vorn_xml_export.h"
#include "vorn_xml_standard.h"

// ---------------------------------------------------------------------------
// VORN_XML_CANONICAL_HANDLER: a standard handler that writes the document
// it is sent in canonical form, the form conformance test suites compare
// readers' results in.  Two documents that read the same (the same
// elements, attributes, text and processing instructions) give the same
// bytes:
//
//   - no XML declaration and no DOCTYPE (but see notations below);
//     comments are dropped; processing instructions are kept, in place, as
//     <?target data?> with exactly one space after the target;
//   - a start tag lists its attributes, defaults included, sorted by name
//     byte by byte (which for UTF-8 is the order of the characters), each
//     as name="value"; every element has a start and an end tag, empty
//     ones included (<a></a>, never <a/>);
//   - in text and attribute values, & < > " and the characters tab, line
//     feed and carriage return are written as &amp; &lt; &gt; &quot; &#9;
//     &#10; &#13;; everything else as it is (UTF-8);
//   - when the document declares notations, they come right before the
//     root's start tag (after the processing instructions of the prolog
//     and of the internal subset), sorted by name, as the DOCTYPE block
//         <!DOCTYPE root [
//         <!NOTATION name PUBLIC 'public' 'system'>
//         ]>
//     followed by a line feed (PUBLIC 'public' alone, or SYSTEM 'system',
//     when the declaration has only one identifier).
//
// Output goes to the stream given at construction, in pieces of 64 KiB and
// at the end of the document, so the handler reads documents of any size
// in constant memory.  Of a document refused part way, only the full
// pieces written before the fault reach the stream (none for a document
// under 64 KiB); the rest is dropped.  It builds no tree: its constructor turns DOM_mode
// off, and it must stay off.  The handler does not own the stream; the
// stream must outlive it.  A failing stream is not reported here: look at
// the stream after the parse.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_CANONICAL_HANDLER : public VORN_XML_STANDARD_HANDLER {
public:
    // A handler writing to `out`, with DOM_mode off.
    explicit VORN_XML_CANONICAL_HANDLER(std::ostream& out);
    // Drops what is still held back (a document that did not end).
    ~VORN_XML_CANONICAL_HANDLER() override;

    // Starts a new document: drops what is held back and forgets the last
    // document's DOCTYPE and notations.
    void process_start_document() override;
    // Writes what is still held back to the stream, then tells the listener.
    void process_end_document(const char* text) override;
    // Writes the start tag with the attributes process_attributes() gave
    // for this element (or, when it gave none, those of `attributes`).
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override;
    void process_end_element(const std::string& name) override;
    void process_characters(const std::string& text) override;
    void process_attributes(const std::string& element,
                            const std::vector<VORN_XML_STANDARD_ATTRIBUTE>& attributes) override;
    void process_processing_instruction(const std::string& target, const std::string& data) override;
    void process_doctype(const std::string& name, const std::string& public_id, const std::string& system_id) override;
    // Records the notation (add_notation()).
    void process_notation(const std::string& name, const std::string& public_id, const std::string& system_id) override;

    // Records a notation declaration: its name and its public and system
    // identifiers (empty when absent).  The notations recorded before the
    // root's start tag are written right before it, as described above.
    void add_notation(const std::string& name, const std::string& public_id, const std::string& system_id);

    // Appends `text` to `out` with the escapes of canonical form.
    static void escape(const std::string& text, std::string& out);

private:
    struct NOTATION {
        std::string name;
        std::string public_id;
        std::string system_id;
    };
    void put_doctype();  // the notations' DOCTYPE block, once
    void flush();

    std::ostream& stream;
    std::string pending;  // output not yet handed to the stream
    std::string doctype_name;
    std::vector<NOTATION> notations;
    std::vector<std::pair<std::string, std::string>> attributes_given;  // for the next start tag
    bool have_attributes = false;
    bool doctype_written = false;
};

#endif
