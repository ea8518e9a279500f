// Shared helpers for the tests: temporary files, a one-byte-at-a-time source,
// an event recorder, and a driver that runs one document through every kind
// of source.
#ifndef VORN_TEST_SUPPORT_H
#define VORN_TEST_SUPPORT_H

#include <memory>
#include <string>
#include <vector>

#include <vorn_xml.h>

namespace vorn_test {

// A folder under the system's temporary folder, removed with everything in
// it when the object is destroyed.
class TEMP_DIR {
public:
    TEMP_DIR();
    ~TEMP_DIR();
    TEMP_DIR(const TEMP_DIR&) = delete;
    TEMP_DIR& operator=(const TEMP_DIR&) = delete;

    const std::string& path() const { return dir; }
    // Writes `bytes` to the file `name` in the folder and returns its path.
    std::string write(const std::string& name, const std::string& bytes) const;

private:
    std::string dir;
};

// A source of the host's own making: hands out `text` one byte per call, as
// the string source does, and counts its calls.  It keeps xml_text up to
// date byte by byte.
class BYTE_SOURCE : public VORN_XML_SAX_INPUT_SOURCE {
public:
    explicit BYTE_SOURCE(std::string text);
    int get_next_char() override;
    long calls = 0;

private:
    std::string bytes;
    std::size_t pos = 0;
    bool ended = false;
};

// A tree handler that records every event as a line of text, and still
// builds the tree through the base operations:
//   "start-document", "end-document", "start NAME {a=1,b=2}", "end NAME",
//   "chars TEXT".
// A document may hold several top-level elements; the handler replaces its
// root with each one without deleting the one before, so the recorder keeps
// the replaced ones itself.
class RECORDING_HANDLER : public VORN_XML_SAX_TREE_HANDLER {
public:
    std::vector<std::string> events;
    std::string end_document_text;
    std::vector<std::unique_ptr<VORN_XML_ELEMENT>> replaced_roots;

    void process_start_document() override;
    void process_end_document(const char* text) override;
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override;
    void process_end_element(const std::string& name) override;
    void process_characters(const std::string& text) override;
};

// One parse and what came of it.
struct OUTCOME {
    bool ok = false;
    std::vector<std::string> errors;
    std::vector<std::string> events;
    std::string tree;               // dump_tree() of the root, "" without one
    std::string end_document_text;  // what process_end_document received
};

enum class SOURCE_KIND { STRING, FILE, BYTES };

// Parses `document` with a fresh parser and a RECORDING_HANDLER through the
// given kind of source.
OUTCOME parse_with(SOURCE_KIND kind, const std::string& document);

// Parses `document` through all three kinds of source, checks with
// GoogleTest that the outcomes agree, and returns the string source's.
OUTCOME parse_all_ways(const std::string& document);

// All messages of a collector's error list, in order (rewinds the cursor).
std::vector<std::string> error_messages(VORN_XML_SAX_ERROR_HANDLER* errors);

// A compact, deterministic text form of a tree:
//   a{x=1}("text")[b,c("t")]
std::string dump_tree(VORN_XML_ELEMENT* root);

}  // namespace vorn_test

#endif
