// The window of a counting source over one of the library's own sources.
// Internal: not installed.
//
// A VORN_XML_COUNTING_INPUT_SOURCE (exactly that class) whose inner source is
// exactly a string, file or streaming source shows the inner source's window
// (vorn_xml_window.h).  What the parser consumes of it is recorded, in the
// inner source and in the counting source's positions, when the window
// settles: before any get_next_char() goes through the source, when the
// window delivers a "&" (the character data reader reads a reference through
// get_next_char()), and when the window goes away.  Settling moves next and
// last, the last three quotes, the last two "</" and after_lt on exactly as
// the run's get_next_char() calls would have, in one pass over the run that
// stops only at line feeds, quotes and slashes; so every field is as the
// calls would have left it whenever the parser is outside the window: at
// every event and at the end.  xml_text (with keep_text) follows the inner
// source's, which changes only when the inner source reads: that happens in
// get_next_char(), which brings it up to date itself.
//
// A counting source over any other source, and a class derived from the
// counting source, have no window: they are read one character at a time.
#ifndef VORN_XML_COUNTING_WINDOW_H
#define VORN_XML_COUNTING_WINDOW_H

#include <cstddef>
#include <cstdint>
#include <typeinfo>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "vorn_xml_position.h"
#include "vorn_xml_window.h"

namespace vorn_xml_counting {

// `at` moved back one byte on its line, unless it stands at the line's start
// (as get_next_char() places the "<" of a "</").
inline VORN_XML_POSITION back_one(VORN_XML_POSITION at)
{
    uint64_t count = 1;
    if (count >= at.column)
        count = at.column - 1;
    at.column -= count;
    at.offset -= count;
    return at;
}

inline void note_quote(VORN_XML_COUNTING_INPUT_SOURCE& source, const VORN_XML_POSITION& at)
{
    source.quotes[2] = source.quotes[1];
    source.quotes[1] = source.quotes[0];
    source.quotes[0] = at;
    if (source.quote_count < 3)
        ++source.quote_count;
}

// `slash` is the place of the "/" of a "</".
inline void note_end_tag(VORN_XML_COUNTING_INPUT_SOURCE& source, const VORN_XML_POSITION& slash)
{
    source.end_tag_before = source.end_tag;
    source.end_tag = back_one(slash);
    if (source.end_tag_count < 2)
        ++source.end_tag_count;
}

// Bit i set for each line feed, quote or slash among the first `size`
// (1 to 16) of the bytes at `p`; `sixteen_readable` when all 16 bytes at `p`
// may be read, even past `size`.
inline unsigned marks_of(const char* p, std::size_t size, bool sixteen_readable)
{
#ifdef __SSE2__
    if (sixteen_readable) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i found = _mm_or_si128(
            _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')), _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'))),
            _mm_cmpeq_epi8(bytes, _mm_set1_epi8('/')));
        return static_cast<unsigned>(_mm_movemask_epi8(found)) & ((2u << (size - 1)) - 1);
    }
#else
    (void)sixteen_readable;
#endif
    unsigned mask = 0;
    for (std::size_t i = 0; i < size; ++i) {
        if (p[i] == '\n' || p[i] == '"' || p[i] == '/')
            mask |= 1u << i;
    }
    return mask;
}

// The counting state of a run while its marks are applied: the column of
// run[i] is base + i, modulo 2^64, on line `line`; before_base is base as it
// was on the line before.
struct RUN_STATE {
    uint64_t line;
    uint64_t base;
    uint64_t before_base;
    uint64_t offset;  // of run[0]
};

// Applies the marks `mask` of the bytes run[block..block + 15].
inline void apply_marks(VORN_XML_COUNTING_INPUT_SOURCE& source, RUN_STATE& at, const char* run, std::size_t block,
                        unsigned mask)
{
    for (; mask != 0; mask &= mask - 1) {
        const std::size_t i = block + static_cast<std::size_t>(__builtin_ctz(mask));
        const char c = run[i];
        if (c == '\n') {
            ++at.line;
            at.before_base = at.base;
            at.base = uint64_t{0} - i;  // run[i + 1] is in column 1
        } else if (c == '"') {
            note_quote(source, VORN_XML_POSITION{at.line, at.base + i, at.offset + i});
        } else if (i == 0 ? source.after_lt : run[i - 1] == '<') {  // c is '/'
            note_end_tag(source, VORN_XML_POSITION{at.line, at.base + i, at.offset + i});
        }
    }
}

