// The source a push parser's parse reads: the piece of the feed() call being
// served is its window, read in place.  Internal: not installed.
//
// It delivers the bytes of the current piece, then asks its waiter for the
// next one: the parse, which runs on a stack of its own (vorn_xml_fiber.h),
// is suspended there and feed() returns to the host; the next feed() resumes
// it with the next piece.  Once the host said the input has ended
// (finish()), or the parse is abandoned, a used-up piece is the end of input.
// A byte 0xFF ends the input there, as for every source.
//
// It keeps nothing it has delivered: xml_text stays empty, and the piece is
// the host's memory, looked at only while the feed() that lent it runs.
#ifndef VORN_XML_PUSH_SOURCE_H
#define VORN_XML_PUSH_SOURCE_H

#include <cstdint>

#include "vorn_xml_input.h"

class VORN_XML_PUSH_INPUT_SOURCE : public VORN_XML_SAX_INPUT_SOURCE {
public:
    // What the source calls when its piece is used up and the input has not
    // ended: it returns once a new piece was lent or the input has ended.
    class WAITER {
    public:
        virtual void wait_for_piece() = 0;

    protected:
        ~WAITER() = default;
    };

    const char* piece = nullptr;  // the piece lent by the feed() being served
    uint32_t piece_pos = 0;       // next byte of piece to deliver
    uint32_t piece_count = 0;     // bytes in piece
    char last_char = 0;           // the character delivered last; -1 at the end
    bool input_ended = false;     // no piece will follow the current one
    WAITER* waiter;

    explicit VORN_XML_PUSH_INPUT_SOURCE(WAITER& wait) : waiter(&wait) { is_open = true; }
    ~VORN_XML_PUSH_INPUT_SOURCE() override;

    int get_next_char() override
    {
        if (last_char == -1)
            return -1;
        if (piece_pos < piece_count) {
            last_char = piece[piece_pos];
            ++piece_pos;
            return last_char;
        }
        return next_piece();
    }

    // Back to the start, for the next document; lends nothing.
    void restart()
    {
        piece = nullptr;
        piece_pos = piece_count = 0;
        last_char = 0;
        input_ended = false;
    }

private:
    int next_piece();  // get_next_char() when the piece is used up
};

#endif
