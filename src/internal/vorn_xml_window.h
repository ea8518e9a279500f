// The window of a source: the bytes that one of the library's own sources
// holds in memory and has not delivered yet.  Internal: not installed.
//
// The parser reads such a source in bulk.  Instead of one get_next_char()
// per byte it scans a run of bytes in the window, takes the run into its
// token at once and then records with consume() that the run was delivered.
// The contract, which every kind that joins must keep:
//
// - The window is [next, end): next is the byte the next get_next_char()
//   would deliver, and every byte up to end would be delivered by the
//   following calls without reading anything (no chunk read, no change of
//   any field but the position and last_char).  An ended source, or one
//   whose next call would read or end, has an empty window.
// - consume(to) with next < to <= end and no byte 0xFF in [next, to) leaves
//   the source exactly as (to - next) calls of get_next_char() would have:
//   last_char is to[-1] and the position has moved on by (to - next); the
//   window's next becomes to.  Nothing else changes, so end stays valid.
// - The byte 0xFF, the end of the window and the end of input are never
//   consumed in bulk: the parser delivers them through get_next_char(),
//   which reads the next chunk, ends the input or does whatever else the
//   source does there, and then looks at the window again (refill()).
// - Only a source whose dynamic type is exactly one of the listed kinds has
//   a window, and a counting source (exactly VORN_XML_COUNTING_INPUT_SOURCE)
//   over one of them, whose window (vorn_xml_counting_window.h) is its inner
//   source's and records what was consumed when the parser leaves it.  A
//   class derived from one of them, and a host's own source, may deliver
//   differently and is read one get_next_char() at a time.
//
// A new kind joins with a specialisation of VORN_XML_WINDOW_OF (two static
// functions, below) and one branch in vorn_xml_with_window().
#ifndef VORN_XML_WINDOW_H
#define VORN_XML_WINDOW_H

#include <cstddef>
#include <typeinfo>

#include "vorn_xml_input.h"
#include "vorn_xml_position.h"
#include "vorn_xml_push_source.h"
#include "vorn_xml_stream.h"

// How a kind of source shows its window and records a bulk delivery:
//   static void bytes(const SOURCE&, const char*& next, const char*& end);
//       sets [next, end) to the window (next == end when it is empty);
//   static void consume(SOURCE&, const char* to, std::size_t count);
//       records that the count bytes ending at `to` were delivered
//       (count >= 1, none of them 0xFF).
template <class SOURCE> struct VORN_XML_WINDOW_OF;

template <> struct VORN_XML_WINDOW_OF<VORN_XML_STRING_INPUT_SOURCE> {
    static void bytes(const VORN_XML_STRING_INPUT_SOURCE& source, const char*& next, const char*& end)
    {
        // get_next_char() delivers from positions below both the length and
        // UINT32_MAX, and nothing once last_char is -1.
        std::size_t limit = source.xml_string.size();
        if (limit > UINT32_MAX)
            limit = UINT32_MAX;
        const char* data = source.xml_string.data();
        if (source.last_char == -1 || source.string_pos >= limit) {
            next = end = data;
            return;
        }
        next = data + source.string_pos;
        end = data + limit;
    }
    static void consume(VORN_XML_STRING_INPUT_SOURCE& source, const char* to, std::size_t count)
    {
        source.string_pos += static_cast<uint32_t>(count);
        source.last_char = to[-1];
    }
};

template <> struct VORN_XML_WINDOW_OF<VORN_XML_FILE_INPUT_SOURCE> {
    static void bytes(const VORN_XML_FILE_INPUT_SOURCE& source, const char*& next, const char*& end)
    {
        // get_next_char() delivers from vorn_xml_buffer while buffer_pos is
        // below buffer_count, unless buffer_pos is negative or the source
        // has ended.
        const int32_t count = source.buffer_count < static_cast<int32_t>(sizeof vorn_xml_buffer)
                                  ? source.buffer_count
                                  : static_cast<int32_t>(sizeof vorn_xml_buffer);
        if (source.buffer_pos < 0 || source.last_char == -1 || source.buffer_pos >= count) {
            next = end = vorn_xml_buffer;
            return;
        }
        next = vorn_xml_buffer + source.buffer_pos;
        end = vorn_xml_buffer + count;
    }
    static void consume(VORN_XML_FILE_INPUT_SOURCE& source, const char* to, std::size_t count)
    {
        source.buffer_pos += static_cast<int32_t>(count);
        source.last_char = to[-1];
    }
};