// Sets next, last and after_lt once the marks of the `size` bytes at `run`
// were applied.
inline void finish_run(VORN_XML_COUNTING_INPUT_SOURCE& source, const RUN_STATE& at, const char* run, std::size_t size)
{
    const std::size_t end = size - 1;
    if (run[end] == '\n')
        source.last = VORN_XML_POSITION{at.line - 1, at.before_base + end, at.offset + end};
    else
        source.last = VORN_XML_POSITION{at.line, at.base + end, at.offset + end};
    source.next = VORN_XML_POSITION{at.line, at.base + size, at.offset + size};
    source.after_lt = run[end] == '<';
}

// count_run() for a run of up to 16 bytes whose marks are `mask` (not 0).
__attribute__((noinline)) inline void count_short_run(VORN_XML_COUNTING_INPUT_SOURCE& source, const char* run,
                                                      std::size_t size, unsigned mask)
{
    RUN_STATE at{source.next.line, source.next.column, source.next.column, source.next.offset};
    apply_marks(source, at, run, 0, mask);
    finish_run(source, at, run, size);
}

// count_run() for any run.
__attribute__((noinline)) inline void count_long_run(VORN_XML_COUNTING_INPUT_SOURCE& source, const char* run,
                                                     std::size_t size, const char* limit)
{
    RUN_STATE at{source.next.line, source.next.column, source.next.column, source.next.offset};
    for (std::size_t block = 0; block < size; block += 16) {
        const std::size_t left = size - block;
        apply_marks(source, at, run, block, marks_of(run + block, left < 16 ? left : 16, limit - (run + block) >= 16));
    }
    finish_run(source, at, run, size);
}

// Records in `source`'s positions the delivery of the byte `c` (not 0xFF),
// as get_next_char() would.
inline void count_byte(VORN_XML_COUNTING_INPUT_SOURCE& source, char c)
{
    source.last = source.next;
    if (c == '"')
        note_quote(source, source.last);
    else if (c == '/' && source.after_lt)
        note_end_tag(source, source.last);
    source.after_lt = c == '<';
    ++source.next.offset;
    if (c == '\n') {
        ++source.next.line;
        source.next.column = 1;
    } else {
        ++source.next.column;
    }
}

// Records in `source`'s positions the delivery of the `size` bytes at `run`
// (size >= 1, none of them 0xFF), as `size` calls of get_next_char() would.
// The bytes up to `limit` (>= run + size) may be read.
inline void count_run(VORN_XML_COUNTING_INPUT_SOURCE& source, const char* run, std::size_t size, const char* limit)
{
    if (size == 1) {  // a token's look-ahead alone, as often as not
        count_byte(source, *run);
        return;
    }
    if (size > 16 || limit - run < 16) {
        count_long_run(source, run, size, limit);
        return;
    }
    const unsigned mask = marks_of(run, size, true);
    if (mask != 0) {
        count_short_run(source, run, size, mask);
        return;
    }
    // A short run on one line, without a quote or a slash.
    const std::size_t end = size - 1;
    VORN_XML_POSITION& next = source.next;
    source.last = VORN_XML_POSITION{next.line, next.column + end, next.offset + end};
    next.column += size;
    next.offset += size;
    source.after_lt = run[end] == '<';
}

