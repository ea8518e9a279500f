// vornxml -- input sources: where the parser's characters come from.
//
// A source hands out one character at a time through get_next_char() and
// keeps, in xml_text, the document text it has handed out.  Characters are
// bytes, delivered as signed 8-bit values widened to int: 0x00-0x7F give
// 0..127, 0x80-0xFE give -128..-2, and -1 means end of input.  A byte 0xFF in
// the data therefore ends the document there.  Once a source has returned -1
// it returns -1 for good.
#ifndef VORN_XML_INPUT_H
#define VORN_XML_INPUT_H

#include <cstdint>
#include <string>

#include "vorn_companion.h"
#include "vorn_xml_export.h"

// The read buffer shared by every file source of the process: 4096 bytes,
// zero at load time.  A file source fills at most its first 4095 bytes and
// stores a NUL after them.  Because of this buffer only one file source may be
// read at a time in a process.
extern VORN_XML_API char vorn_xml_buffer[4096];

// ---------------------------------------------------------------------------
// VORN_XML_SAX_INPUT_SOURCE: the abstract source.  A host's own source
// derives from it, sets is_open once it can deliver characters, and
// implements get_next_char().  The parser refuses a source whose is_open is
// false.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_SAX_INPUT_SOURCE {
public:
    bool is_open = false;  // ready to deliver characters
    std::string xml_text;  // the document text handed out (see each kind)

    VORN_XML_SAX_INPUT_SOURCE() = default;
    VORN_XML_SAX_INPUT_SOURCE(const VORN_XML_SAX_INPUT_SOURCE&) = delete;
    VORN_XML_SAX_INPUT_SOURCE& operator=(const VORN_XML_SAX_INPUT_SOURCE&) = delete;
    // Releases xml_text.  Derived sources release what they own.
    virtual ~VORN_XML_SAX_INPUT_SOURCE();

    // The next character, or -1 at end of input (and on every call after).
    virtual int get_next_char() = 0;
};

// ---------------------------------------------------------------------------
// VORN_XML_FILE_INPUT_SOURCE: reads a file in chunks of at most 4095 bytes
// through vorn_xml_buffer.  Every chunk read is appended to xml_text as a C
// string (a NUL byte ends what is appended of that chunk, though every byte
// is still delivered).  No source files messages or throws for I/O problems:
// a failed read is the end of input.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_FILE_INPUT_SOURCE : public VORN_XML_SAX_INPUT_SOURCE {
public:
    VORN_FILE* xml_file;   // owned; null after a failed open_xml_file
    char last_char;        // the character delivered last; -1 at the end
    int32_t buffer_pos;    // next byte of vorn_xml_buffer to deliver
    int32_t buffer_count;  // bytes the last read put into the buffer

    // A source with a file object of its own that is not opened yet
    // (is_open false).  A host may call open_xml_file() and set is_open to
    // its result.
    VORN_XML_FILE_INPUT_SOURCE();

    // Makes the file object, calls open_xml_file(path) and sets is_open to
    // the result.  A missing or unreadable file gives a source whose is_open
    // is false; it is safe to destroy.
    explicit VORN_XML_FILE_INPUT_SOURCE(const std::string& path);

    // Closes and deletes the file object, if there is one.
    ~VORN_XML_FILE_INPUT_SOURCE() override;

    // Opens `path` for reading.  A path that is empty or only white space
    // gives false without opening anything (the file object stays).  Any
    // other path is opened exactly as given, trailing blanks included; on
    // failure the file object is deleted and xml_file becomes null, so the
    // source must not be read, opened or closed again.  Sets no other field:
    // the caller sets is_open.
    bool open_xml_file(const std::string& path);

    // Closes the file (the file object stays).  Always true.  Requires a
    // file object.
    bool close_xml_file();

    // The next byte of the file, reading the next chunk into
    // vorn_xml_buffer when the current one is used up; -1 at end of file,
    // on a failed read and at a byte 0xFF, and for good after that.
    int get_next_char() override;

private:
    VORN_XML_LOCAL int read_next_chunk();               // get_next_char() when the buffer is used up
    VORN_XML_LOCAL void make_room(std::size_t length);  // in xml_text, for a chunk
};

// ---------------------------------------------------------------------------
// VORN_XML_STRING_INPUT_SOURCE: delivers the bytes of a string held in
// memory.  Open as soon as it is constructed.  The source keeps one copy of
// the document.  While it delivers, the text is in xml_string and xml_text is
// left as it is (empty for a source of the library's making).  When it
// delivers its end of input, the text it delivered moves into xml_text (cut
// before the byte 0xFF that ended it, if one did) and xml_string becomes
// empty.  So a parse that reads to the end hands process_end_document the
// delivered text, and one that succeeds without reaching the end (its last
// token an empty quoted string) hands it an empty text.  A string source delivers
// at most 4 GiB - 1 bytes (its position is 32 bits); it reports the end of
// input there.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_STRING_INPUT_SOURCE : public VORN_XML_SAX_INPUT_SOURCE {
public:
    std::string xml_string;  // the text still to be delivered
    char last_char;          // the character delivered last; -1 at the end
    uint32_t string_pos;     // index in xml_string of the next character

    // Copies `text`; open at once.
    explicit VORN_XML_STRING_INPUT_SOURCE(const std::string& text);
    // Takes `text` over without copying it; open at once.
    explicit VORN_XML_STRING_INPUT_SOURCE(std::string&& text);

    ~VORN_XML_STRING_INPUT_SOURCE() override;

    // The next byte of the string; -1 at its end and at a byte 0xFF (moving
    // the delivered text into xml_text), and for good after that.
    int get_next_char() override;

private:
    VORN_XML_LOCAL int end_of_text();  // get_next_char() at the end or at a byte 0xFF
};

#endif
