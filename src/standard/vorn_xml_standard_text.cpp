// Decoding a document into checked UTF-8 (see vorn_xml_standard_text.h).
#include "vorn_xml_standard_text.h"

#include <cstdint>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace vorn_standard {
namespace {

enum class ENCODING { UTF8, UTF16LE, UTF16BE, LATIN1, ASCII };

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

bool same_name(const std::string& name, const char* known)
{
    const std::size_t length = std::strlen(known);
    if (name.size() != length)
        return false;
    for (std::size_t i = 0; i < length; ++i)
        if (lower(name[i]) != lower(known[i]))
            return false;
    return true;
}

bool any_of(const std::string& name, const char* const* names)
{
    for (; *names != nullptr; ++names)
        if (same_name(name, *names))
            return true;
    return false;
}

const char* const utf8_names[] = {"UTF-8", "UTF8", nullptr};
const char* const utf16_names[] = {"UTF-16", "UTF16", "UTF-16LE", "UTF-16BE", "ISO-10646-UCS-2", "UCS-2", nullptr};
const char* const latin1_names[] = {"ISO-8859-1", "ISO_8859-1", "ISO_8859-1:1987", "ISO8859-1",   "LATIN1", "L1",
                                    "ISO-IR-100", "CP819",      "IBM819",          "CSISOLATIN1", nullptr};
const char* const ascii_names[] = {"US-ASCII", "ASCII",  "ISO646-US", "ANSI_X3.4-1968", "ANSI_X3.4-1986",   "ISO-IR-6",
                                   "US",       "IBM367", "CP367",     "CSASCII",        "ISO_646.IRV:1991", nullptr};

// The encoding named by an XML declaration at the start of `text` (ASCII
// bytes), or "" when there is none or it names none.  Only finds the name:
// the reader checks the declaration.
std::string declared_encoding(const char* text, std::size_t size)
{
    if (size < 6 || std::memcmp(text, "<?xml", 5) != 0 || !is_space(text[5]))
        return std::string();
    const char* end = static_cast<const char*>(std::memchr(text, '>', size));
    if (end == nullptr)
        end = text + size;
    for (const char* p = text + 5; p + 8 <= end; ++p) {
        if (std::memcmp(p, "encoding", 8) != 0 || !is_space(p[-1]))
            continue;
        const char* q = p + 8;
        while (q < end && is_space(*q))
            ++q;
        if (q == end || *q != '=')
            return std::string();
        ++q;
        while (q < end && is_space(*q))
            ++q;
        if (q == end || (*q != '"' && *q != '\''))
            return std::string();
        const char quote = *q++;
        const char* close = q;
        while (close < end && *close != quote)
            ++close;
        if (close == end)
            return std::string();
        return std::string(q, close);
    }
    return std::string();
}

// Builds the checked text, copying only when something must change.
class DECODER {
public:
    DECODER(const char* bytes, std::size_t size, DOCUMENT_TEXT& out) : in(bytes), length(size), out(out) {}

    void utf8(std::size_t from);
    void utf16(std::size_t from, bool little);
    void single_byte(std::size_t from, bool latin1);

private:
    void copy_up_to(std::size_t at)
    {
        if (!copying) {
            out.owned.reserve(length + length / 8);
            copying = true;
        }
        out.owned.append(in + copied, at - copied);
    }
    void stop(std::size_t at, const std::string& why)
    {
        copy_up_to(at);
        copied = at;
        length = at;
        out.fault = why;
    }
    void put(uint32_t c);
    void finish(std::size_t from)
    {
        if (copying) {
            copy_up_to(length);
            out.text = out.owned.c_str();
            out.size = out.owned.size();
        } else {
            out.text = in + from;
            out.size = length - from;
        }
    }

    const char* in;
    std::size_t length;
    DOCUMENT_TEXT& out;
    std::size_t copied = 0;  // in[copied, ...) is not in out.owned yet
    bool copying = false;
};

std::string hex(uint32_t c)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    do {
        text.insert(text.begin(), digits[c & 15]);
        c >>= 4;
    } while (c != 0);
    while (text.size() < 4)
        text.insert(text.begin(), '0');
    return "U+" + text;
}

