// The declaration, attributes, tags and element content.
#include <cstdint>
#include <cstring>
#include <iterator>
#include <new>
#include <type_traits>
#include <typeinfo>
#include <vector>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "../companion/vorn_text.h"
#include "../internal/vorn_xml_chars.h"
#include "../internal/vorn_xml_counting_window.h"
#include "../internal/vorn_xml_failures.h"
#include "../internal/vorn_xml_window.h"
#include "vorn_xml_limits.h"
#include "vorn_xml_parser.h"

using vorn_xml::FAILURE;
using vorn_xml::failure_message;

bool VORN_XML_SAX_PARSER::parse_xml_signature_line()
{
    next_token();
    return need_literal("<") && need_literal("?") && need_token("xml", false) && get_attributes() &&
           need_literal("?") && need_literal(">");
}

// Map entries taken out of the parser's lists of earlier tags, kept for the
// pairs of later ones: a reused entry keeps its node and the capacity of its
// name and value, so a tag costs no allocation when enough entries of no
// shorter text are spare.  The element content keeps one for all its tags.
class VORN_XML_SAX_PARSER::SPARE_ENTRIES {
public:
    using MAP = VORN_XML_ATTRIB_LIST::MAP;
    using NODE = MAP::node_type;

    SPARE_ENTRIES() = default;
    // Takes the entries of `map` out, keeping up to `size` in all and
    // freeing the rest; `map` is left empty.
    explicit SPARE_ENTRIES(MAP& map) { take(map); }
    void take(MAP& map)
    {
        while (!map.empty() && count < size)
            new (&entries[count++]) NODE(map.extract(map.begin()));
        map.clear();
    }
    ~SPARE_ENTRIES()
    {
        while (count > 0)
            entry(--count).~NODE();
    }
    SPARE_ENTRIES(const SPARE_ENTRIES&) = delete;
    SPARE_ENTRIES& operator=(const SPARE_ENTRIES&) = delete;

    // Gives `name` the value `value` in `list` as set_attrib() does, filling
    // a spare entry when the name is new.
    void set(VORN_XML_ATTRIB_LIST& list, const std::string& name, const std::string& value)
    {
        set(list, name.data(), name.size(), value.data(), value.size());
    }
    void set(VORN_XML_ATTRIB_LIST& list, const char* name, std::size_t name_size, const char* value,
             std::size_t value_size)
    {
        if (count == 0) {
            list.set_attrib(std::string(name, name_size), std::string(value, value_size));
            return;
        }
        // The name goes into the spare entry first and is looked up there.
        NODE& spare = entry(count - 1);
        vorn_reuse_text(spare.key(), name, name_size);
        std::string& value_text = spare.mapped();
        vorn_reuse_text(value_text, value, value_size);
        // Names often come in order: the end is the hint, which costs one
        // comparison when the new name goes last and an ordinary descent
        // otherwise.  A name already there keeps its entry and takes the
        // value; the spare entry, still ours, takes the old one.
        MAP& map = list.attrib_map;
        const MAP::size_type pairs = map.size();
        const MAP::iterator at = map.insert(map.end(), std::move(spare));
        if (map.size() == pairs) {
            at->second.swap(value_text);
            return;
        }
        entry(--count).~NODE();
    }

private:
    static constexpr int size = 16;
    NODE& entry(int i) { return *std::launder(reinterpret_cast<NODE*>(&entries[i])); }
    // Raw room for the handles: only those in use are constructed.
    std::aligned_storage_t<sizeof(NODE), alignof(NODE)> entries[size];
    int count = 0;
};

namespace {

// The new current attribute list of a tag.  The list of the previous tag is
// done with.  When it is a plain list of our own making, its entries are
// taken out (into `spare`, to be refilled), which leaves the same new list
// (empty, its cursor at the end) without a round trip through the allocator;
// anything else is deleted.
VORN_XML_ATTRIB_LIST& new_attrib_list(VORN_XML_ATTRIB_LIST*& current)
{
    VORN_XML_ATTRIB_LIST* own = current;
    if (own == nullptr || typeid(*own) != typeid(VORN_XML_ATTRIB_LIST)) {
        delete current;
        current = nullptr;
        current = own = new VORN_XML_ATTRIB_LIST;
    }
    return *own;
}

}  // namespace