template <> struct VORN_XML_WINDOW_OF<VORN_XML_STREAM_INPUT_SOURCE> {
    static void bytes(const VORN_XML_STREAM_INPUT_SOURCE& source, const char*& next, const char*& end)
    {
        // get_next_char() delivers from buffer while buffer_pos is below
        // buffer_count, until the source has ended; buffer_count is never
        // above the buffer's chunk_size.
        const char* data = source.buffer.get();
        if (data == nullptr || source.last_char == -1 || source.buffer_pos < 0 ||
            source.buffer_pos >= source.buffer_count) {
            next = end = data;
            return;
        }
        next = data + source.buffer_pos;
        end = data + source.buffer_count;
    }
    static void consume(VORN_XML_STREAM_INPUT_SOURCE& source, const char* to, std::size_t count)
    {
        source.buffer_pos += static_cast<int32_t>(count);
        source.last_char = to[-1];
    }
};

template <> struct VORN_XML_WINDOW_OF<VORN_XML_PUSH_INPUT_SOURCE> {
    static void bytes(const VORN_XML_PUSH_INPUT_SOURCE& source, const char*& next, const char*& end)
    {
        // The rest of the piece the host lent; a used-up piece means waiting
        // for the next one, which only get_next_char() does.
        if (source.last_char == -1 || source.piece_pos >= source.piece_count) {
            next = end = source.piece;
            return;
        }
        next = source.piece + source.piece_pos;
        end = source.piece + source.piece_count;
    }
    static void consume(VORN_XML_PUSH_INPUT_SOURCE& source, const char* to, std::size_t count)
    {
        source.piece_pos += static_cast<uint32_t>(count);
        source.last_char = to[-1];
    }
};

// The window of a source of kind SOURCE, for the length of one token.  The
// kind is known here, so nothing goes through a virtual call but the reads
// that the contract leaves to get_next_char().  Those go through `through`:
// the source itself, or a tracking source wrapped around it, which counts
// what was taken before the source reads on.  Either way the window is of
// the same type, so the readers have one copy per kind of source.
template <class SOURCE> class VORN_XML_WINDOW {
public:
    const char* next = nullptr;  // the next byte the source would deliver
    const char* end = nullptr;   // one past the last byte deliverable from memory

    explicit VORN_XML_WINDOW(SOURCE& source) : VORN_XML_WINDOW(source, source) {}
    VORN_XML_WINDOW(SOURCE& source, VORN_XML_SAX_INPUT_SOURCE& through) : source_(source), through_(through)
    {
        refill();
    }

    // Shows the window again after get_next_char() was called on the source.
    void refill() { VORN_XML_WINDOW_OF<SOURCE>::bytes(source_, next, end); }

    // Records that [next, to) was delivered (see the contract above); nothing
    // when to == next.
    void consume(const char* to)
    {
        if (to != next) {
            VORN_XML_WINDOW_OF<SOURCE>::consume(source_, to, static_cast<std::size_t>(to - next));
            next = to;
        }
    }

    // Delivers one character, exactly as get_next_char() would: from the
    // window when it holds one other than 0xFF, otherwise through the call.
    char get()
    {
        if (next != end && *next != static_cast<char>(-1)) {
            const char c = *next;
            consume(next + 1);
            return c;
        }
        const char c = static_cast<char>(through_.get_next_char());
        refill();
        return c;
    }

private:
    SOURCE& source_;
    VORN_XML_SAX_INPUT_SOURCE& through_;
};