// count_run() for a long run whose bytes were all delivered since the last
// count, as a tracking source catches up: of the places it delivered, the
// fields keep only the last byte's, the last three quotes' and the last two
// "</"'s.  A backward pass finds those and the line feeds around them, and
// a forward pass counts the other line feeds sixteen bytes at a time.
__attribute__((noinline)) inline void count_run_in_bulk(VORN_XML_COUNTING_INPUT_SOURCE& source, const char* run,
                                                        std::size_t size)
{
    enum { LAST, QUOTE, SLASH };
    struct MARK {
        std::size_t index;
        int kind;
        uint64_t newlines_from;  // line feeds in run[index..size)
        uint64_t column;
        bool placed;  // column known
    };
    MARK marks[6];
    int count = 0;
    int quotes = 0;
    int slashes = 0;
    int unplaced = 1;
    const std::size_t none = ~std::size_t{0};
    std::size_t last_newline = none;
    uint64_t newlines = 0;  // line feeds at or above the scan
    const char last = run[size - 1];
    marks[count++] = MARK{size - 1, LAST, last == '\n' ? uint64_t{1} : uint64_t{0}, 0, false};
    std::size_t low = size;  // run[low..size) scanned
    while (low != 0) {
        const std::size_t high = low;
        low = high >= 16 ? high - 16 : 0;
        unsigned mask = marks_of(run + low, high - low, high - low == 16);
        while (mask != 0) {
            const int bit = 31 - __builtin_clz(mask);
            mask &= ~(1u << bit);
            const std::size_t i = low + static_cast<std::size_t>(bit);
            const char c = run[i];
            if (c == '\n') {
                if (last_newline == none)
                    last_newline = i;
                for (int k = 0; k < count && unplaced != 0; ++k) {
                    if (!marks[k].placed && marks[k].index > i) {
                        marks[k].column = marks[k].index - i;
                        marks[k].placed = true;
                        --unplaced;
                    }
                }
                if (i != size - 1)  // the last byte's own line feed is counted already
                    ++newlines;
            } else if (c == '"' ? quotes < 3 : slashes < 2 && (i == 0 ? source.after_lt : run[i - 1] == '<')) {
                (c == '"' ? quotes : slashes) += 1;
                marks[count++] = MARK{i, c == '"' ? QUOTE : SLASH, newlines + (last == '\n' ? 1 : 0), 0, false};
                ++unplaced;
            }
        }
        if (quotes == 3 && slashes == 2 && unplaced == 0)
            break;
    }
    if (last == '\n')
        ++newlines;
    // The line feeds below the scan, counted only: each 16-byte lane counts
    // up to 252 of them (63 rounds of 64 bytes) before they are summed.
    std::size_t i = 0;
#ifdef __SSE2__
    const __m128i zero = _mm_setzero_si128();
    const __m128i feed = _mm_set1_epi8('\n');
    const auto feeds_at = [&](std::size_t at) {
        return _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(run + at)), feed);
    };
    while (i + 16 <= low) {
        __m128i lanes = zero;
        for (int rounds = 0; rounds < 63 && i + 64 <= low; ++rounds, i += 64) {
            lanes = _mm_sub_epi8(lanes, _mm_add_epi8(_mm_add_epi8(feeds_at(i), feeds_at(i + 16)),
                                                     _mm_add_epi8(feeds_at(i + 32), feeds_at(i + 48))));
        }
        if (i + 64 > low) {
            for (; i + 16 <= low; i += 16)
                lanes = _mm_sub_epi8(lanes, feeds_at(i));
        }
        const __m128i sums = _mm_sad_epu8(lanes, zero);
        newlines += static_cast<uint64_t>(_mm_cvtsi128_si64(sums)) +
                    static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(sums, sums)));
    }
#endif
    for (; i < low; ++i)
        newlines += run[i] == '\n' ? 1 : 0;

    const VORN_XML_POSITION start = source.next;
    const auto place = [&](const MARK& mark) {
        return VORN_XML_POSITION{start.line + newlines - mark.newlines_from,
                                 mark.placed ? mark.column : start.column + mark.index, start.offset + mark.index};
    };
    VORN_XML_POSITION found_quotes[3];
    VORN_XML_POSITION found_slashes[2];
    int q = 0;
    int e = 0;
    for (int k = 1; k < count; ++k) {
        if (marks[k].kind == QUOTE)
            found_quotes[q++] = place(marks[k]);
        else
            found_slashes[e++] = place(marks[k]);
    }
    // Oldest first, as the calls would have noted them.
    for (int k = q - 1; k >= 0; --k)
        note_quote(source, found_quotes[k]);
    for (int k = e - 1; k >= 0; --k)
        note_end_tag(source, found_slashes[k]);
    source.last = place(marks[0]);
    source.next = VORN_XML_POSITION{
        start.line + newlines, last_newline == none ? start.column + size : size - last_newline, start.offset + size};
    source.after_lt = last == '<';
}

}  // namespace vorn_xml_counting