bool VORN_XML_SAX_PARSER::get_attributes()
{
    bool result = true;
    VORN_XML_ATTRIB_LIST* const own = &new_attrib_list(current_attrib_list);
    SPARE_ENTRIES spare(own->attrib_map);
    own->attrib_cursor = own->attrib_map.end();
    std::string name;
    // With limits, each pair is counted, malformed ones included, and the
    // tag's bytes as its pairs need them at the least.
    VORN_XML_LIMITED_SAX_PARSER* const limited = limited_reading();
    uint64_t pairs = 0;
    uint64_t tag_bytes = 0;
    while (token_type == TOKEN_IDENTIFIER) {
        if (limited != nullptr) {
            tag_bytes += current_token.size() + 1;
            if (past_limit(limited, VORN_XML_LIMITS::ATTRIBUTES, ++pairs) ||
                past_limit(limited, VORN_XML_LIMITS::NAME, current_token.size()) ||
                past_limit(limited, VORN_XML_LIMITS::TAG, tag_bytes))
                return false;
        }
        name.assign(current_token);
        next_token();
        if (!need_literal("=")) {
            file_error(failure_message(FAILURE::ATTRIBUTE_EQUAL_MISSING, name));
            result = false;
            continue;
        }
        if (token_type != TOKEN_STRING) {
            file_error(failure_message(FAILURE::ATTRIBUTE_VALUE_MISSING, name));
            result = false;
            continue;
        }
        if (limited != nullptr) {
            tag_bytes += current_token.size() + 3;
            if (past_limit(limited, VORN_XML_LIMITS::TEXT, current_token.size()) ||
                past_limit(limited, VORN_XML_LIMITS::TAG, tag_bytes))
                return false;
        }
        spare.set(*own, name, current_token);
        next_token();
    }
    return result;
}

int VORN_XML_SAX_PARSER::parse_xml_start_tag(std::string& name)
{
    if (!need_literal("<"))
        return TAG_NONE;
    if (!is_xml_identifier(name))
        return TAG_NONE;
    if (!get_attributes())
        return TAG_NONE;
    if (current_token.size() == 1 && current_token[0] == '/') {
        next_token();
        need_literal(">");  // a missing ">" is reported; the tag still counts
        return TAG_EMPTY;
    }
    need_literal(">");
    return TAG_START;
}

int VORN_XML_SAX_PARSER::parse_xml_end_tag(std::string& name)
{
    if (!need_literal("</"))
        return TAG_NONE;
    if (!is_xml_identifier(name))
        return TAG_NONE;
    return need_literal(">") ? TAG_END : TAG_NONE;
}