#ifdef __SSE2__
// The bytes of `v` that are neither printable ASCII nor a tab or line feed.
inline __m128i unusual(__m128i v)
{
    const __m128i below = _mm_cmplt_epi8(v, _mm_set1_epi8(0x20));  // and every byte from 0x80
    const __m128i fine = _mm_or_si128(_mm_cmpeq_epi8(v, _mm_set1_epi8('\n')), _mm_cmpeq_epi8(v, _mm_set1_epi8('\t')));
    return _mm_andnot_si128(fine, below);
}
#endif

void DECODER::put(uint32_t c)
{
    append_utf8(out.owned, c);
}

void DECODER::utf8(std::size_t from)
{
    const auto* s = reinterpret_cast<const unsigned char*>(in);
    std::size_t i = from;
    copied = from;
    constexpr uint64_t ones = 0x0101010101010101ULL;
    while (i < length) {
#ifdef __SSE2__
        // Sixty-four bytes of printable ASCII, tabs and line feeds at a
        // time, then sixteen.
        while (i + 64 <= length) {
            const auto* at = reinterpret_cast<const __m128i*>(s + i);
            const __m128i odd =
                _mm_or_si128(_mm_or_si128(unusual(_mm_loadu_si128(at)), unusual(_mm_loadu_si128(at + 1))),
                             _mm_or_si128(unusual(_mm_loadu_si128(at + 2)), unusual(_mm_loadu_si128(at + 3))));
            if (_mm_movemask_epi8(odd) != 0)
                break;
            i += 64;
        }
        if (i == length)
            break;
        if (i + 16 <= length) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
            const int odd = _mm_movemask_epi8(_mm_cmplt_epi8(v, _mm_set1_epi8(0x20)));
            if (odd == 0) {
                i += 16;
                continue;
            }
            const int fine = _mm_movemask_epi8(
                _mm_or_si128(_mm_cmpeq_epi8(v, _mm_set1_epi8('\n')), _mm_cmpeq_epi8(v, _mm_set1_epi8('\t'))));
            if ((odd & ~fine) == 0) {
                i += 16;
                continue;
            }
            // Up to the first byte that needs a closer look.
            i += static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(odd & ~fine)));
        }
#endif
        if (i + 8 <= length) {
            uint64_t word;
            std::memcpy(&word, s + i, 8);
            if ((((word - 0x20 * ones) | word) & (0x80 * ones)) == 0) {
                i += 8;
                continue;
            }
        }
        const unsigned char b = s[i];
        if (b >= 0x20 && b < 0x80) {
            ++i;
            continue;
        }
        if (b == '\t' || b == '\n') {
            ++i;
            continue;
        }
        if (b == '\r') {
            copy_up_to(i);
            out.owned.push_back('\n');
            i += i + 1 < length && s[i + 1] == '\n' ? 2 : 1;
            copied = i;
            continue;
        }
        if (b < 0x20) {
            stop(i, "character " + hex(b) + " is not allowed in XML");
            return finish(from);
        }
        // A multi-byte sequence.
        uint32_t c;
        std::size_t n;
        uint32_t least;
        if (b >= 0xC2 && b <= 0xDF) {
            c = b & 0x1F;
            n = 2;
            least = 0x80;
        } else if (b >= 0xE0 && b <= 0xEF) {
            c = b & 0x0F;
            n = 3;
            least = 0x800;
        } else if (b >= 0xF0 && b <= 0xF4) {
            c = b & 0x07;
            n = 4;
            least = 0x10000;
        } else {
            stop(i, "byte 0x" + hex(b).substr(4) + " is not UTF-8");
            return finish(from);
        }
        bool good = i + n <= length;
        for (std::size_t k = 1; good && k < n; ++k) {
            if ((s[i + k] & 0xC0) != 0x80)
                good = false;
            else
                c = (c << 6) | (s[i + k] & 0x3F);
        }
        if (!good || c < least || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000)) {
            stop(i, "invalid UTF-8 sequence");
            return finish(from);
        }
        if (!xml_char(c)) {
            stop(i, "character " + hex(c) + " is not allowed in XML");
            return finish(from);
        }
        i += n;
    }
    finish(from);
}

