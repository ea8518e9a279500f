// vornxml -- the parser.
#ifndef VORN_XML_PARSER_H
#define VORN_XML_PARSER_H

#include <cstdint>
#include <string>

#include "vorn_xml_attrib.h"
#include "vorn_xml_errors.h"
#include "vorn_xml_export.h"
#include "vorn_xml_input.h"
#include "vorn_xml_tree.h"

class VORN_XML_LIMITED_SAX_PARSER;

// ---------------------------------------------------------------------------
// VORN_XML_SAX_PARSER reads one document from an input source in one pass,
// with one character of look-ahead, and sends its events to a tree handler.
//
// Typical use:
//
//     VORN_XML_SAX_PARSER parser;
//     VORN_XML_STRING_INPUT_SOURCE source("<?xml version=\"1.0\"?><a/>");
//     if (parser.parse(&source)) {
//         VORN_XML_ELEMENT* root = parser.get_tree_handler()->get_root_element();
//         ...
//     }
//
// The accepted language: a mandatory declaration <?xml ... ?> whose version
// is exactly "1.0"; elements whose names are runs of ASCII letters, digits
// and "_" starting with a letter or "_"; double-quoted attribute values
// taken literally; character data with &lt; &gt; &quot; &amp; &apos;
// decoded; "<!" always opens a comment running to the next "-->".
// Characters are bytes; no encoding is applied.
//
// Problems in the document are never thrown: each is one message in the
// error list of the collector (get_error_handler()) and parse() returns false.
// Only a failure to obtain memory propagates, as std::bad_alloc.
//
// Ownership: the host owns the parser, the source and any handler it installs
// with set_tree_handler().  The parser owns its collector, its current
// attribute list and, until set_tree_handler() is called, the default tree
// handler its constructor made.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_SAX_PARSER {
public:
    // The kinds of token.  Value 3 is never produced.
    enum TOKEN_TYPE : int {
        TOKEN_UNKNOWN = 0,
        TOKEN_END_OF_INPUT = 1,
        TOKEN_SYMBOL = 2,
        TOKEN_TAG_OPEN = 4,
        TOKEN_END_TAG_OPEN = 5,
        TOKEN_TAG_CLOSE = 6,
        TOKEN_NUMBER = 7,
        TOKEN_STRING = 8,
        TOKEN_IDENTIFIER = 9
    };

    // What the tag readers return.
    enum TAG_KIND : int { TAG_NONE = 0, TAG_START = 1, TAG_END = 2, TAG_EMPTY = 3 };

    // Makes the default tree handler, in DOM mode.  No collector yet.
    VORN_XML_SAX_PARSER();
    VORN_XML_SAX_PARSER(const VORN_XML_SAX_PARSER&) = delete;
    VORN_XML_SAX_PARSER& operator=(const VORN_XML_SAX_PARSER&) = delete;

    // Deletes the current attribute list, the tree handler if the parser
    // made it (with the tree it still holds), and the collector.  The source
    // and a host's handler are left alone.
    virtual ~VORN_XML_SAX_PARSER();

    // Installs the host's handler (null is accepted: parse() then refuses to
    // run).  The parser's own handler, if it still has it, is deleted first;
    // a handler installed this way is never deleted by the parser.  The
    // handler's DOM_mode is left as it is.
    void set_tree_handler(VORN_XML_SAX_TREE_HANDLER* handler);

    // Writes `on` into the installed handler's DOM_mode; nothing without a
    // handler.
    void enable_DOM_mode(bool on);

    // Reads one document from `source`.  Returns false at once, changing
    // nothing, when `source` is null or not open or no handler is installed.
    // Otherwise makes the collector if there is none yet, reads from the
    // start of the source and returns true when the whole document was
    // accepted.  A true result can still come with messages (a tag whose ">"
    // is missing is reported but read on).  Messages accumulate across parses.
    bool parse(VORN_XML_SAX_INPUT_SOURCE* source);

    // The collector: null until the first parse() that got past its checks.
    // Owned by the parser.
    VORN_XML_SAX_ERROR_HANDLER* get_error_handler() const { return error_handler; }

    // The installed handler (the parser's own unless the host installed one).
    VORN_XML_SAX_TREE_HANDLER* get_tree_handler() const { return tree_handler; }

    // -- Reading state and the parser's own operations.  Hosts do not call
    //    these; they are public so that the layout stays plain and derived
    //    tools can look at the reading state.

    char current_char;                          // look-ahead; -1 at end of input
    std::string current_token;                  // text of the current token
    TOKEN_TYPE token_type;                      // kind of the current token
    bool owns_tree_handler;                     // tree_handler is the parser's own
    VORN_XML_SAX_INPUT_SOURCE* input_source;    // not owned
    VORN_XML_SAX_TREE_HANDLER* tree_handler;    // owned while owns_tree_handler
    VORN_XML_SAX_ERROR_HANDLER* error_handler;  // owned
    VORN_XML_ATTRIB_LIST* current_attrib_list;  // owned; the last tag's attributes

    // Reads the next token into current_token and token_type and returns a
    // copy of its text.  In text mode gathers character data up to `stop`.
    std::string get_next_token(bool text_mode, char stop);
    // True and moves on when the current token is `expected` (ignoring ASCII
    // case unless `case_sensitive`); otherwise files an error, consumes
    // nothing and returns false.
    bool need_token(const std::string& expected, bool case_sensitive);
    // True and moves on, storing the text in `name`, when the current token
    // is an identifier; otherwise files an error and returns false.
    bool is_xml_identifier(std::string& name);
    // Takes in one character, or one reference, of character data.
    void get_xml_text();
    // Reads the declaration <?xml ... ?>.
    bool parse_xml_signature_line();
    // Reads name="value" pairs into a new current attribute list.
    bool get_attributes();
    // Reads a start tag or an empty-element tag.
    int parse_xml_start_tag(std::string& name);
    // Reads an end tag.
    int parse_xml_end_tag(std::string& name);
    // Reads content: elements, then at most one run of character data.
    bool parse_xml10_xml_body();
    // The document driver.
    bool parse_xml();