// Any other source has no window: every character is one get_next_char().
// The window is empty (next == end), so a reader that looks for a whole tag
// or run in memory finds none and leaves the reading to the token path.
template <> class VORN_XML_WINDOW<VORN_XML_SAX_INPUT_SOURCE> {
public:
    const char* const next = nullptr;
    const char* const end = nullptr;

    explicit VORN_XML_WINDOW(VORN_XML_SAX_INPUT_SOURCE& source) : source_(source) {}
    void refill() {}
    void consume(const char* /*to*/) {}
    char get() { return static_cast<char>(source_.get_next_char()); }

private:
    VORN_XML_SAX_INPUT_SOURCE& source_;
};

// The counting source's branch; defined in vorn_xml_counting_window.h, which
// every caller of vorn_xml_with_window() includes too.
template <class READ> void vorn_xml_with_counting_window(VORN_XML_COUNTING_INPUT_SOURCE& source, READ&& read);

// What the bulk reading needs of a tracking source: the source whose window
// it shows, its inner source when that is exactly one of the kinds read in
// bulk (known since the tracking source was made), and itself otherwise.
struct VORN_XML_TRACKING_ACCESS {
    static VORN_XML_SAX_INPUT_SOURCE& shown(VORN_XML_TRACKING_INPUT_SOURCE& source)
    {
        if (source.kind_ == VORN_XML_TRACKING_INPUT_SOURCE::INNER_KIND::OTHER)
            return source;
        return *source.count_.inner;
    }
};

// Calls `read(window)` with the window of `source`: of its own kind when its
// dynamic type is exactly one of the kinds read in bulk, the window of its
// inner source, read on through it, for a tracking source over one of them,
// and the empty window of any source otherwise.  The tracking source is
// unwrapped first, so that each reader is called from one place per kind
// (and stays inlined).
// The test compares the type_info objects themselves: the library's kinds
// have their virtual destructor defined in the library, so each has one
// type_info object in the process, and the test costs no name comparison.  A
// false "no" would only mean a slower read; a false "yes" cannot happen.
template <class READ> inline void vorn_xml_with_window(VORN_XML_SAX_INPUT_SOURCE& source, READ&& read)
{
    VORN_XML_SAX_INPUT_SOURCE* shown = &source;
    const std::type_info* type = &typeid(source);
    if (type == &typeid(VORN_XML_TRACKING_INPUT_SOURCE)) {
        shown = &VORN_XML_TRACKING_ACCESS::shown(static_cast<VORN_XML_TRACKING_INPUT_SOURCE&>(source));
        type = &typeid(*shown);
    }
    if (type == &typeid(VORN_XML_STRING_INPUT_SOURCE)) {
        VORN_XML_WINDOW<VORN_XML_STRING_INPUT_SOURCE> window(static_cast<VORN_XML_STRING_INPUT_SOURCE&>(*shown),
                                                             source);
        read(window);
    } else if (type == &typeid(VORN_XML_FILE_INPUT_SOURCE)) {
        VORN_XML_WINDOW<VORN_XML_FILE_INPUT_SOURCE> window(static_cast<VORN_XML_FILE_INPUT_SOURCE&>(*shown), source);
        read(window);
    } else if (type == &typeid(VORN_XML_STREAM_INPUT_SOURCE)) {
        VORN_XML_WINDOW<VORN_XML_STREAM_INPUT_SOURCE> window(static_cast<VORN_XML_STREAM_INPUT_SOURCE&>(*shown),
                                                             source);
        read(window);
    } else if (type == &typeid(VORN_XML_PUSH_INPUT_SOURCE)) {
        VORN_XML_WINDOW<VORN_XML_PUSH_INPUT_SOURCE> window(static_cast<VORN_XML_PUSH_INPUT_SOURCE&>(*shown), source);
        read(window);
    } else if (type == &typeid(VORN_XML_COUNTING_INPUT_SOURCE)) {  // never a tracking source's inner source
        vorn_xml_with_counting_window(static_cast<VORN_XML_COUNTING_INPUT_SOURCE&>(source), read);
    } else {
        VORN_XML_WINDOW<VORN_XML_SAX_INPUT_SOURCE> window(source);
        read(window);
    }
}

#endif
