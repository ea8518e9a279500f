// vornxml -- where reading stopped: line and column of a failure.
#ifndef VORN_XML_POSITION_H
#define VORN_XML_POSITION_H

#include <cstdint>

#include "vorn_xml_export.h"
#include "vorn_xml_input.h"
#include "vorn_xml_parser.h"
#include "vorn_xml_stream.h"

// ---------------------------------------------------------------------------
// VORN_XML_POSITION: a place in a document.  `line` and `column` count from
// 1; a line ends after each line feed (a carriage return is a byte like any
// other), and a column counts bytes, so a tab or each byte of a multi-byte
// character is one column.  `offset` counts bytes from 0.  The place just
// after the last byte of the document is a position too: the end of input.
// ---------------------------------------------------------------------------
struct VORN_XML_API VORN_XML_POSITION {
    uint64_t line = 1;
    uint64_t column = 1;
    uint64_t offset = 0;
};

// ---------------------------------------------------------------------------
// VORN_XML_COUNTING_INPUT_SOURCE: wraps any other source (a file source, a
// string source or one of the host's own) and counts the lines and columns
// of what it hands out, so that a host can say where a document went wrong.
// Pass the wrapper to parse() instead of the inner source:
//
//     VORN_XML_FILE_INPUT_SOURCE file("order.xml");
//     VORN_XML_COUNTING_INPUT_SOURCE source(file);
//     if (!parser.parse(&source)) {
//         VORN_XML_POSITION at = source.get_failure_position(parser);
//         ... report at.line, at.column with each error message ...
//     }
//
// The wrapper does not own the inner source, which must outlive it and must
// not be read by anyone else meanwhile.  is_open is copied from the inner
// source when the wrapper is made, so wrap a source once it is open.
//
// The parser reads a wrapper of exactly this class over a string, file or
// streaming source (exactly those classes) in bulk, straight from the inner
// source's memory, and counts what it took a run at a time: at every event
// and at the end each field is what get_next_char() one character at a time
// would have left.  A class derived from the wrapper, and a wrapper over a
// host's own source, are read one get_next_char() at a time.
//
// The wrapper keeps no text of its own: its memory is the same whatever the
// document's size, and over a streaming source (vorn_xml_stream.h) it
// reports places in documents of any size.  Its xml_text stays empty, so
// process_end_document receives ""; the inner source still keeps whatever
// it keeps (inner->xml_text).  A host that wants the inner source's text
// passed on to process_end_document asks for a copy when it makes the
// wrapper (keep_text true): xml_text then follows the inner source's
// xml_text character by character, at the cost of a second copy.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_COUNTING_INPUT_SOURCE : public VORN_XML_SAX_INPUT_SOURCE {
public:
    VORN_XML_SAX_INPUT_SOURCE* inner;  // not owned
    VORN_XML_POSITION next;            // where the next byte will come from
    VORN_XML_POSITION last;            // the character delivered last (the
                                       // end of input once -1 was delivered)
    VORN_XML_POSITION quotes[3];       // the last three double quotes, newest first
    VORN_XML_POSITION end_tag;         // the "<" of the last "</" delivered
    VORN_XML_POSITION end_tag_before;  // the "<" of the "</" before that
    int quote_count;                   // quotes delivered, up to 3
    int end_tag_count;                 // "</" pairs delivered, up to 2
    bool after_lt;                     // the last character was "<"
    bool keep_text;                    // xml_text follows inner->xml_text

    // Wraps `source` and takes is_open from it; xml_text stays empty.
    explicit VORN_XML_COUNTING_INPUT_SOURCE(VORN_XML_SAX_INPUT_SOURCE& source);
    // The same; with `copy_text`, xml_text starts as a copy of the source's
    // and follows it.
    VORN_XML_COUNTING_INPUT_SOURCE(VORN_XML_SAX_INPUT_SOURCE& source, bool copy_text);
    VORN_XML_COUNTING_INPUT_SOURCE(const VORN_XML_COUNTING_INPUT_SOURCE&) = delete;
    VORN_XML_COUNTING_INPUT_SOURCE& operator=(const VORN_XML_COUNTING_INPUT_SOURCE&) = delete;
    ~VORN_XML_COUNTING_INPUT_SOURCE() override;

    // The inner source's next character, counted.  -1 (end of input) does
    // not move the count.
    int get_next_char() override;

    // The position of the parser's look-ahead character (its current_char):
    // the place where reading stopped.  Before anything was read, line 1,
    // column 1.
    VORN_XML_POSITION get_reading_position() const { return last; }

    // The start of `parser`'s current token, worked out from the token's
    // kind and text and from what this source delivered: the first byte of
    // a name, number, symbol, "<", "</" or ">", the opening quote of a
    // quoted string (also of one cut off by the end of input), the
    // character itself for a character the tokenizer does not know, and the
    // end of input for the end of input.  Meaningful while `parser` reads
    // from this source, and after.
    VORN_XML_POSITION get_token_position(const VORN_XML_SAX_PARSER& parser) const;

    // Where a failed parse went wrong, for reporting with its messages:
    // - after an end tag whose name does not match its start tag, the "<"
    //   of that end tag (the parser has by then read the token after it;
    //   a "</" inside a comment between the two would be taken instead);
    // - in every other case the start of the current token, as
    //   get_token_position() gives it: the token at which the parser
    //   stopped.  For a missing "=" or value in a tag this is the token
    //   that ended the tag's attributes; for a declaration whose version is
    //   not "1.0" it is the first token after the declaration.
    // Looks at the last messages of the parser's error list without moving
    // its cursor.
    VORN_XML_POSITION get_failure_position(const VORN_XML_SAX_PARSER& parser) const;
};