private:
    void read_char() { current_char = static_cast<char>(input_source->get_next_char()); }
    VORN_XML_LOCAL void next_token();            // get_next_token(false, 0) without the copy
    VORN_XML_LOCAL void gather_text(char stop);  // get_next_token(true, stop) without the copy
    // The same over the window of the source (see next_token()).
    template <class WINDOW> void read_token(WINDOW& window);
    template <class WINDOW> char skip_comment(WINDOW& window);
    template <class WINDOW> void read_text(WINDOW& window, char stop);
    // A whole start tag, or end tag, with the token after its ">", read
    // straight from the source's window when all of it lies there and it is
    // plain (no comment, no error to report); otherwise nothing is read and
    // the result is TAG_NONE (false).  The reading state and the source end
    // up exactly as the token-by-token reading leaves them.
    class SPARE_ENTRIES;  // attribute entries kept for reuse across tags
    VORN_XML_LOCAL int read_start_tag_in_window(std::string& name, SPARE_ENTRIES& spare);
    VORN_XML_LOCAL bool read_end_tag_in_window(const std::string& open_name);
    template <class WINDOW> int start_tag_in(WINDOW& window, std::string& name, SPARE_ENTRIES& spare);
    template <class WINDOW> bool end_tag_in(WINDOW& window, const std::string& open_name);
    template <class WINDOW> void token_after(WINDOW& window, const char* after);
    // get_next_token(true, '<') for a run of character data, references
    // included: the run (the current token and the text gathered) goes into
    // `run`.  What lies in the source's window is scanned in place, and the
    // text reader goes on from the window's end, so no byte is read twice.
    // False, with nothing read (`run` then holds anything), when the run
    // starts at a reference, an unknown token or the end of input.
    VORN_XML_LOCAL bool read_run_in_window(std::string& run);
    template <class WINDOW> bool run_in(WINDOW& window, std::string& run);
    // True when the current token's text is exactly the literal `text`.
    template <std::size_t N> bool token_is(const char (&text)[N]) const
    {
        return current_token.size() == N - 1 && std::char_traits<char>::compare(current_token.data(), text, N - 1) == 0;
    }
    // need_token(expected, true) for a literal, without making a string.
    template <std::size_t N> bool need_literal(const char (&expected)[N])
    {
        if (token_is(expected)) {
            next_token();
            return true;
        }
        return missing_literal(expected, N - 1);
    }
    VORN_XML_LOCAL bool missing_literal(const char* expected, std::size_t length);  // the failure of need_literal()
    VORN_XML_LOCAL void file_error(const std::string& message);
    // Limits (vorn_xml_limits.h).  The limited parser whose parse is under
    // way, or null for a plain parser: asked where a check is rare (once per
    // parse's content, per tag read token by token, at the end of a window
    // in the middle of a token, per message).
    VORN_XML_LOCAL VORN_XML_LIMITED_SAX_PARSER* limited_reading();
    // parse_xml10_xml_body(), with the limits of `limited` when LIMITED.
    template <bool LIMITED> bool read_content(VORN_XML_LIMITED_SAX_PARSER* limited);
    // True, with the parse ended, when `size` is beyond the limit `kind`
    // (an int holding a VORN_XML_LIMITS::KIND) of `limited`.
    VORN_XML_LOCAL bool past_limit(VORN_XML_LIMITED_SAX_PARSER* limited, int kind, uint64_t size);
    // past_limit() for the current token, when the parse reads with limits.
    VORN_XML_LOCAL bool token_past_limit(int kind);
};

#endif
