// vornxml -- reading standard XML 1.0 (fifth edition) beside the library's
// own dialect.
#ifndef VORN_XML_STANDARD_H
#define VORN_XML_STANDARD_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vorn_xml_attrib.h"
#include "vorn_xml_errors.h"
#include "vorn_xml_export.h"
#include "vorn_xml_input.h"
#include "vorn_xml_tree.h"

// ---------------------------------------------------------------------------
// VORN_XML_STANDARD_ATTRIBUTE: one attribute of a start tag as a standard
// handler sees it.  `name` is exactly as written; `value` is normalised as
// XML 1.0 says (references replaced, white space characters turned into
// spaces, and for attributes the internal subset declares as other than
// CDATA, runs of spaces folded and trimmed).  `specified` is false for an
// attribute that was not in the tag but has a default in the internal
// subset; defaults follow the attributes of the tag.
// ---------------------------------------------------------------------------
struct VORN_XML_API VORN_XML_STANDARD_ATTRIBUTE {
    std::string name;
    std::string value;
    bool specified = true;
};

// ---------------------------------------------------------------------------
// VORN_XML_STANDARD_HANDLER: a tree handler that also receives what the
// five events of VORN_XML_SAX_TREE_HANDLER cannot carry.  Derive from it to
// get them; every new operation does nothing by default, and the inherited
// ones keep building the tree in DOM mode.  The standard parser finds out
// once per parse (dynamic_cast) whether its handler is one of these.
//
// Events for a standard handler, in document order:
//
//   - process_notation() for each notation declaration of the internal
//     subset, then process_doctype(), once, when the document has a DOCTYPE;
//   - process_attributes() with every attribute of a start tag in document
//     order (defaults last), immediately before process_start_element();
//   - process_characters() for each run of character data: the text between
//     two pieces of markup, with references and CDATA sections inside it
//     taken in, so two runs never follow each other without markup (a
//     comment, a processing instruction or a tag) between them.  Runs of
//     white space are delivered too, in the document's prolog and epilogue
//     never (there is no character data there);
//   - process_comment() and process_processing_instruction() wherever they
//     stand, the prolog and the epilogue included.
//
// The tree (DOM mode): an element's text (get_element_data()) is its runs
// joined in document order, without the white space that only indents
// sub-elements: a run of white space only (space, tab, line feed, carriage
// return) is left out when it comes after the element's first sub-element,
// and so is such a run before it unless other text of the element follows
// it first.  `<p>Hello <b>big</b> world</p>` gives p the text
// "Hello  world" and b "big"; `<r>\n  <i/>\n</r>` gives r no text, and
// `<r> </r>` the text " ".  This handler's process_characters() appends to
// the innermost open element's text (holding back white space as above)
// instead of replacing it, as the base class does.
//
// A host's handler that is not a standard handler (a plain
// VORN_XML_SAX_TREE_HANDLER or one derived from it) gets the same tree:
// for it the parser joins each element's runs and sends them as one
// process_characters() just before the element's process_end_element()
// (none when the text is empty).
//
// Two attribute names that differ only in letter case (`a` and `A`) are
// two attributes in XML but one in VORN_XML_ATTRIB_LIST, whose names fold
// case.  process_attributes() sees both; building a tree of them cannot
// keep both, so when the handler's DOM_mode is on the parse fails there
// with a message that says so.  With DOM mode off the parse goes on and the
// list passed to process_start_element() holds the first of them only.
//
// Ownership and lifetime as for VORN_XML_SAX_TREE_HANDLER.  Strings passed
// to the new operations belong to the parser and are valid during the call.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_STANDARD_HANDLER : public VORN_XML_SAX_TREE_HANDLER {
public:
    // An empty handler in DOM mode, without a listener.
    VORN_XML_STANDARD_HANDLER() = default;
    ~VORN_XML_STANDARD_HANDLER() override;

    // DOM mode: appends `text` to the innermost open element's text, or
    // holds it back or drops it when it is white space only (see above;
    // nothing when no element is open).  Then tells the listener.
    void process_characters(const std::string& text) override;

    // Drops the white space held back for the parent, then as the base
    // class.
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override;

    // DOM mode: gives an element without sub-elements the white space held
    // back for it; then as the base class.
    void process_end_element(const std::string& name) override;

    // Every attribute of the start tag of `element`, in document order,
    // then the defaults the internal subset adds.
    virtual void process_attributes(const std::string& element,
                                    const std::vector<VORN_XML_STANDARD_ATTRIBUTE>& attributes);

    // A comment's text, between "<!--" and "-->".
    virtual void process_comment(const std::string& text);

    // A processing instruction: its target and its data (white space after
    // the target dropped; empty when there is none).  The XML declaration
    // is not one.
    virtual void process_processing_instruction(const std::string& target, const std::string& data);

    // The DOCTYPE's root element name and its external identifiers (empty
    // when absent).  The external subset is never read.
    virtual void process_doctype(const std::string& name, const std::string& public_id, const std::string& system_id);

    // A notation declaration of the internal subset: its name and its
    // public and system identifiers (empty when absent), in document order,
    // before process_doctype().
    virtual void process_notation(const std::string& name, const std::string& public_id, const std::string& system_id);

private:
    std::string pending_space;  // white space held back for the innermost element
};

