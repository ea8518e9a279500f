// vornxml -- reading documents of any size in constant memory.
#ifndef VORN_XML_STREAM_H
#define VORN_XML_STREAM_H

#include <cstdint>
#include <memory>
#include <string>

#include "vorn_xml_export.h"
#include "vorn_xml_input.h"

// ---------------------------------------------------------------------------
// VORN_XML_STREAM_INPUT_SOURCE: reads a file descriptor (a file, a pipe, a
// socket, standard input) in chunks of 64 KiB into a buffer of its own and
// keeps nothing it has handed out, so its memory is the same whatever the
// size of the document.  With DOM mode off and a handler that keeps nothing
// either, a parse of any length runs in constant memory:
//
//     VORN_XML_STREAM_INPUT_SOURCE source(0, false);   // standard input
//     parser.enable_DOM_mode(false);
//     parser.set_tree_handler(&my_handler);
//     if (!parser.parse(&source) && source.get_error() != 0) ... read error
//
// xml_text stays empty for good, so process_end_document receives "".
// Each source has its own buffer: several may be read at the same time, on
// one thread or on several (one thread per source).  A byte 0xFF ends the
// input as for every source; a NUL byte is delivered like any other.
// No source files messages: a read that fails (other than for EINTR, which
// is retried) ends the input, and get_error() tells why.  The parser reads
// a source of exactly this class in bulk, straight from its buffer; a class
// derived from it is read one get_next_char() at a time.  (A source over a
// memory-mapped file was measured against this one and saved about 1% of
// the parse while keeping every page read resident, so there is none.)
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_STREAM_INPUT_SOURCE : public VORN_XML_SAX_INPUT_SOURCE {
public:
    static constexpr int32_t chunk_size = 64 * 1024;  // bytes asked for per read

    std::unique_ptr<char[]> buffer;  // chunk_size bytes and a NUL after the
                                     // bytes read; null until the first read
    char last_char;                  // the character delivered last; -1 at the end
    int32_t buffer_pos;              // next byte of buffer to deliver
    int32_t buffer_count;            // bytes the last read put into buffer
    int fd;                          // the descriptor read; -1 after a failed open
    bool owns_fd;                    // the source closes fd when destroyed
    int error;                       // errno of the open or read that failed; 0

    // Opens `path` for reading.  On failure is_open is false, fd is -1 and
    // get_error() gives the reason; such a source is safe to destroy.
    explicit VORN_XML_STREAM_INPUT_SOURCE(const std::string& path);

    // Reads the open descriptor `descriptor`, from where it stands; closes it
    // when destroyed if `take_ownership`.  is_open is false for a negative
    // descriptor.
    VORN_XML_STREAM_INPUT_SOURCE(int descriptor, bool take_ownership);

    // Closes the descriptor if the source owns it; frees the buffer.
    ~VORN_XML_STREAM_INPUT_SOURCE() override;

    // The next byte, reading the next chunk when the buffer is used up; -1
    // at the end of the data, on a failed read and at a byte 0xFF, and for
    // good after that.
    int get_next_char() override;

    // The errno of the open or read that failed, or 0: after a parse that
    // stopped at the end of input, 0 means the data really ended there.
    int get_error() const { return error; }

private:
    int read_next_chunk();  // get_next_char() when the buffer is used up
};

#endif
