// vornxml -- limits that bound what one document can make the parser hold.
#ifndef VORN_XML_LIMITS_H
#define VORN_XML_LIMITS_H

#include <cstdint>

#include "vorn_xml_export.h"
#include "vorn_xml_parser.h"

// ---------------------------------------------------------------------------
// VORN_XML_LIMITS: the most a document may ask of the parser at once.  A
// plain VORN_XML_SAX_PARSER has none: it reads any document whole, and a
// hostile one can make it hold as much memory as the document is long, or
// more (a tag of two million bytes of malformed pairs files over a million
// messages).  A VORN_XML_LIMITED_SAX_PARSER (below) reads with limits.
//
// Each field is a count; 0 means no limit.  Bytes are counted as the parser
// takes them in, after references are decoded.
//
//   longest_name        bytes of one element or attribute name
//   longest_text        bytes of one run of character data (the text of an
//                       element between two tags, references decoded), of
//                       one attribute value, of one comment
//   longest_tag         bytes of one start tag, from its "<" to its ">"
//   deepest_nesting     elements open at once (the top-level element is 1)
//   attributes_per_tag  name="value" pairs of one tag, malformed ones and
//                       repeated names included
//   messages_kept       error messages kept in the collector per parse
//
// What a limit does when a document reaches it:
//   - longest_name, longest_text, longest_tag, deepest_nesting and
//     attributes_per_tag end the parse there, as a malformed document does:
//     one error message names the limit and its value (for example
//     "limit: a run of text longer than 8388608 bytes (longest_text)"),
//     parse() returns false, and get_limit_reached() says which limit it
//     was.  Events already sent stay sent; a tree already built stays with
//     the tree handler, as after any failure.  The parser reads no further
//     than the limit plus the source's window (at most 64 KiB).
//   - messages_kept lets the parse go on: the first messages_kept error
//     messages of the parse are kept, later ones are counted, not stored,
//     and one more message after the kept ones says how many were left out
//     ("limit: 1331200 more error messages left out (messages_kept)").  That
//     closing message is the one message a collector ever changes: it is
//     rewritten in place as the count grows (a cursor on it stays valid).
//     The result of parse() is the one it would have been without the limit.
//     When a limit ends a parse that has left messages out, its message
//     takes the closing message's place and says both ("limit: more
//     attributes in one tag than 1024 (attributes_per_tag); 1948 more error
//     messages left out (messages_kept)"); nothing is filed after it.
//
// A document within every limit is read exactly as a plain parser reads it:
// the same result, events, tree and messages.
//
// The tool's defaults (tool_defaults()) keep the vornxml tool within 64 MiB
// on any input in the modes that build no tree (--events, --quiet, --select
// without text()); in the modes that build a tree the tree's memory follows
// the document's size, and the limits bound the rest.  When a limit ends a
// document the tool prints the library's message followed by the option
// that lifts it:
//
//   limit               tool default   option that lifts it
//   longest_name        4096           --max-name=BYTES
//   longest_text        8388608 (8 MiB) --max-text=BYTES
//   longest_tag         8388608 (8 MiB) --max-tag=BYTES
//   deepest_nesting     4096           --max-depth=N
//   attributes_per_tag  1024           --max-attributes=N
//   messages_kept       100            --max-messages=N
//
// (0 for no limit; --huge lifts all of them but messages_kept.)  The worst
// case the defaults allow at once: 4096 open names of 4096 bytes (16 MiB)
// and one text run of 8 MiB held in about three copies while it is read and
// handed on.
// ---------------------------------------------------------------------------
struct VORN_XML_API VORN_XML_LIMITS {
    // Which limit a parse reached; NONE when it reached none.
    enum KIND : int { NONE = 0, NAME = 1, TEXT = 2, TAG = 3, DEPTH = 4, ATTRIBUTES = 5, MESSAGES = 6 };

    uint64_t longest_name = 0;
    uint64_t longest_text = 0;
    uint64_t longest_tag = 0;
    uint64_t deepest_nesting = 0;
    uint64_t attributes_per_tag = 0;
    uint64_t messages_kept = 0;

    // The vornxml tool's defaults (the table above).
    static VORN_XML_LIMITS tool_defaults();

    // The value of the limit `kind` (0 for NONE or an unknown kind).
    uint64_t get(KIND kind) const;

    // The name of the field of `kind` ("longest_text"); "" for NONE or an
    // unknown kind.  A static string: never freed.
    static const char* field_name(KIND kind);
};

// ---------------------------------------------------------------------------
// VORN_XML_LIMITED_SAX_PARSER: a parser that reads with limits.  It is used
// exactly as VORN_XML_SAX_PARSER (parse(), the handlers, the collector); the
// base class's parse() finds out once per parse that it reads for a limited
// parser and keeps to the limits set at that moment.
//
//     VORN_XML_LIMITED_SAX_PARSER parser(VORN_XML_LIMITS::tool_defaults());
//     VORN_XML_STREAM_INPUT_SOURCE source("big.xml");
//     if (!parser.parse(&source) &&
//         parser.get_limit_reached() != VORN_XML_LIMITS::NONE) {
//         ... the document asked for more than the limits allow ...
//     }
//
// The limits are plain values, copied in.  Unlike the base class, the parser
// has its collector from the start (get_error_handler() is never null); it
// owns it, as the base class owns its own.  Changing the limits during a
// parse (from a handler) takes effect at the next parse.  parse() through a
// pointer to the base class keeps to the limits just the same.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_LIMITED_SAX_PARSER : public VORN_XML_SAX_PARSER {
public:
    // A parser with `limits` (none given: no limits, as the base class).
    explicit VORN_XML_LIMITED_SAX_PARSER(const VORN_XML_LIMITS& limits = VORN_XML_LIMITS());
    ~VORN_XML_LIMITED_SAX_PARSER() override;

    // VORN_XML_SAX_PARSER::parse() within the limits; clears the counts of
    // the previous parse first.  Messages still accumulate across parses,
    // each parse keeping up to messages_kept of its own.
    bool parse(VORN_XML_SAX_INPUT_SOURCE* source);

    // The limits for the following parses.
    void set_limits(const VORN_XML_LIMITS& new_limits) { limits = new_limits; }
    const VORN_XML_LIMITS& get_limits() const { return limits; }

    // Which limit the last parse reached: the one that ended it, or MESSAGES
    // when messages were left out and no other limit ended it; NONE before
    // the first parse and after a parse within every limit.
    VORN_XML_LIMITS::KIND get_limit_reached() const { return limit_reached; }

    // How many error messages the last parse left out (messages_kept).
    uint64_t get_messages_left_out() const { return messages_left_out; }

    // -- Kept for the reader: it sets limit_reached and messages_left_out
    //    at the start of each parse and as limits are reached.
    VORN_XML_LIMITS limits;
    VORN_XML_LIMITS::KIND limit_reached = VORN_XML_LIMITS::NONE;
    uint64_t messages_left_out = 0;

private:
    friend class VORN_XML_SAX_PARSER;
    VORN_XML_LIMITS in_force;  // the limits of the parse under way
    bool reading = false;      // a parse is under way
};

#endif