void DECODER::utf16(std::size_t from, bool little)
{
    copying = true;
    out.owned.reserve(length);
    copied = length;  // nothing is copied as it is
    const auto* s = reinterpret_cast<const unsigned char*>(in);
    auto unit = [&](std::size_t at) -> uint32_t {
        return little ? static_cast<uint32_t>(s[at] | (s[at + 1] << 8))
                      : static_cast<uint32_t>((s[at] << 8) | s[at + 1]);
    };
    std::size_t i = from;
    while (i + 1 < length) {
        uint32_t c = unit(i);
        std::size_t step = 2;
        if (c >= 0xD800 && c < 0xDC00) {
            const uint32_t low = i + 3 < length ? unit(i + 2) : 0;
            if (low < 0xDC00 || low >= 0xE000) {
                out.fault = "unpaired UTF-16 surrogate";
                break;
            }
            c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
            step = 4;
        } else if (c >= 0xDC00 && c < 0xE000) {
            out.fault = "unpaired UTF-16 surrogate";
            break;
        }
        if (!xml_char(c)) {
            out.fault = "character " + hex(c) + " is not allowed in XML";
            break;
        }
        if (c == '\r') {
            out.owned.push_back('\n');
            if (i + step + 1 < length && unit(i + step) == '\n')
                step += 2;
        } else {
            put(c);
        }
        i += step;
    }
    if (out.fault.empty() && i < length)
        out.fault = "the document ends inside a UTF-16 character";
    out.text = out.owned.c_str();
    out.size = out.owned.size();
}

void DECODER::single_byte(std::size_t from, bool latin1)
{
    copying = true;
    out.owned.reserve(length);
    copied = length;
    const auto* s = reinterpret_cast<const unsigned char*>(in);
    for (std::size_t i = from; i < length; ++i) {
        const uint32_t c = s[i];
        if (c >= 0x80 && !latin1) {
            out.fault = "byte 0x" + hex(c).substr(4) + " is not US-ASCII";
            break;
        }
        if (!xml_char(c)) {
            out.fault = "character " + hex(c) + " is not allowed in XML";
            break;
        }
        if (c == '\r') {
            out.owned.push_back('\n');
            if (i + 1 < length && s[i + 1] == '\n')
                ++i;
        } else {
            put(c);
        }
    }
    out.text = out.owned.c_str();
    out.size = out.owned.size();
}

}  // namespace

void decode_document(SOURCE_BYTES& bytes, DOCUMENT_TEXT& out)
{
    out.owned.clear();
    out.fault.clear();
    const char* in = bytes.view;
    const std::size_t size = bytes.size;
    const auto* s = reinterpret_cast<const unsigned char*>(in);
    DECODER decoder(in, size, out);
    if (size >= 2 && ((s[0] == 0xFE && s[1] == 0xFF) || (s[0] == 0xFF && s[1] == 0xFE))) {
        const bool little = s[0] == 0xFF;
        if (size >= 4 && little && s[2] == 0 && s[3] == 0) {
            out.text = "";
            out.size = 0;
            out.fault = "UTF-32 is not supported";
            return;
        }
        decoder.utf16(2, little);
        const std::string name = declared_encoding(out.text, out.size);
        if (!name.empty() && !any_of(name, utf16_names)) {
            out.fault = "the document is UTF-16 but declares encoding \"" + name + "\"";
            out.size = 0;
        }
        return;
    }
    if (size >= 3 && s[0] == 0xEF && s[1] == 0xBB && s[2] == 0xBF) {
        const std::string name = declared_encoding(in + 3, size - 3);
        if (!name.empty() && !any_of(name, utf8_names)) {
            out.text = "";
            out.size = 0;
            out.fault = "the document begins with a UTF-8 byte order mark but declares encoding \"" + name + "\"";
            return;
        }
        decoder.utf8(3);
        return;
    }
    if (size >= 4 && ((s[0] == '<' && s[1] == 0 && s[2] == '?' && s[3] == 0) ||
                      (s[0] == 0 && s[1] == '<' && s[2] == 0 && s[3] == '?'))) {
        out.text = "";
        out.size = 0;
        out.fault = "UTF-16 without a byte order mark";
        return;
    }
    const std::string name = declared_encoding(in, size);
    if (name.empty() || any_of(name, utf8_names)) {
        decoder.utf8(0);
    } else if (any_of(name, latin1_names)) {
        decoder.single_byte(0, true);
    } else if (any_of(name, ascii_names)) {
        decoder.single_byte(0, false);
    } else {
        out.text = "";
        out.size = 0;
        out.fault = any_of(name, utf16_names)
                        ? "the document declares encoding \"" + name + "\" but has no UTF-16 byte order mark"
                        : "encoding \"" + name + "\" is not supported";
    }
}

}  // namespace vorn_standard
