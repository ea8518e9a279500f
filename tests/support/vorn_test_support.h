// Shared helpers for the tests: temporary files, a one-byte-at-a-time source,
// an event recorder, and a driver that runs one document through every kind
// of source.  The message texts are in vorn_test_messages.h.
#ifndef VORN_TEST_SUPPORT_H
#define VORN_TEST_SUPPORT_H

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <vorn_xml.h>

#include "vorn_test_messages.h"

namespace vorn_test {

// A temporary folder (in /dev/shm where there is one), removed with its
// contents.
class TEMP_DIR {
public:
    TEMP_DIR();
    ~TEMP_DIR();
    TEMP_DIR(const TEMP_DIR&) = delete;
    TEMP_DIR& operator=(const TEMP_DIR&) = delete;
    // Writes `bytes` to the file `name` in the folder and returns its path.
    std::string write(const std::string& name, const std::string& bytes) const;
    std::string path;
};

// A host's own source: hands out `text` one byte per call (0xFF ends it) and
// keeps xml_text up to date byte by byte.
class BYTE_SOURCE : public VORN_XML_SAX_INPUT_SOURCE {
public:
    explicit BYTE_SOURCE(std::string text) : bytes(std::move(text)) { is_open = true; }
    int get_next_char() override;
    long calls = 0;  // get_next_char() calls so far

private:
    std::string bytes;
    std::size_t pos = 0;
};

// "a=1,b=2", in the list's order; empty for no list.
std::string attribs_text(const VORN_XML_ATTRIB_LIST* list);

// Records every event as a line ("start-document", "end-document",
// "start NAME {a=1,b=2}", "end NAME", "chars TEXT") and still builds the tree.
// The base handler replaces its root with each new top-level element without
// deleting the one before; the recorder keeps those itself.
class RECORDING_HANDLER : public VORN_XML_SAX_TREE_HANDLER {
public:
    std::vector<std::string> events;
    std::string end_document_text;
    std::vector<std::unique_ptr<VORN_XML_ELEMENT>> replaced_roots;

    void process_start_document() override
    {
        events.emplace_back("start-document");
        VORN_XML_SAX_TREE_HANDLER::process_start_document();
    }
    void process_end_document(const char* text) override
    {
        events.emplace_back("end-document");
        end_document_text = text;
        VORN_XML_SAX_TREE_HANDLER::process_end_document(text);
    }
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        events.push_back("start " + name + " {" + attribs_text(attributes) + "}");
        VORN_XML_SAX_TREE_HANDLER::process_start_element(name, attributes);
    }
    void process_end_element(const std::string& name) override
    {
        events.push_back("end " + name);
        VORN_XML_ELEMENT* before = root_element;
        VORN_XML_SAX_TREE_HANDLER::process_end_element(name);
        if (before != nullptr && root_element != before)
            replaced_roots.emplace_back(before);
    }
    void process_characters(const std::string& text) override
    {
        events.push_back("chars " + text);
        VORN_XML_SAX_TREE_HANDLER::process_characters(text);
    }
};

// The verdict, the messages and the events of a parse; `tree` is dump_tree()
// of the root, `at` the "LINE:COLUMN" of a failure as the counting source
// has it, `end_text` what process_end_document received.
struct OUTCOME {
    bool ok = false;
    std::vector<std::string> errors, events;
    std::string tree, at, end_text;
};

// Parses `document` with a fresh parser and a RECORDING_HANDLER through the
// string, file, streaming and byte sources, each wrapped in a counting
// source that copies their text and again in a tracking source, checks that
// the outcomes (and the two wrappers' reading, token and failure positions)
// agree, and returns the string source's.  When the string source hands the whole
// document to process_end_document, the file and byte sources do too (the
// streaming source nothing); a tree read, written back, reads back the same.
OUTCOME parse_all_ways(const std::string& document);

// Writes the tree of `root` with the given indent and expects it to read
// back as the same tree.
void expect_written_back(VORN_XML_ELEMENT* root, int indent);

// All messages of a collector's error list, in order.
std::vector<std::string> error_messages(const VORN_XML_SAX_ERROR_HANDLER* errors);

// A compact text form of a tree: a{x=1}("text")[b,c("t")]
std::string dump_tree(VORN_XML_ELEMENT* root);

}  // namespace vorn_test

#endif