namespace {

using vorn_xml_chars::class_of;
using vorn_xml_chars::is_name_char;
using vorn_xml_chars::is_space;

constexpr char end_of_input = -1;

// A tag as found in memory: its pairs and where its ">" stands.
struct TAG_IN_MEMORY {
    static constexpr int most_pairs = 32;
    struct RANGE {
        const char* begin;
        std::size_t size;
    };
    const char* name_end = nullptr;  // one past the element's name
    const char* close = nullptr;     // the ">"
    bool empty = false;              // "/" before the ">"
    int pairs = 0;
    RANGE names[most_pairs];
    RANGE values[most_pairs];
};

#ifdef __SSE2__
// The lanes of `bytes` from `low` to `low + span`.
inline __m128i lanes_in(__m128i bytes, char low, char span)
{
    const __m128i from_low = _mm_sub_epi8(bytes, _mm_set1_epi8(low));
    return _mm_cmpeq_epi8(_mm_min_epu8(from_low, _mm_set1_epi8(span)), from_low);
}
#endif

// White space: tab to carriage return, and the blank.
struct SPACES {
    static bool in(char c) { return is_space(c); }
#ifdef __SSE2__
    static __m128i in(__m128i bytes)
    {
        return _mm_or_si128(lanes_in(bytes, '\t', 4), _mm_cmpeq_epi8(bytes, _mm_set1_epi8(' ')));
    }
#endif
};

// Name characters: letters, digits and "_".
struct NAME_CHARS {
    static bool in(char c) { return is_name_char(c); }
#ifdef __SSE2__
    static __m128i in(__m128i bytes)
    {
        const __m128i letters = lanes_in(_mm_or_si128(bytes, _mm_set1_epi8(0x20)), 'a', 25);
        return _mm_or_si128(_mm_or_si128(letters, lanes_in(bytes, '0', 9)), _mm_cmpeq_epi8(bytes, _mm_set1_epi8('_')));
    }
#endif
};

// The first byte from `p` outside the class CLASS: sixteen bytes at once
// where they can be read, then byte by byte.
template <class CLASS> inline const char* skip_class(const char* p, const char* end)
{
#ifdef __SSE2__
    if (end - p >= 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const unsigned others = ~static_cast<unsigned>(_mm_movemask_epi8(CLASS::in(bytes))) & 0xFFFFu;
        if (others != 0)
            return p + __builtin_ctz(others);
        p += 16;
    }
#endif
    while (p != end && CLASS::in(*p))
        ++p;
    return p;
}

// The end of the white space from `p`.
inline const char* skip_spaces(const char* p, const char* end)
{
    // None, or one blank as between pairs, as often as not; then a line end
    // and an indent.
    if (p == end || !is_space(*p))
        return p;
    if (++p == end || !is_space(*p))
        return p;
    return skip_class<SPACES>(p, end);
}

// The end of the name characters from `p`: element names and words of text.
inline const char* skip_name(const char* p, const char* end)
{
    return skip_class<NAME_CHARS>(p, end);
}

// The same for names of a byte or two, as attribute names often are: byte by
// byte costs them less than setting up the sixteen-byte test.
inline const char* skip_short_name(const char* p, const char* end)
{
    while (p != end && is_name_char(*p))
        ++p;
    return p;
}

// `size` bytes at `a` and `b` are the same.  Names are short: four or eight
// bytes are compared at once, the last block overlapping the one before.
inline bool same_bytes(const char* a, const char* b, std::size_t size)
{
    const auto load4 = [](const char* p) {
        uint32_t v;
        std::memcpy(&v, p, sizeof v);
        return v;
    };
    const auto load8 = [](const char* p) {
        uint64_t v;
        std::memcpy(&v, p, sizeof v);
        return v;
    };
    if (size >= 8) {
        for (std::size_t i = 0; i + 8 < size; i += 8) {
            if (load8(a + i) != load8(b + i))
                return false;
        }
        return load8(a + size - 8) == load8(b + size - 8);
    }
    if (size >= 4)
        return load4(a) == load4(b) && load4(a + size - 4) == load4(b + size - 4);
    for (std::size_t i = 0; i < size; ++i) {
        if (a[i] != b[i])
            return false;
    }
    return true;
}

// Reads, from `p` (just after the first character of the element's name), a
// start tag or empty-element tag that the token-by-token reading would take
// without a message and without meeting a comment, a byte 0xFF or the end of
// [p, end): the rest of the name, name="value" pairs and "/" ">" or ">",
// white space between them.  False for anything else, which is then left to
// that reading.
inline bool find_tag(const char* p, const char* const end, TAG_IN_MEMORY& tag)
{
    p = skip_name(p, end);
    tag.name_end = p;
    for (;;) {
        p = skip_spaces(p, end);
        if (p == end)
            return false;
        if (*p == '>') {
            tag.close = p;
            tag.empty = false;
            return true;
        }
        if (*p == '/') {
            p = skip_spaces(p + 1, end);
            if (p == end || *p != '>')
                return false;
            tag.close = p;
            tag.empty = true;
            return true;
        }
        if (class_of(*p) != vorn_xml_chars::CLASS_NAME_START || tag.pairs == TAG_IN_MEMORY::most_pairs)
            return false;
        const char* const name = p;
        p = skip_short_name(p + 1, end);
        tag.names[tag.pairs] = {name, static_cast<std::size_t>(p - name)};
        p = skip_spaces(p, end);
        if (p == end || *p != '=')
            return false;
        p = skip_spaces(p + 1, end);
        if (p == end || *p != '"')
            return false;
        const char* const value = ++p;
        while (p != end && *p != '"' && *p != end_of_input)
            ++p;
        if (p == end || *p != '"')
            return false;
        tag.values[tag.pairs] = {value, static_cast<std::size_t>(p - value)};
        ++tag.pairs;
        ++p;
    }
}

}  // namespace