// ---------------------------------------------------------------------------
// VORN_XML_TRACKING_INPUT_SOURCE: the counting source's answers, worked out
// only when asked.  It wraps any other source like the counting source does
// and gives the same reading, token and failure positions, but it has no
// public fields that move at every event: it counts what was delivered in
// one pass when a position is asked for, and whenever the inner source is
// about to read its next chunk (for the streaming source every 64 KiB), so
// that counting costs per chunk and per question, not per tag.  Use it when
// a position is wanted now and then (a failure after the parse, a progress
// report); use the counting source when a handler reads the positions
// (next, last, ...) at most events.
//
//     VORN_XML_STREAM_INPUT_SOURCE input(0, false);   // standard input
//     VORN_XML_TRACKING_INPUT_SOURCE source(input);
//     if (!parser.parse(&source)) {
//         VORN_XML_POSITION at = source.get_failure_position(parser);
//         ...
//     }
//
// offset() is cheap (two loads and an add) and exact at every event; each
// of the three positions first counts, in one pass, what was delivered
// since the last count: at most one chunk of a file or streaming source, up
// to the whole text of a string source (whose text is never read anew).
// Counting changes private state, so even the const questions must not be
// asked from two threads at once.
//
// The wrapper does not own the inner source, which must outlive it and must
// not be read by anyone else meanwhile (the wrapper counts what the inner
// source has delivered since it last looked).  is_open is copied from the
// inner source when the wrapper is made, so wrap a source once it is open;
// the count starts where the inner source stands then.  The parser reads a
// wrapper of exactly this class over a string, file or streaming source
// (exactly those classes) in bulk, straight from the inner source's memory;
// a class derived from the wrapper, and a wrapper over a host's own source,
// are read one get_next_char() at a time, and counted as they go.  Its
// xml_text stays empty, so process_end_document receives ""; the inner
// source keeps whatever it keeps.  Its memory is the same whatever the
// document's size.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_TRACKING_INPUT_SOURCE : public VORN_XML_SAX_INPUT_SOURCE {
public:
    // Wraps `source` and takes is_open from it; xml_text stays empty.
    explicit VORN_XML_TRACKING_INPUT_SOURCE(VORN_XML_SAX_INPUT_SOURCE& source);
    VORN_XML_TRACKING_INPUT_SOURCE(const VORN_XML_TRACKING_INPUT_SOURCE&) = delete;
    VORN_XML_TRACKING_INPUT_SOURCE& operator=(const VORN_XML_TRACKING_INPUT_SOURCE&) = delete;
    ~VORN_XML_TRACKING_INPUT_SOURCE() override;

    // The inner source's next character.  When the inner source may read on
    // or end the input for it, what was delivered since the last count is
    // counted first, then this character; a character it holds in memory is
    // counted later with the rest.
    int get_next_char() override;

    // The number of bytes delivered so far (the counting source's
    // next.offset): exact at every event and after the parse, without
    // counting anything.
    uint64_t offset() const { return origin_ + *position_; }

    // The position of the parser's look-ahead character, as the counting
    // source's get_reading_position() gives it.
    VORN_XML_POSITION get_reading_position() const;

    // The start of `parser`'s current token, as the counting source's
    // get_token_position() gives it; meaningful while `parser` reads from
    // this source, and after.
    VORN_XML_POSITION get_token_position(const VORN_XML_SAX_PARSER& parser) const;

    // Where a failed parse went wrong, as the counting source's
    // get_failure_position() gives it (see there).
    VORN_XML_POSITION get_failure_position(const VORN_XML_SAX_PARSER& parser) const;

    // The wrapped source.
    VORN_XML_SAX_INPUT_SOURCE& get_inner_source() const { return *count_.inner; }

private:
    friend struct VORN_XML_TRACKING_ACCESS;  // the parser's bulk reading

    // Which of the kinds read in bulk the inner source is exactly; OTHER for
    // any other, whose every byte is counted as it is delivered.
    enum class INNER_KIND : uint8_t { OTHER, STRING, FILE, STREAM, PUSH };

    void catch_up() const;  // counts [counted_, where the inner source stands)
    void look_again();      // after the inner source delivered through a call

    mutable VORN_XML_COUNTING_INPUT_SOURCE count_;  // counted so far; its inner is ours
    const uint32_t* position_;                      // the inner source's byte index
    uint32_t no_position_ = 0;                      // position_ of an OTHER inner source
    INNER_KIND kind_;
    uint64_t origin_ = 0;                    // the offset of the inner source's index 0
    const char* base_ = nullptr;             // the byte at the inner source's index 0
    const char* end_ = nullptr;              // the end of its window when last looked at
    mutable const char* counted_ = nullptr;  // the first byte delivered and not counted
};

#endif
