// vornxml -- documents that arrive in pieces: the push parser.
#ifndef VORN_XML_PUSH_H
#define VORN_XML_PUSH_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "vorn_xml_export.h"
#include "vorn_xml_parser.h"
#include "vorn_xml_position.h"

// ---------------------------------------------------------------------------
// VORN_XML_PUSH_PARSER: for a host that is handed a document piece by piece
// (an event loop reading a socket, a program receiving chunks over HTTP, one
// thread serving many streams) and cannot give the parser its thread until
// the document ends.  The host hands each piece over as it arrives; feed()
// returns once the piece is read, having sent the events its bytes decided:
//
//     VORN_XML_SAX_PARSER parser;             // its handler: the default tree
//     parser.set_tree_handler(&my_handler);   // handler, one's own, or a
//     parser.enable_DOM_mode(false);          // VORN_XML_PATH_HANDLER
//     VORN_XML_PUSH_PARSER push(parser);
//     ... as data arrives:
//     if (push.feed(bytes, size) != VORN_XML_PUSH_PARSER::PUSH_MORE) ... over
//     ... at the end of the data:
//     if (push.finish() == VORN_XML_PUSH_PARSER::PUSH_FAILED) ... messages
//
// Whatever the split, from the whole document at once down to one byte per
// feed(), the verdict, every message, every event with its arguments, the
// tree and the positions are exactly what parse() gives for the same bytes
// from a VORN_XML_STRING_INPUT_SOURCE, with one exception:
// process_end_document receives "", as from the streaming source, since
// nothing delivered is kept.  Each byte is read once, in place in the host's
// piece (no copy), and no token is read again from its start when it
// spans pieces, so the time is linear in the document however it is cut,
// and a feed() costs the same whatever came before.  Memory is bounded by
// the largest token and the depth (what the handler keeps aside), never by
// the document.  The host's piece is looked at only during the feed() that
// lends it.
//
// How: parse() itself runs, unchanged, on a stack of the push parser's own.
// When it needs a byte beyond the piece, it is suspended there and feed()
// returns; the next feed() resumes it where it stopped.  The other way, a
// reader that stops at a piece's end and resumes from saved state, would
// be a second reader of the whole grammar to keep identical to the first,
// with every position of the grammar as a state; this way the results are
// the same by construction, for the cost of two stack switches per piece
// (a few nanoseconds each on x86-64: registers saved and restored, no
// system call, no thread, no global state) and one stack per push parser.
//
// The stack: stack_size bytes of address space reserved when the first
// document starts, committed page by page as it is used, with a page
// without access below it.  The parser needs a few KiB of it whatever the
// nesting; the handler's events run on it too, and may use the rest: a
// handler that needs more than about 8 MiB of stack must not be used here.
//
// Results and failure: feed() and finish() say where the document stands
// (STATUS).  Messages go to `parser`'s collector, as in parse().  An
// exception thrown while the document is read (std::bad_alloc, or the
// handler's own) is caught on the parser's stack and thrown again from the
// feed() or finish() that was running; the document is then over
// (PUSH_FAILED), with whatever the handler received so far.
//
// Positions: line and column of the reading, of the current token and of a
// failure are those of a VORN_XML_TRACKING_INPUT_SOURCE over the whole
// document, available at every event (from the handler) and after each
// feed().  Counting costs one pass over each piece, about a third more
// time where the parse itself is quickest (long runs of text); a host that
// does not want them says so when it makes the push parser.
//
// Ownership and threads: the host owns `parser`, its handler and the push
// parser; `parser` must outlive the push parser and is not used for
// anything else while a document is being read.  One thread at a time may
// use a push parser (a different one from one feed() to the next is fine).
// feed(), finish(), reset() and the destructor must not be called from the
// handler's events.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_PUSH_PARSER {
public:
    // Where the document stands after a call.
    enum STATUS : int {
        PUSH_MORE = 0,      // every byte was read: feed() more, or finish()
        PUSH_ACCEPTED = 1,  // the document is over and accepted
        PUSH_FAILED = 2,    // the document is over and rejected (or an exception ended it)
        PUSH_REFUSED = 3    // nothing read: the document was over already (get_status()
                            // tells how), or the call came from the handler
    };

    // The parser's stack: address space reserved, committed only as used.
    static constexpr std::size_t stack_size = std::size_t{8} << 20;

    // Reads documents with `parser` (its handler, its DOM mode, its
    // collector), which is not owned.  With `count_positions` the lines and
    // columns are counted (see Positions above); without, the position
    // questions all answer line 0, column 0, offset 0.  Nothing is read or
    // reserved yet.
    explicit VORN_XML_PUSH_PARSER(VORN_XML_SAX_PARSER& parser, bool count_positions = true);
    VORN_XML_PUSH_PARSER(const VORN_XML_PUSH_PARSER&) = delete;
    VORN_XML_PUSH_PARSER& operator=(const VORN_XML_PUSH_PARSER&) = delete;

    // A document still being read is abandoned as reset() does; then the
    // stack is released.
    ~VORN_XML_PUSH_PARSER();

    // Reads the `size` bytes at `bytes` (any number, 0 included) as the next
    // piece of the document; the first piece starts the document
    // (process_start_document).  Events are sent as the bytes decide them.
    // PUSH_MORE when all were read and the document goes on; PUSH_ACCEPTED
    // or PUSH_FAILED when it ended within the piece (a failure, or a byte
    // 0xFF, which ends the input as for every source: the bytes after it
    // are not read); PUSH_REFUSED, reading nothing, when the document was
    // over before the call.  The bytes are not kept.
    STATUS feed(const char* bytes, std::size_t size);

    // The end of the input: the document ends as parse() ends at the end of
    // a source.  PUSH_ACCEPTED or PUSH_FAILED; the same again on later
    // calls, until reset().  Without any feed() before, an empty document.
    STATUS finish();

    // PUSH_MORE while a document is open (or none has started since the
    // push parser was made or reset), else its verdict.
    STATUS get_status() const;

    // Makes ready for the next document.  One still open is abandoned: it
    // is ended as at the end of input with its events and messages sent
    // nowhere, so its handler and collector see nothing more of it and
    // everything it had made on the parser's stack is released.  What the
    // handler built before stays as a failed parse() leaves it (take the
    // tree, or use a fresh handler).  Messages accumulate in the collector
    // across documents, as with parse().
    void reset();

    // The bytes delivered to the parser so far in this document.
    uint64_t offset() const;

    // The position of the parser's look-ahead character, of its current
    // token and of a failure, as VORN_XML_TRACKING_INPUT_SOURCE gives them
    // for the same bytes (see vorn_xml_position.h).  From the handler, or
    // between calls.
    VORN_XML_POSITION get_reading_position() const;
    VORN_XML_POSITION get_token_position() const;
    VORN_XML_POSITION get_failure_position() const;

private:
    struct STATE;
    std::unique_ptr<STATE> state_;
};

#endif