int VORN_XML_SAX_PARSER::read_start_tag_in_window(std::string& name, SPARE_ENTRIES& spare)
{
    int kind = TAG_NONE;
    vorn_xml_with_window(*input_source, [&](auto& window) { kind = start_tag_in(window, name, spare); });
    return kind;
}

bool VORN_XML_SAX_PARSER::read_end_tag_in_window(const std::string& open_name)
{
    bool read = false;
    vorn_xml_with_window(*input_source, [&](auto& window) { read = end_tag_in(window, open_name); });
    return read;
}

// The token that follows a tag whose ">" ends just before `after`, read as
// need_token(">") reads it: everything before `after` is delivered, then the
// token.  The usual ones ("<" or "</" before a name, a name starting a run of
// text) are taken from the window at once.
template <class WINDOW>
inline __attribute__((always_inline)) void VORN_XML_SAX_PARSER::token_after(WINDOW& window, const char* after)
{
    const char* const end = window.end;
    const char* const p = skip_spaces(after, end);
    if (end - p >= 3) {
        if (*p == '<') {
            if (p[1] == '/') {
                if (p[2] != end_of_input) {
                    window.consume(p + 3);
                    current_char = p[2];
                    current_token.clear();
                    current_token.push_back('<');
                    current_token.push_back('/');
                    token_type = TOKEN_END_TAG_OPEN;
                    return;
                }
            } else if (p[1] != '!' && p[1] != end_of_input) {
                window.consume(p + 2);
                current_char = p[1];
                current_token.clear();
                current_token.push_back('<');
                token_type = TOKEN_TAG_OPEN;
                return;
            }
        } else if (class_of(*p) == vorn_xml_chars::CLASS_NAME_START) {
            const char* const name_end = skip_name(p + 1, end);
            if (name_end != end && *name_end != end_of_input) {
                window.consume(name_end + 1);
                current_char = *name_end;
                current_token.clear();
                current_token.append(p, static_cast<std::size_t>(name_end - p));
                token_type = TOKEN_IDENTIFIER;
                return;
            }
        }
    }
    window.consume(after);
    current_char = window.get();
    read_token(window);
}

// The current token is "<" and current_char the character after it.
template <class WINDOW> int VORN_XML_SAX_PARSER::start_tag_in(WINDOW& window, std::string& name, SPARE_ENTRIES& spare)
{
    if (class_of(current_char) != vorn_xml_chars::CLASS_NAME_START)
        return TAG_NONE;
    TAG_IN_MEMORY tag;
    if (!find_tag(window.next, window.end, tag))
        return TAG_NONE;
    // The new list, as get_attributes() leaves it.  An empty plain list
    // is already what a tag without pairs needs.
    VORN_XML_ATTRIB_LIST* list = current_attrib_list;
    if (list == nullptr || typeid(*list) != typeid(VORN_XML_ATTRIB_LIST))
        list = &new_attrib_list(current_attrib_list);
    if (tag.pairs != 0 || !list->attrib_map.empty()) {
        spare.take(list->attrib_map);
        for (int i = 0; i < tag.pairs; ++i)
            spare.set(*list, tag.names[i].begin, tag.names[i].size, tag.values[i].begin, tag.values[i].size);
    }
    list->attrib_cursor = list->attrib_map.end();
    name.clear();
    name.push_back(current_char);
    name.append(window.next, static_cast<std::size_t>(tag.name_end - window.next));
    // Delivered up to the ">", then the character after it and the next
    // token, as need_token(">") reads them.
    token_after(window, tag.close + 1);
    return tag.empty ? TAG_EMPTY : TAG_START;
}

// An end tag whose name is `open_name`, from one of two states: the current
// token is "</" and current_char the character after it; or a run of
// character data has just been read (its "<" in current_char), and the "</"
// is read here as next_token() would read it.  Any other end tag is left to
// the token-by-token reading, which reports a mismatch.
template <class WINDOW> bool VORN_XML_SAX_PARSER::end_tag_in(WINDOW& window, const std::string& open_name)
{
    const char* rest = window.next;  // the name after its first character
    if (token_type == TOKEN_END_TAG_OPEN) {
        if (current_char != open_name[0])
            return false;
    } else {
        if (window.end - rest < 2 || rest[0] != '/' || rest[1] != open_name[0])
            return false;
        rest += 2;
    }
    // The rest of the open name, compared in place rather than scanned
    // first: a longer name then fails at the test for ">".
    const auto rest_size = open_name.size() - 1;
    if (static_cast<std::size_t>(window.end - rest) <= rest_size || !same_bytes(rest, open_name.data() + 1, rest_size))
        return false;
    const char* const close = skip_spaces(rest + rest_size, window.end);
    if (close == window.end || *close != '>')
        return false;
    token_after(window, close + 1);
    return true;
}