// The window of a counting source whose inner source is of kind INNER: the
// inner source's window, recorded and counted when it settles.  The same
// interface as VORN_XML_WINDOW.
template <class INNER> class VORN_XML_COUNTING_WINDOW {
public:
    const char* next = nullptr;  // the next byte the source would deliver
    const char* end = nullptr;   // one past the last byte deliverable from memory

    explicit VORN_XML_COUNTING_WINDOW(VORN_XML_COUNTING_INPUT_SOURCE& source)
        : source_(source), inner_(static_cast<INNER&>(*source.inner))
    {
        show();
    }
    VORN_XML_COUNTING_WINDOW(const VORN_XML_COUNTING_WINDOW&) = delete;
    VORN_XML_COUNTING_WINDOW& operator=(const VORN_XML_COUNTING_WINDOW&) = delete;
    ~VORN_XML_COUNTING_WINDOW() { settle(); }

    // Shows the window again after get_next_char() was called on the source.
    void refill()
    {
        settle();
        show();
    }

    // Takes [next, to) as delivered; recorded when the window settles.
    void consume(const char* to) { next = to; }

    // Delivers one character, exactly as get_next_char() would.
    char get()
    {
        if (next != end && *next != static_cast<char>(-1)) {
            const char c = *next;
            ++next;
            if (c == '&')
                settle_now();
            return c;
        }
        return get_through_source();
    }

private:
    void show()
    {
        VORN_XML_WINDOW_OF<INNER>::bytes(inner_, next, end);
        settled_ = next;
    }

    // Records what was consumed since the window last settled.
    void settle()
    {
        const char* const from = settled_;
        if (next == from)
            return;
        settled_ = next;
        const auto count = static_cast<std::size_t>(next - from);
        VORN_XML_WINDOW_OF<INNER>::consume(inner_, next, count);
        vorn_xml_counting::count_run(source_, from, count, end);
    }

    __attribute__((noinline)) void settle_now() { settle(); }

    // Out of line, so that get() stays small enough to be inlined.
    __attribute__((noinline)) char get_through_source()
    {
        settle();
        const char c = static_cast<char>(source_.VORN_XML_COUNTING_INPUT_SOURCE::get_next_char());
        show();
        return c;
    }

    VORN_XML_COUNTING_INPUT_SOURCE& source_;
    INNER& inner_;
    const char* settled_ = nullptr;  // the first byte consumed and not yet recorded
};

// Calls `read(window)` with the counting window over the inner source's
// kind when it is exactly one of the kinds read in bulk, and with the empty
// window otherwise.
template <class READ> void vorn_xml_with_counting_window(VORN_XML_COUNTING_INPUT_SOURCE& source, READ&& read)
{
    VORN_XML_SAX_INPUT_SOURCE& inner = *source.inner;
    const std::type_info* const type = &typeid(inner);
    if (type == &typeid(VORN_XML_STREAM_INPUT_SOURCE)) {
        VORN_XML_COUNTING_WINDOW<VORN_XML_STREAM_INPUT_SOURCE> window(source);
        read(window);
    } else if (type == &typeid(VORN_XML_STRING_INPUT_SOURCE)) {
        VORN_XML_COUNTING_WINDOW<VORN_XML_STRING_INPUT_SOURCE> window(source);
        read(window);
    } else if (type == &typeid(VORN_XML_FILE_INPUT_SOURCE)) {
        VORN_XML_COUNTING_WINDOW<VORN_XML_FILE_INPUT_SOURCE> window(source);
        read(window);
    } else {
        VORN_XML_WINDOW<VORN_XML_SAX_INPUT_SOURCE> window(source);
        read(window);
    }
}

#endif