// ---------------------------------------------------------------------------
// VORN_XML_STANDARD_PARSER reads one document as XML 1.0 (fifth edition)
// says: it accepts every well-formed document and refuses every other one,
// without validating.  It sends its events to a tree handler, so the
// default tree, path queries and the writer work on what it reads.
//
//     VORN_XML_STANDARD_PARSER parser;
//     VORN_XML_STRING_INPUT_SOURCE source("<a x='1'>caf\xC3\xA9</a>");
//     if (parser.parse(&source)) {
//         VORN_XML_ELEMENT* root = parser.get_tree_handler()->get_root_element();
//         ...
//     } else {
//         ... parser.get_error_line(), parser.get_error_column() and the
//             one message in parser.get_error_handler()
//     }
//
// What it reads: the XML declaration (optional; version, encoding,
// standalone); documents in UTF-8 (checked), UTF-16 (by byte order mark or
// declaration), ISO-8859-1 and US-ASCII, all delivered as UTF-8 (any other
// encoding is refused by name); names as XML 1.0 defines them; attributes
// in single or double quotes, normalised; character references, the five
// predefined entities and the general entities of the internal subset;
// CDATA sections, comments, processing instructions, mixed content; line
// ends normalised to line feeds.  A DOCTYPE's internal subset is checked
// and its entity and attribute-default declarations applied.  Nothing
// outside the document is ever read: an external DTD or external entity
// is skipped (a reference to one is passed over, with nothing in its
// place), and a reference to an undeclared entity is a fault unless the
// document has an external subset or parameter entity references and is
// not standalone, as XML 1.0 says.
//
// Limits: entity expansion stops the parse when the replacement text
// produced for one document passes get_expansion_limit() bytes (against
// documents that expand exponentially); an entity that refers to itself,
// directly or not, is a fault.  No nesting depth is limited by anything
// but memory: elements and entities are followed on explicit stacks.
//
// Input: the bytes of any source.  The library's string, file, streaming,
// counting and tracking sources are read in bulk from their memory (see
// parse()); a host's own source is read one get_next_char() at a time, and
// since a char source cannot deliver the byte 0xFF such a source cannot
// carry UTF-16.  The decoded document is held in memory for the parse.
//
// Faults: the first one stops the parse; it is one error message in the
// collector, "line L, column C: what", and parse() returns false.  Only a
// failure to obtain memory propagates, as std::bad_alloc; the handler's
// tree is then left as far as it got.
//
// Ownership: as for VORN_XML_SAX_PARSER.  The host owns the parser, the
// source and any handler it installs; the parser owns its collector and,
// until set_tree_handler(), the default handler (a VORN_XML_STANDARD_HANDLER
// in DOM mode) that its constructor makes.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_STANDARD_PARSER {
public:
    // Makes the default handler, in DOM mode.  No collector yet.
    VORN_XML_STANDARD_PARSER();
    VORN_XML_STANDARD_PARSER(const VORN_XML_STANDARD_PARSER&) = delete;
    VORN_XML_STANDARD_PARSER& operator=(const VORN_XML_STANDARD_PARSER&) = delete;

    // Deletes the collector and the default handler if the parser still
    // owns it (with its tree).  The source and a host's handler are left
    // alone.
    virtual ~VORN_XML_STANDARD_PARSER();

    // Installs the host's handler (null is accepted: parse() then refuses
    // to run).  The parser's own handler, if it still has it, is deleted
    // first; a host's handler is never deleted by the parser.
    void set_tree_handler(VORN_XML_SAX_TREE_HANDLER* handler);

    // Writes `on` into the installed handler's DOM_mode; nothing without a
    // handler.
    void enable_DOM_mode(bool on);

    // Reads one document from `source`, from where the source stands.
    // Returns false at once, changing nothing, when `source` is null or not
    // open or no handler is installed.  Otherwise makes the collector if
    // there is none yet, clears the failure position and returns true when
    // the document is well-formed.  On the first fault it files exactly one
    // message and returns false.  Messages accumulate across parses.
    //
    // Sources: the library's string, file and streaming sources, and
    // counting and tracking sources over them, are read straight from their
    // memory and left at their end of input (last_char -1); a string source
    // keeps its text in xml_string, and no source's xml_text is extended.
    // process_end_document() receives "".
    bool parse(VORN_XML_SAX_INPUT_SOURCE* source);

    // The collector: null until the first parse() that got past its checks.
    // Owned by the parser.
    VORN_XML_SAX_ERROR_HANDLER* get_error_handler() const { return error_handler; }

    // The installed handler (the parser's own unless the host installed one).
    VORN_XML_SAX_TREE_HANDLER* get_tree_handler() const { return tree_handler; }

    // Where the last parse() failed: line and column from 1, 0 and 0 after
    // a parse that succeeded or has not run.  A line ends at each line end
    // of the document (CR LF, CR or LF, each counting once); a column counts
    // characters, not bytes, whatever the encoding, so "é" is one column
    // and so is a tab.  The position is that of the character at fault (the
    // end of input for a document that ends too soon).
    uint64_t get_error_line() const { return error_line; }
    uint64_t get_error_column() const { return error_column; }

    // The number of bytes of entity replacement text one document may
    // produce in all (character data and attribute values together); past
    // it the parse fails.  0, the default, means 10 MiB or 16 times the
    // document's size, whichever is more.
    void set_expansion_limit(uint64_t bytes) { expansion_limit = bytes; }
    uint64_t get_expansion_limit() const { return expansion_limit; }

private:
    VORN_XML_SAX_TREE_HANDLER* tree_handler;    // owned while owns_tree_handler
    VORN_XML_SAX_ERROR_HANDLER* error_handler;  // owned
    bool owns_tree_handler;
    uint64_t error_line;
    uint64_t error_column;
    uint64_t expansion_limit;
};

#endif