// Content is elements followed by at most one run of character data.  Nested
// elements are read with an explicit stack of the open elements' names rather
// than one call per level, so the depth of a document costs heap, not stack;
// events and messages come in the same order as a call per level would give.
// The names on the stack keep their room when an element ends, so that the
// names of later elements are read in without allocating.
bool VORN_XML_SAX_PARSER::parse_xml10_xml_body()
{
    // With limits, every start tag is read token by token (where each pair
    // is counted), and each tag, run and level checked; a plain parser's
    // reading is made without a trace of them.
    if (VORN_XML_LIMITED_SAX_PARSER* const limited = limited_reading())
        return read_content<true>(limited);
    return read_content<false>(nullptr);
}

template <bool LIMITED> bool VORN_XML_SAX_PARSER::read_content(VORN_XML_LIMITED_SAX_PARSER* const limited)
{
    std::vector<std::string> open_names{std::string()};  // and the name being read
    std::size_t depth = 0;                               // open_names[0, depth) are the open elements
    std::string end_name;
    std::string run;
    SPARE_ENTRIES spare;
    // Once a limit has ended the parse, the content ends at the next check.
    const auto ended = [limited] { return limited->limit_reached != VORN_XML_LIMITS::NONE; };
    for (;;) {
        // The elements of the current level.
        while (token_is("<")) {
            // The name is read into the slot it takes when the element opens.
            std::string& start_name = open_names[depth];
            start_name.clear();
            int kind = TAG_NONE;
            if (!LIMITED && token_type == TOKEN_TAG_OPEN)
                kind = read_start_tag_in_window(start_name, spare);
            if (kind == TAG_NONE)
                kind = parse_xml_start_tag(start_name);
            if (LIMITED && (ended() || past_limit(limited, VORN_XML_LIMITS::NAME, start_name.size()) ||
                            past_limit(limited, VORN_XML_LIMITS::DEPTH, depth + 1)))
                return false;
            if (kind == TAG_START) {
                tree_handler->process_start_element(start_name, current_attrib_list);
                if (++depth == open_names.size())
                    open_names.emplace_back();
                continue;  // the content of the new element
            }
            if (kind != TAG_EMPTY)
                return false;
            tree_handler->process_start_element(start_name, current_attrib_list);
            tree_handler->process_end_element(start_name);
        }

        // At most one run of character data ends the level's content.
        bool end_tag_read = false;
        if (!token_is("</") && token_type != TOKEN_END_OF_INPUT) {
            if (!read_run_in_window(run)) {
                run.assign(current_token);  // the run begins with the current token
                gather_text('<');
                run += current_token;
            }
            if (LIMITED && (ended() || past_limit(limited, VORN_XML_LIMITS::TEXT, run.size())))
                return false;
            tree_handler->process_characters(run);
            // The token after the run, and the end tag when it comes at once.
            if (depth > 0 && token_type == TOKEN_STRING && current_char == '<')
                end_tag_read = read_end_tag_in_window(open_names[depth - 1]);
            if (!end_tag_read)
                next_token();
        }

        if (depth == 0)
            return !LIMITED || !ended();

        // The content of the innermost open element is over: its end tag.
        const std::string& open_name = open_names[--depth];
        if (end_tag_read || (token_type == TOKEN_END_TAG_OPEN && read_end_tag_in_window(open_name))) {
            tree_handler->process_end_element(open_name);  // the end tag's name, too
            continue;
        }
        end_name.clear();
        parse_xml_end_tag(end_name);
        if (open_name != end_name) {
            file_error(failure_message(FAILURE::END_TAG_MISMATCH, open_name, end_name));
            return false;
        }
        tree_handler->process_end_element(end_name);
    }
}
