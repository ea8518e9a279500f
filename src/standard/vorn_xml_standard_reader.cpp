// The standard XML 1.0 reader (see vorn_xml_standard_reader.h).
//
// The document text is decoded UTF-8 with a NUL after its end and none
// inside, and so is every entity's replacement text; a NUL byte therefore
// always means the end of what is being read, and look-ahead of a few bytes
// never needs a bounds check.  Entities being expanded are frames on an
// explicit stack; open elements are names on another.
#include "vorn_xml_standard_reader.h"

#include <cstring>
#include <tuple>
#include <utility>
#ifdef __SSE2__
#include <emmintrin.h>
#endif
#include <typeinfo>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "../companion/vorn_text.h"
#include "vorn_xml_standard_names.h"

namespace vorn_standard {

namespace {

// A value of a declared type other than CDATA, normalised further: no space
// at either end, and one for each run of spaces.
void collapse_spaces(std::string& value)
{
    std::size_t out = 0;
    for (std::size_t k = 0; k < value.size(); ++k)
        if (value[k] != ' ' || (out > 0 && value[out - 1] != ' '))
            value[out++] = value[k];
    if (out > 0 && value[out - 1] == ' ')
        --out;
    value.resize(out);
}

// The character one of the five predefined entities stands for (lt, gt,
// amp, apos, quot), or 0 for any other name.
char predefined_entity(const char* name, std::size_t length)
{
    if (length == 2 && name[1] == 't' && (name[0] == 'l' || name[0] == 'g'))
        return name[0] == 'l' ? '<' : '>';
    if (length == 3 && std::memcmp(name, "amp", 3) == 0)
        return '&';
    if (length == 4 && (std::memcmp(name, "apos", 4) == 0 || std::memcmp(name, "quot", 4) == 0))
        return name[0] == 'a' ? '\'' : '"';
    return 0;
}

}  // namespace

namespace {

// Bytes that end a run of character data: < & ] and the NUL at the end.
struct TEXT_STOPS {
    bool stop[256] = {};
    constexpr TEXT_STOPS() : stop()
    {
        stop[0] = true;
        stop[static_cast<unsigned char>('<')] = true;
        stop[static_cast<unsigned char>('&')] = true;
        stop[static_cast<unsigned char>(']')] = true;
    }
};
constexpr TEXT_STOPS text_stops;

// The first of < & ] or the end's NUL from p on; `end` is the NUL.  Sixteen
// bytes at a time while they lie before the end.
inline const char* text_stop(const char* p, const char* end)
{
#ifdef __SSE2__
    const __m128i lt = _mm_set1_epi8('<');
    const __m128i amp = _mm_set1_epi8('&');
    const __m128i bracket = _mm_set1_epi8(']');
    while (end - p >= 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i hit =
            _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, lt), _mm_cmpeq_epi8(v, amp)), _mm_cmpeq_epi8(v, bracket));
        const int mask = _mm_movemask_epi8(hit);
        if (mask != 0)
            return p + __builtin_ctz(static_cast<unsigned>(mask));
        p += 16;
    }
#else
    (void)end;
#endif
    while (!text_stops.stop[static_cast<unsigned char>(*p)])
        ++p;
    return p;
}

// Bytes that end the plain part of an attribute value.
struct VALUE_STOPS {
    bool stop[256] = {};
    constexpr VALUE_STOPS() : stop()
    {
        for (const char c : {'\0', '"', '\'', '<', '&', '\t', '\n', '\r'})
            stop[static_cast<unsigned char>(c)] = true;
    }
};
constexpr VALUE_STOPS value_stops;

bool pubid_char(char c, char quote)
{
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))
        return true;
    if (c == '\'')
        return quote != '\'';
    return c != '\0' && std::strchr(" \n-()+,./:=?;!*#@$_%", c) != nullptr;
}

bool white_only(const std::string& text)
{
    for (const char c : text)
        if (!is_space(c))
            return false;
    return true;
}

// One run into an element's tree text (see VORN_XML_STANDARD_HANDLER):
// white space only waits in `pending` before the first sub-element and is
// dropped after one; other text takes what waited with it.  `run` is left
// empty or with anything.
void add_run(std::string& data, std::string& pending, bool after_child, std::string& run)
{
    if (white_only(run)) {
        if (!after_child)
            pending.append(run);
        return;
    }
    if (!pending.empty()) {
        data.append(pending);
        pending.clear();
    }
    if (data.empty())
        data.swap(run);
    else
        data.append(run);
}

struct ENTITY {
    std::string value;      // replacement text of an internal entity
    bool external = false;  // declared with SYSTEM or PUBLIC
    bool unparsed = false;  // declared with NDATA
    bool open = false;      // being expanded now
};

struct ATTRIBUTE_DECL {
    std::string name;
    std::string value;  // the default, normalised
    bool cdata = true;
    bool has_default = false;
};

// An entity being read: where to go on when its text ends.
struct FRAME {
    const char* at;        // the reference
    const char* back;      // the position after the reference
    const char* back_end;  // the end of the text the reference is in
    ENTITY* entity;
    std::size_t depth;  // open elements when the entity began
};

struct OPEN_ELEMENT {
    const char* name = nullptr;
    std::size_t length = 0;
};

}  // namespace

class STANDARD_READER::STATE {
public:
    STATE(VORN_XML_SAX_TREE_HANDLER& handler, uint64_t limit) : handler(handler), limit(limit) {}

    bool read(const DOCUMENT_TEXT& text);

    std::string message;
    std::size_t fault = 0;

private:
    // -- faults
    bool fail(const char* at, const std::string& why);
    bool fail_here(const std::string& why) { return fail(p, why); }
    bool unexpected(const char* what);

    // -- small pieces
    bool skip_space()
    {
        const char* from = p;
        while (is_space(*p))
            ++p;
        return p != from;
    }
    bool need_space(const char* where)
    {
        if (skip_space())
            return true;
        return fail_here(std::string("white space expected ") + where);
    }
    bool literal(const char* word)
    {
        const std::size_t n = std::strlen(word);
        if (std::strncmp(p, word, n) != 0)
            return false;
        p += n;
        return true;
    }
    bool read_name(const char*& name, std::size_t& length, const char* what);
    // The name of a reference whose "&" is at `at` (p just after it), and
    // its ";".
    bool reference_name(const char* at, const char*& name, std::size_t& length)
    {
        if (!read_name(name, length, "an entity reference"))
            return false;
        if (*p != ';')
            return fail(at, "\";\" expected after an entity reference");
        ++p;
        return true;
    }
    // A declaration's start: "<!" and its `keyword` (matched already), the
    // white space after them, and the name it declares (`what` says which),
    // followed by white space when `space_after` says where.
    bool declaration_start(const char* keyword, const char*& name, std::size_t& length, const char* what,
                           const char* space_after)
    {
        p += 2 + std::strlen(keyword);
        return need_space((std::string("after ") + keyword).c_str()) && read_name(name, length, what) &&
               (space_after == nullptr || need_space(space_after));
    }
    bool read_char_ref(uint32_t& c);
    bool read_quoted(std::string& out, const char* what);
    bool undeclared_is_fault() const { return standalone || (!external_subset && !pe_references); }
    bool enter(ENTITY& entity, const char* at, const std::string& name);

    // -- the document
    bool xml_declaration();
    bool start_tag();
    bool end_tag();
    bool reference_in_content();
    bool comment();
    bool processing_instruction();
    bool cdata_section();
    bool leave_entity();
    // With `view`, a value that needs no rewriting is left in the text and
    // *view and *view_length set to it; otherwise it goes into `out`.
    bool attribute_value(std::string& out, bool in_declaration, const char** view = nullptr,
                         std::size_t* view_length = nullptr);
    bool expand_in_attribute(ENTITY& entity, std::string& out, const char* at, const std::string& name,
                             bool in_declaration);
    bool deliver_start(const char* at, const char* name, std::size_t length, std::size_t count);
    std::size_t apply_declarations(std::size_t count);
    bool names_clash(const char* at, std::size_t first_clash);
    void end_element();
    void flush_run();

    // -- the DOCTYPE
    bool doctype();
    bool internal_subset();
    bool element_declaration();
    bool attlist_declaration();
    bool entity_declaration();
    bool notation_declaration();
    bool external_id(bool public_alone, bool& had, std::string& public_id, std::string& system_id);
    bool entity_value(std::string& out);

    VORN_XML_SAX_TREE_HANDLER& handler;
    VORN_XML_STANDARD_HANDLER* standard_handler = nullptr;
    bool default_handler = false;  // exactly a VORN_XML_STANDARD_HANDLER
    bool fast_tree = false;        // and in DOM mode without a listener
    uint64_t limit;
    uint64_t expanded = 0;

    const char* begin = nullptr;  // the document's text
    const char* text_end = nullptr;
    const char* p = nullptr;    // where reading stands
    const char* end = nullptr;  // the end of the text being read (document or entity)
    std::string decode_fault;

    std::vector<FRAME> frames;
    std::vector<OPEN_ELEMENT> open;
    // Each open element's text, for a handler that is not a standard one.
    struct OWN_TEXT {
        std::string text;
        bool children = false;
    };
    std::vector<OWN_TEXT> texts;
    std::string pending;  // white space waiting in the innermost element
    void end_own_text();
    std::string run;  // character data not delivered yet
    std::string name_buffer;
    std::string key;

    // The attributes of the tag being read, as they stand in the text (or
    // in scratch), and made into strings when a handler or the internal
    // subset needs them.
    struct RAW_ATTRIBUTE {
        const char* name = nullptr;
        std::size_t name_length = 0;
        const char* value = nullptr;
        std::size_t value_length = 0;
    };
    std::vector<RAW_ATTRIBUTE> raw;
    std::vector<std::string> scratch;
    void make_strings(std::size_t count);
    std::vector<VORN_XML_STANDARD_ATTRIBUTE> attributes;
    std::unordered_set<std::string> seen_names;
    VORN_XML_ATTRIB_LIST* list = nullptr;
    std::vector<VORN_XML_ATTRIB_LIST::MAP::node_type> spare;

    std::unordered_map<std::string, ENTITY> entities;
    std::unordered_map<std::string, ENTITY> parameter_entities;
    std::unordered_map<std::string, std::vector<ATTRIBUTE_DECL>> attlists;
    struct ATTRIBUTE_FRAME {
        const char* at;
        ENTITY* entity;
    };
    std::vector<ATTRIBUTE_FRAME> attribute_frames;

    bool root_seen = false;
    bool root_done = false;
    bool doctype_seen = false;
    bool standalone = false;
    bool external_subset = false;
    bool pe_references = false;
    bool skip_declarations = false;  // a parameter entity was not read
    bool any_attlist = false;

    friend class STANDARD_READER;

public:
    ~STATE() { delete list; }
};

// ---------------------------------------------------------------------------
// Faults.

bool STANDARD_READER::STATE::fail(const char* at, const std::string& why)
{
    if (!frames.empty())
        at = frames.front().at;  // inside an entity: at its outermost reference
    if (!attribute_frames.empty())
        at = attribute_frames.front().at;
    if (at == text_end && !decode_fault.empty())
        message = decode_fault;
    else
        message = why;
    fault = static_cast<std::size_t>(at - begin);
    return false;
}

bool STANDARD_READER::STATE::unexpected(const char* what)
{
    if (*p == '\0')
        return fail_here(std::string("the ") + (frames.empty() ? "document" : "entity") + " ends inside " + what);
    return fail_here(std::string("unexpected character in ") + what);
}

bool STANDARD_READER::STATE::read_name(const char*& name, std::size_t& length, const char* what)
{
    const char* after = name_end(p);
    if (after == p)
        return *p == '\0' ? unexpected(what) : fail_here(std::string("a name was expected in ") + what);
    name = p;
    length = static_cast<std::size_t>(after - p);
    p = after;
    return true;
}

// &#...; with p on "&#".
bool STANDARD_READER::STATE::read_char_ref(uint32_t& c)
{
    const char* at = p;
    p += 2;
    c = 0;
    bool digits = false;
    if (*p == 'x') {
        ++p;
        for (;; ++p) {
            const char d = *p;
            uint32_t v;
            if (d >= '0' && d <= '9')
                v = static_cast<uint32_t>(d - '0');
            else if (d >= 'a' && d <= 'f')
                v = static_cast<uint32_t>(d - 'a' + 10);
            else if (d >= 'A' && d <= 'F')
                v = static_cast<uint32_t>(d - 'A' + 10);
            else
                break;
            c = c > 0x10FFFF ? c : (c << 4) | v;
            digits = true;
        }
    } else {
        for (; *p >= '0' && *p <= '9'; ++p) {
            c = c > 0x10FFFF ? c : c * 10 + static_cast<uint32_t>(*p - '0');
            digits = true;
        }
    }
    if (!digits || *p != ';')
        return fail(at, "malformed character reference");
    ++p;
    if (!xml_char(c))
        return fail(at, "character reference to a character XML does not allow");
    return true;
}

bool STANDARD_READER::STATE::read_quoted(std::string& out, const char* what)
{
    const char quote = *p;
    if (quote != '"' && quote != '\'')
        return fail_here(std::string("a quoted ") + what + " was expected");
    const char* from = ++p;
    while (*p != quote && *p != '\0')
        ++p;
    if (*p == '\0')
        return unexpected(what);
    out.assign(from, p);
    ++p;
    return true;
}

bool STANDARD_READER::STATE::enter(ENTITY& entity, const char* at, const std::string& name)
{
    if (entity.open)
        return fail(at, "entity '" + name + "' refers to itself");
    expanded += entity.value.size() + 1;
    if (expanded > limit)
        return fail(at, "entity expansion passes the limit of " + std::to_string(limit) + " bytes");
    entity.open = true;
    return true;
}

// ---------------------------------------------------------------------------
// The document.

bool STANDARD_READER::STATE::read(const DOCUMENT_TEXT& text)
{
    standard_handler = dynamic_cast<VORN_XML_STANDARD_HANDLER*>(&handler);
    default_handler = typeid(handler) == typeid(VORN_XML_STANDARD_HANDLER);
    fast_tree = default_handler && handler.DOM_mode && handler.event_listener == nullptr;
    begin = p = text.text;
    text_end = end = text.text + text.size;
    decode_fault = text.fault;
    handler.process_start_document();
    if (std::strncmp(p, "<?xml", 5) == 0 && is_space(p[5]) && !xml_declaration())
        return false;
    for (;;) {
        const char c = *p;
        if (c == '<') {
            const char d = p[1];
            if (d == '/') {
                if (!end_tag())
                    return false;
            } else if (d == '!') {
                if (p[2] == '-' && p[3] == '-') {
                    if (!comment())
                        return false;
                } else if (std::strncmp(p + 2, "[CDATA[", 7) == 0) {
                    if (open.empty())
                        return fail_here("a CDATA section outside the root element");
                    if (!cdata_section())
                        return false;
                } else if (std::strncmp(p + 2, "DOCTYPE", 7) == 0) {
                    if (doctype_seen || root_seen || !frames.empty())
                        return fail_here("a DOCTYPE is allowed only once, before the root element");
                    if (!doctype())
                        return false;
                } else {
                    return fail_here("\"<!\" opens no comment, CDATA section or DOCTYPE here");
                }
            } else if (d == '?') {
                if (!processing_instruction())
                    return false;
            } else {
                if (root_done && open.empty())
                    return fail_here("content after the root element");
                if (!start_tag())
                    return false;
            }
        } else if (c == '&') {
            if (open.empty())
                return fail_here("a reference outside the root element");
            if (!reference_in_content())
                return false;
        } else if (c == '\0') {
            if (frames.empty())
                break;
            if (!leave_entity())
                return false;
        } else if (open.empty()) {
            if (!skip_space())
                return fail_here(root_done ? "text after the root element" : "text before the root element");
        } else {
            // A run of character data up to the next < & ] or the end.
            const char* from = p;
            for (;;) {
                p = text_stop(p, end);
                if (*p == ']') {
                    if (p[1] == ']' && p[2] == '>')
                        return fail_here("\"]]>\" in character data");
                    ++p;
                    continue;
                }
                break;
            }
            if (*p == '&' && run.empty()) {
                // References follow: room for the whole run at once, which
                // ends before the next "<" at the latest.
                const void* lt = std::memchr(p, '<', static_cast<std::size_t>(end - p));
                run.reserve(static_cast<std::size_t>((lt != nullptr ? static_cast<const char*>(lt) : end) - from));
            }
            run.append(from, p);
        }
    }
    if (!decode_fault.empty())
        return fail(text_end, decode_fault);
    if (!open.empty()) {
        const OPEN_ELEMENT& e = open.back();
        return fail_here("the document ends before the end tag of <" + std::string(e.name, e.length) + ">");
    }
    if (!root_seen)
        return fail_here("the document has no root element");
    handler.process_end_document("");
    return true;
}

bool STANDARD_READER::STATE::xml_declaration()
{
    p += 5;
    skip_space();
    if (!literal("version"))
        return fail_here("the XML declaration needs a version");
    skip_space();
    if (*p != '=')
        return fail_here("\"=\" expected in the XML declaration");
    ++p;
    skip_space();
    std::string value;
    const char* value_at = p;
    if (!read_quoted(value, "version"))
        return false;
    bool good = value.size() >= 3 && value[0] == '1' && value[1] == '.';
    for (std::size_t i = 2; good && i < value.size(); ++i)
        good = value[i] >= '0' && value[i] <= '9';
    if (!good)
        return fail(value_at, "version \"" + value + "\" is not XML 1.x");
    bool space = skip_space();
    if (literal("encoding")) {
        if (!space)
            return fail_here("white space expected before encoding");
        skip_space();
        if (*p != '=')
            return fail_here("\"=\" expected in the XML declaration");
        ++p;
        skip_space();
        if (!read_quoted(value, "encoding"))
            return false;
        bool name = !value.empty() && ((value[0] >= 'a' && value[0] <= 'z') || (value[0] >= 'A' && value[0] <= 'Z'));
        for (std::size_t i = 1; name && i < value.size(); ++i) {
            const char c = value[i];
            name = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '_' ||
                   c == '-';
        }
        if (!name)
            return fail_here("\"" + value + "\" is not an encoding name");
        space = skip_space();
    }
    if (literal("standalone")) {
        if (!space)
            return fail_here("white space expected before standalone");
        skip_space();
        if (*p != '=')
            return fail_here("\"=\" expected in the XML declaration");
        ++p;
        skip_space();
        if (!read_quoted(value, "standalone"))
            return false;
        if (value != "yes" && value != "no")
            return fail_here("standalone must be \"yes\" or \"no\"");
        standalone = value == "yes";
        skip_space();
    }
    if (p[0] != '?' || p[1] != '>')
        return *p == '\0' ? unexpected("the XML declaration") : fail_here("\"?>\" expected to end the XML declaration");
    p += 2;
    return true;
}

void STANDARD_READER::STATE::flush_run()
{
    if (run.empty())
        return;
    if (fast_tree) {
        auto* element = static_cast<VORN_XML_ELEMENT*>(handler.element_stack->get_last_object());
        add_run(element->element_data, pending, element->subelement_list != nullptr, run);
    } else if (standard_handler != nullptr) {
        handler.process_characters(run);
    } else {
        OWN_TEXT& own = texts[open.size() - 1];
        add_run(own.text, pending, own.children, run);
    }
    run.clear();
}

bool STANDARD_READER::STATE::start_tag()
{
    const char* at = p;
    ++p;
    const char* name = nullptr;
    std::size_t length = 0;
    if (!read_name(name, length, "a start tag"))
        return false;
    std::size_t count = 0;
    bool empty = false;
    for (;;) {
        const bool space = skip_space();
        if (*p == '>') {
            ++p;
            break;
        }
        if (p[0] == '/' && p[1] == '>') {
            p += 2;
            empty = true;
            break;
        }
        if (!space)
            return *p == '\0' ? unexpected("a start tag")
                              : fail_here("white space, \">\" or \"/>\" expected in a start tag");
        const char* attribute = nullptr;
        std::size_t attribute_length = 0;
        if (!read_name(attribute, attribute_length, "a start tag"))
            return false;
        skip_space();
        if (*p != '=')
            return *p == '\0' ? unexpected("a start tag") : fail_here("\"=\" expected after an attribute name");
        ++p;
        skip_space();
        // (raw also grows with the defaults of declared attributes, so the
        // two are sized apart.)
        if (count == raw.size())
            raw.emplace_back();
        if (count == scratch.size())
            scratch.emplace_back();
        RAW_ATTRIBUTE& slot = raw[count];
        slot.name = attribute;
        slot.name_length = attribute_length;
        slot.value = nullptr;
        if (!attribute_value(scratch[count], false, &slot.value, &slot.value_length))
            return false;
        ++count;
    }
    // Values that had to be rewritten lie in scratch, which no longer grows.
    for (std::size_t i = 0; i < count; ++i)
        if (raw[i].value == nullptr) {
            raw[i].value = scratch[i].data();
            raw[i].value_length = scratch[i].size();
        }
    flush_run();
    if (!deliver_start(at, name, length, count))
        return false;
    if (empty)
        end_element();
    return true;
}

// Adds the defaults the internal subset declares for the element in
// name_buffer and normalises the values of attributes declared other than
// CDATA; returns the new count.
std::size_t STANDARD_READER::STATE::apply_declarations(std::size_t count)
{
    key.assign(name_buffer);
    const auto found = attlists.find(key);
    if (found == attlists.end())
        return count;
    for (const ATTRIBUTE_DECL& declared : found->second) {
        std::size_t i = 0;
        while (i < count && attributes[i].name != declared.name)
            ++i;
        if (i < count) {
            if (!declared.cdata)
                collapse_spaces(attributes[i].value);
        } else if (declared.has_default) {
            if (count == attributes.size())
                attributes.emplace_back();
            attributes[count].name = declared.name;
            attributes[count].value = declared.value;
            attributes[count].specified = false;
            ++count;
        }
    }
    return count;
}

// Two names of the tag fell on one entry of an attribute list: a repeated
// attribute is a fault; names that differ only in letter case are one for
// the tree, a fault when a tree is built.  False after a fault.
bool STANDARD_READER::STATE::names_clash(const char* at, std::size_t first_clash)
{
    seen_names.clear();
    for (const VORN_XML_STANDARD_ATTRIBUTE& a : attributes)
        if (!seen_names.insert(a.name).second)
            return fail(at, "attribute '" + a.name + "' is repeated in <" + name_buffer + ">");
    if (!handler.DOM_mode)
        return true;
    const auto folded = [](std::string name) {
        for (char& c : name)
            c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
        return name;
    };
    const std::string& second = attributes[first_clash].name;
    std::string first;
    for (std::size_t i = 0; i < first_clash && first.empty(); ++i)
        if (folded(attributes[i].name) == folded(second))
            first = attributes[i].name;
    if (standard_handler != nullptr)
        standard_handler->process_attributes(name_buffer, attributes);
    return fail(at, "attributes '" + first + "' and '" + second + "' of <" + name_buffer +
                        "> differ only in letter case: the element tree cannot hold both (read without "
                        "building the tree to see both)");
}

void STANDARD_READER::STATE::make_strings(std::size_t count)
{
    attributes.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        attributes[i].name.assign(raw[i].name, raw[i].name_length);
        attributes[i].value.assign(raw[i].value, raw[i].value_length);
        attributes[i].specified = true;
    }
}

bool STANDARD_READER::STATE::deliver_start(const char* at, const char* name, std::size_t length, std::size_t count)
{
    name_buffer.assign(name, length);
    const bool strings = any_attlist || (standard_handler != nullptr && !default_handler);
    if (strings) {
        make_strings(count);
        if (any_attlist) {
            count = apply_declarations(count);
            attributes.resize(count);
            if (raw.size() < count)
                raw.resize(count);
            for (std::size_t i = 0; i < count; ++i)
                raw[i] = RAW_ATTRIBUTE{attributes[i].name.data(), attributes[i].name.size(), attributes[i].value.data(),
                                       attributes[i].value.size()};
        }
    }
    std::size_t clash = count;
    pending.clear();  // the parent has a sub-element now
    if (fast_tree) {
        // The default handler in DOM mode without a listener: the element
        // is made here with the attribute list it keeps, as the handler
        // would make it, without a copy of the list.
        std::unique_ptr<VORN_XML_ELEMENT> element(new VORN_XML_ELEMENT(name_buffer, nullptr));
        element->attrib_list = new VORN_XML_ATTRIB_LIST;
        VORN_XML_ATTRIB_LIST::MAP& map = element->attrib_list->attrib_map;
        for (std::size_t i = 0; i < count; ++i) {
            const RAW_ATTRIBUTE& a = raw[i];
            if (!map.emplace(std::piecewise_construct, std::forward_as_tuple(a.name, a.name_length),
                             std::forward_as_tuple(a.value, a.value_length))
                     .second &&
                clash == count)
                clash = i;
        }
        element->attrib_list->attrib_cursor = map.end();
        if (clash != count) {
            if (!strings)
                make_strings(count);
            if (!names_clash(at, clash))
                return false;
        }
        handler.element_stack->add_object(element.get());
        (void)element.release();
        open.push_back(OPEN_ELEMENT{name, length});
        root_seen = true;
        return true;
    }
    // The list the handler gets, its entries reused from tag to tag.
    if (list == nullptr)
        list = new VORN_XML_ATTRIB_LIST;
    VORN_XML_ATTRIB_LIST::MAP& map = list->attrib_map;
    while (!map.empty())
        spare.push_back(map.extract(map.begin()));
    for (std::size_t i = 0; i < count; ++i) {
        const RAW_ATTRIBUTE& a = raw[i];
        bool inserted;
        if (!spare.empty()) {
            // The entry is filled in place; names often come in order, so
            // the end is the hint (one comparison when the name goes last).
            // A repeated name leaves the entry spare.
            VORN_XML_ATTRIB_LIST::MAP::node_type& node = spare.back();
            vorn_reuse_text(node.key(), a.name, a.name_length);
            vorn_reuse_text(node.mapped(), a.value, a.value_length);
            const auto pairs = map.size();
            map.insert(map.end(), std::move(node));
            inserted = map.size() != pairs;
            if (inserted)
                spare.pop_back();
        } else {
            inserted = map.emplace(std::piecewise_construct, std::forward_as_tuple(a.name, a.name_length),
                                   std::forward_as_tuple(a.value, a.value_length))
                           .second;
        }
        if (!inserted && clash == count)
            clash = i;
    }
    list->attrib_cursor = map.end();
    if (clash != count) {
        if (!strings)
            make_strings(count);
        if (!names_clash(at, clash))
            return false;
    }
    if (standard_handler != nullptr && !default_handler)
        standard_handler->process_attributes(name_buffer, attributes);
    open.push_back(OPEN_ELEMENT{name, length});
    if (standard_handler == nullptr) {
        if (open.size() > 1)
            texts[open.size() - 2].children = true;
        if (texts.size() < open.size())
            texts.emplace_back();
        texts[open.size() - 1].text.clear();
        texts[open.size() - 1].children = false;
    }
    root_seen = true;
    handler.process_start_element(name_buffer, list);
    if (list == nullptr)
        list = new VORN_XML_ATTRIB_LIST;  // a listener took it over
    return true;
}

// The joined text of the innermost element, to a handler that is not a
// standard one: none when empty or only the indentation of sub-elements.
void STANDARD_READER::STATE::end_own_text()
{
    OWN_TEXT& own = texts[open.size() - 1];
    if (!own.children)
        own.text.append(pending);
    pending.clear();
    if (!own.text.empty())
        handler.process_characters(own.text);
    own.text.clear();
}

// The end of the innermost element; the run before it is delivered.
void STANDARD_READER::STATE::end_element()
{
    if (fast_tree) {
        // As the default handler's process_end_element().
        VORN_OBJ_LIST& stack = *handler.element_stack;
        auto* closed = static_cast<VORN_XML_ELEMENT*>(stack.get_last_object());
        if (!pending.empty()) {
            closed->element_data.append(pending);
            pending.clear();
        }
        if (stack.get_count() > 1) {
            static_cast<VORN_XML_ELEMENT*>(stack.get_object_before_last())->add_sub_element(closed);
            stack.remove_last_object();
        } else {
            stack.remove_last_object();
            handler.root_element = closed;
        }
        open.pop_back();
    } else {
        const OPEN_ELEMENT& e = open.back();
        name_buffer.assign(e.name, e.length);
        if (standard_handler == nullptr)
            end_own_text();
        open.pop_back();
        handler.process_end_element(name_buffer);
    }
    if (open.empty() && frames.empty())
        root_done = true;
}

bool STANDARD_READER::STATE::end_tag()
{
    const char* at = p;
    p += 2;
    const char* name = nullptr;
    std::size_t length = 0;
    if (!read_name(name, length, "an end tag"))
        return false;
    skip_space();
    if (*p != '>')
        return *p == '\0' ? unexpected("an end tag") : fail_here("\">\" expected to end an end tag");
    ++p;
    if (open.empty() || (!frames.empty() && open.size() <= frames.back().depth))
        return fail(at, "end tag </" + std::string(name, length) + "> without a start tag");
    const OPEN_ELEMENT& e = open.back();
    if (e.length != length || std::memcmp(e.name, name, length) != 0)
        return fail(at, "end tag </" + std::string(name, length) + "> does not match <" +
                            std::string(e.name, e.length) + ">");
    flush_run();
    end_element();
    return true;
}

bool STANDARD_READER::STATE::reference_in_content()
{
    const char* at = p;
    if (p[1] == '#') {
        uint32_t c = 0;
        if (!read_char_ref(c))
            return false;
        append_utf8(run, c);
        return true;
    }
    ++p;
    const char* name = nullptr;
    std::size_t length = 0;
    if (!reference_name(at, name, length))
        return false;
    if (length == 2 && name[1] == 't' && (name[0] == 'l' || name[0] == 'g')) {
        run.push_back(name[0] == 'l' ? '<' : '>');
        return true;
    }
    if (length == 3 && std::memcmp(name, "amp", 3) == 0) {
        run.push_back('&');
        return true;
    }
    if (length == 4 && (std::memcmp(name, "apos", 4) == 0 || std::memcmp(name, "quot", 4) == 0)) {
        run.push_back(name[0] == 'a' ? '\'' : '"');
        return true;
    }
    key.assign(name, length);
    const auto found = entities.find(key);
    if (found == entities.end()) {
        if (undeclared_is_fault())
            return fail(at, "entity '" + key + "' is not declared");
        return true;  // may be declared where nothing is read
    }
    ENTITY& entity = found->second;
    if (entity.unparsed)
        return fail(at, "unparsed entity '" + key + "' referred to in content");
    if (entity.external)
        return true;  // never read
    if (!enter(entity, at, key))
        return false;
    frames.push_back(FRAME{at, p, end, &entity, open.size()});
    p = entity.value.c_str();
    end = p + entity.value.size();
    return true;
}

bool STANDARD_READER::STATE::leave_entity()
{
    FRAME& frame = frames.back();
    if (open.size() != frame.depth)
        return fail_here("an element begun in an entity does not end in it");
    frame.entity->open = false;
    p = frame.back;
    end = frame.back_end;
    frames.pop_back();
    if (open.empty() && frames.empty() && root_seen)
        root_done = true;
    return true;
}

bool STANDARD_READER::STATE::comment()
{
    const char* from = p + 4;
    const char* q = from;
    for (;;) {
        q = static_cast<const char*>(std::memchr(q, '-', static_cast<std::size_t>(end - q)));
        if (q == nullptr) {
            p = end;
            return unexpected("a comment");
        }
        if (q[1] == '-')
            break;
        ++q;
    }
    if (q[2] != '>') {
        p = q;
        return fail_here("\"--\" inside a comment");
    }
    p = q + 3;
    if (!open.empty())
        flush_run();
    if (standard_handler != nullptr)
        standard_handler->process_comment(std::string(from, q));
    return true;
}

bool STANDARD_READER::STATE::processing_instruction()
{
    const char* at = p;
    p += 2;
    const char* name = nullptr;
    std::size_t length = 0;
    if (!read_name(name, length, "a processing instruction"))
        return false;
    if (length == 3 && (name[0] | 0x20) == 'x' && (name[1] | 0x20) == 'm' && (name[2] | 0x20) == 'l')
        return fail(at, length == 3 && std::memcmp(name, "xml", 3) == 0
                            ? "the XML declaration is allowed only at the start of the document"
                            : "processing instruction target '" + std::string(name, length) + "' is reserved");
    const char* data = p;
    if (!(p[0] == '?' && p[1] == '>')) {
        if (!need_space("after a processing instruction's target"))
            return false;
        data = p;
    }
    const char* q = p;
    for (;;) {
        q = static_cast<const char*>(std::memchr(q, '?', static_cast<std::size_t>(end - q)));
        if (q == nullptr) {
            p = end;
            return unexpected("a processing instruction");
        }
        if (q[1] == '>')
            break;
        ++q;
    }
    p = q + 2;
    if (!open.empty())
        flush_run();
    if (standard_handler != nullptr)
        standard_handler->process_processing_instruction(std::string(name, length),
                                                         data < q ? std::string(data, q) : std::string());
    return true;
}

bool STANDARD_READER::STATE::cdata_section()
{
    const char* from = p + 9;
    const char* q = from;
    for (;;) {
        q = static_cast<const char*>(std::memchr(q, ']', static_cast<std::size_t>(end - q)));
        if (q == nullptr) {
            p = end;
            return unexpected("a CDATA section");
        }
        if (q[1] == ']' && q[2] == '>')
            break;
        ++q;
    }
    run.append(from, q);
    p = q + 3;
    return true;
}

// An attribute value with p on its quote, normalised into `out`.
bool STANDARD_READER::STATE::attribute_value(std::string& out, bool in_declaration, const char** view,
                                             std::size_t* view_length)
{
    const char quote = *p;
    if (quote != '"' && quote != '\'')
        return *p == '\0' ? unexpected("an attribute") : fail_here("a quoted attribute value was expected");
    const char* from = ++p;
    while (!value_stops.stop[static_cast<unsigned char>(*p)])
        ++p;
    if (*p == quote) {
        if (view != nullptr) {
            *view = from;
            *view_length = static_cast<std::size_t>(p - from);
        } else {
            out.assign(from, p);
        }
        ++p;
        return true;
    }
    out.assign(from, p);
    for (;;) {
        const char c = *p;
        if (c == quote) {
            ++p;
            return true;
        }
        switch (c) {
        case '\0': return unexpected("an attribute value");
        case '<': return fail_here("\"<\" in an attribute value");
        case '\t':
        case '\n':
        case '\r':
            out.push_back(' ');
            ++p;
            break;
        case '&': {
            const char* at = p;
            if (p[1] == '#') {
                uint32_t ch = 0;
                if (!read_char_ref(ch))
                    return false;
                append_utf8(out, ch);
                break;
            }
            ++p;
            const char* name = nullptr;
            std::size_t length = 0;
            if (!reference_name(at, name, length))
                return false;
            if (const char c = predefined_entity(name, length)) {
                out.push_back(c);
                break;
            }
            key.assign(name, length);
            const auto found = entities.find(key);
            if (found == entities.end()) {
                if (undeclared_is_fault() || in_declaration)
                    return fail(at, "entity '" + key + "' is not declared");
                break;
            }
            if (found->second.external || found->second.unparsed)
                return fail(at, "attribute value refers to external entity '" + key + "'");
            if (!expand_in_attribute(found->second, out, at, key, in_declaration))
                return false;
            break;
        }
        default:
            out.push_back(c);
            ++p;
            break;
        }
        const char* plain = p;
        while (!value_stops.stop[static_cast<unsigned char>(*p)])
            ++p;
        out.append(plain, p);
    }
}

bool STANDARD_READER::STATE::expand_in_attribute(ENTITY& entity, std::string& out, const char* at,
                                                 const std::string& name, bool in_declaration)
{
    if (!enter(entity, at, name))
        return false;
    attribute_frames.push_back(ATTRIBUTE_FRAME{at, &entity});
    const char* saved = p;
    const char* saved_end = end;
    std::vector<const char*> positions;
    positions.push_back(entity.value.c_str());
    bool good = true;
    while (good && !attribute_frames.empty() && positions.size() == attribute_frames.size()) {
        const char*& q = positions.back();
        const char c = *q;
        if (c == '\0') {
            attribute_frames.back().entity->open = false;
            attribute_frames.pop_back();
            positions.pop_back();
            continue;
        }
        if (c == '<') {
            good = fail(q, "\"<\" in the replacement text of an entity used in an attribute value");
            break;
        }
        if (c == '&') {
            p = q;
            end = nullptr;
            if (q[1] == '#') {
                uint32_t ch = 0;
                good = read_char_ref(ch);
                if (good)
                    append_utf8(out, ch);
                q = p;
                continue;
            }
            ++p;
            const char* ref = nullptr;
            std::size_t length = 0;
            good = read_name(ref, length, "an entity reference");
            if (!good)
                break;
            if (*p != ';') {
                good = fail(p, "\";\" expected after an entity reference");
                break;
            }
            ++p;
            q = p;
            if (const char c = predefined_entity(ref, length)) {
                out.push_back(c);
                continue;
            }
            key.assign(ref, length);
            const auto found = entities.find(key);
            if (found == entities.end()) {
                if (undeclared_is_fault() || in_declaration)
                    good = fail(q, "entity '" + key + "' is not declared");
                continue;
            }
            if (found->second.external || found->second.unparsed) {
                good = fail(q, "attribute value refers to external entity '" + key + "'");
                break;
            }
            good = enter(found->second, q, key);
            if (good) {
                attribute_frames.push_back(ATTRIBUTE_FRAME{at, &found->second});
                positions.push_back(found->second.value.c_str());
            }
            continue;
        }
        out.push_back(is_space(c) ? ' ' : c);
        ++q;
    }
    if (!good) {
        for (const ATTRIBUTE_FRAME& f : attribute_frames)
            f.entity->open = false;
        // fail() has placed the fault at the outermost reference already.
        attribute_frames.clear();
        return false;
    }
    p = saved;
    end = saved_end;
    return true;
}

// ---------------------------------------------------------------------------
// The DOCTYPE and its internal subset.

bool STANDARD_READER::STATE::doctype()
{
    doctype_seen = true;
    const char* name = nullptr;
    std::size_t length = 0;
    if (!declaration_start("DOCTYPE", name, length, "the DOCTYPE", nullptr))
        return false;
    std::string public_id;
    std::string system_id;
    bool space = skip_space();
    if (std::strncmp(p, "SYSTEM", 6) == 0 || std::strncmp(p, "PUBLIC", 6) == 0) {
        if (!space)
            return fail_here("white space expected before the external identifier");
        const bool is_public = p[0] == 'P';
        p += 6;
        if (!need_space("in the external identifier"))
            return false;
        if (is_public) {
            if (!read_quoted(public_id, "public identifier"))
                return false;
            const char quote = p[-1];
            for (const char c : public_id)
                if (!pubid_char(c, quote))
                    return fail_here("character not allowed in a public identifier");
            if (!need_space("after the public identifier"))
                return false;
        }
        if (!read_quoted(system_id, "system identifier"))
            return false;
        external_subset = true;
        skip_space();
    }
    if (*p == '[') {
        ++p;
        if (!internal_subset())
            return false;
        skip_space();
    }
    if (*p != '>')
        return *p == '\0' ? unexpected("the DOCTYPE") : fail_here("\">\" expected to end the DOCTYPE");
    ++p;
    if (standard_handler != nullptr)
        standard_handler->process_doctype(std::string(name, length), public_id, system_id);
    return true;
}

bool STANDARD_READER::STATE::internal_subset()
{
    for (;;) {
        skip_space();
        const char c = *p;
        if (c == ']') {
            if (!frames.empty())
                return fail_here("\"]\" inside a parameter entity");
            ++p;
            return true;
        }
        if (c == '\0') {
            if (frames.empty())
                return unexpected("the internal subset");
            frames.back().entity->open = false;
            p = frames.back().back;
            end = frames.back().back_end;
            frames.pop_back();
            continue;
        }
        if (c == '%') {
            const char* at = p;
            ++p;
            const char* name = nullptr;
            std::size_t length = 0;
            if (!read_name(name, length, "a parameter entity reference"))
                return false;
            if (*p != ';')
                return fail_here("\";\" expected after a parameter entity reference");
            ++p;
            pe_references = true;
            key.assign(name, length);
            const auto found = parameter_entities.find(key);
            if (found == parameter_entities.end() || found->second.external) {
                if (found == parameter_entities.end() && standalone)
                    return fail(at, "parameter entity '" + key + "' is not declared");
                if (!standalone)
                    skip_declarations = true;
                continue;
            }
            if (!enter(found->second, at, key))
                return false;
            frames.push_back(FRAME{at, p, end, &found->second, 0});
            p = found->second.value.c_str();
            end = p + found->second.value.size();
            continue;
        }
        if (c != '<')
            return fail_here("a markup declaration was expected in the internal subset");
        bool good;
        if (p[1] == '?')
            good = processing_instruction();
        else if (std::strncmp(p, "<!--", 4) == 0)
            good = comment();
        else if (std::strncmp(p, "<!ELEMENT", 9) == 0)
            good = element_declaration();
        else if (std::strncmp(p, "<!ATTLIST", 9) == 0)
            good = attlist_declaration();
        else if (std::strncmp(p, "<!ENTITY", 8) == 0)
            good = entity_declaration();
        else if (std::strncmp(p, "<!NOTATION", 10) == 0)
            good = notation_declaration();
        else if (std::strncmp(p, "<![", 3) == 0)
            good = fail_here("conditional sections are allowed only in external subsets");
        else
            good = fail_here("a markup declaration was expected in the internal subset");
        if (!good)
            return false;
    }
}

bool STANDARD_READER::STATE::element_declaration()
{
    const char* name = nullptr;
    std::size_t length = 0;
    if (!declaration_start("ELEMENT", name, length, "an element declaration", "after the element name"))
        return false;
    if (literal("EMPTY") || literal("ANY")) {
        // nothing more
    } else if (*p == '(') {
        ++p;
        skip_space();
        if (literal("#PCDATA")) {
            bool names = false;
            for (;;) {
                skip_space();
                if (*p == ')') {
                    ++p;
                    if (*p == '*')
                        ++p;
                    else if (names)
                        return fail_here("mixed content with names must end with \")*\"");
                    break;
                }
                if (*p != '|')
                    return *p == '\0' ? unexpected("an element declaration")
                                      : fail_here("\"|\" or \")\" expected in mixed content");
                ++p;
                skip_space();
                if (!read_name(name, length, "an element declaration"))
                    return false;
                names = true;
            }
        } else {
            std::vector<char> separators(1, '\0');
            bool expect_particle = true;
            while (!separators.empty()) {
                skip_space();
                if (expect_particle) {
                    if (*p == '(') {
                        ++p;
                        separators.push_back('\0');
                        continue;
                    }
                    if (!read_name(name, length, "a content model"))
                        return false;
                    if (*p == '?' || *p == '*' || *p == '+')
                        ++p;
                    expect_particle = false;
                    continue;
                }
                const char c = *p;
                if (c == ',' || c == '|') {
                    if (separators.back() == '\0')
                        separators.back() = c;
                    else if (separators.back() != c)
                        return fail_here("\",\" and \"|\" mixed in one group of a content model");
                    ++p;
                    expect_particle = true;
                    continue;
                }
                if (c != ')')
                    return c == '\0' ? unexpected("a content model")
                                     : fail_here("\",\", \"|\" or \")\" expected in a content model");
                ++p;
                separators.pop_back();
                if (*p == '?' || *p == '*' || *p == '+')
                    ++p;
            }
        }
    } else {
        return *p == '\0' ? unexpected("an element declaration")
                          : fail_here("EMPTY, ANY or a content model expected in an element declaration");
    }
    skip_space();
    if (*p != '>')
        return *p == '\0' ? unexpected("an element declaration")
                          : fail_here("\">\" expected to end an element declaration");
    ++p;
    return true;
}

bool STANDARD_READER::STATE::attlist_declaration()
{
    const char* element = nullptr;
    std::size_t element_length = 0;
    if (!declaration_start("ATTLIST", element, element_length, "an attribute-list declaration", nullptr))
        return false;
    const std::string element_name(element, element_length);
    for (;;) {
        const bool space = skip_space();
        if (*p == '>') {
            ++p;
            return true;
        }
        if (!space)
            return *p == '\0' ? unexpected("an attribute-list declaration")
                              : fail_here("white space expected in an attribute-list declaration");
        const char* name = nullptr;
        std::size_t length = 0;
        if (!read_name(name, length, "an attribute-list declaration"))
            return false;
        if (!need_space("after the attribute name"))
            return false;
        bool cdata = false;
        bool notation = false;
        if (*p != '(') {
            const char* word = p;
            while (*p >= 'A' && *p <= 'Z')
                ++p;
            const std::string type(word, p);
            static const char* const types[] = {"CDATA",    "ID",      "IDREF",    "IDREFS",  "ENTITY",
                                                "ENTITIES", "NMTOKEN", "NMTOKENS", "NOTATION"};
            bool known = false;
            for (const char* t : types)
                known = known || type == t;
            if (!known)
                return fail(word, "unknown attribute type in an attribute-list declaration");
            cdata = type == "CDATA";
            notation = type == "NOTATION";
            if (notation && !need_space("after NOTATION"))
                return false;
        }
        if (notation || *p == '(') {
            if (*p != '(')
                return fail_here("\"(\" expected in an attribute type");
            ++p;
            for (;;) {
                skip_space();
                const char* after = notation ? name_end(p) : nmtoken_end(p);
                if (after == p)
                    return *p == '\0' ? unexpected("an attribute type")
                                      : fail_here("a name expected in an enumeration");
                p = after;
                skip_space();
                if (*p == ')') {
                    ++p;
                    break;
                }
                if (*p != '|')
                    return *p == '\0' ? unexpected("an attribute type")
                                      : fail_here("\"|\" or \")\" expected in an enumeration");
                ++p;
            }
        }
        if (!need_space("after the attribute type"))
            return false;
        ATTRIBUTE_DECL declared;
        declared.name.assign(name, length);
        declared.cdata = cdata;
        if (literal("#REQUIRED") || literal("#IMPLIED")) {
            // no default
        } else {
            if (literal("#FIXED") && !need_space("after #FIXED"))
                return false;
            if (!attribute_value(declared.value, true))
                return false;
            declared.has_default = true;
            if (!cdata)
                collapse_spaces(declared.value);
        }
        if (!skip_declarations) {
            std::vector<ATTRIBUTE_DECL>& declarations = attlists[element_name];
            bool known = false;
            for (const ATTRIBUTE_DECL& d : declarations)
                known = known || d.name == declared.name;
            if (!known) {
                declarations.push_back(std::move(declared));
                any_attlist = true;
            }
        }
    }
}

bool STANDARD_READER::STATE::external_id(bool public_alone, bool& had, std::string& public_id, std::string& system_id)
{
    had = false;
    public_id.clear();
    system_id.clear();
    if (!(std::strncmp(p, "SYSTEM", 6) == 0 || std::strncmp(p, "PUBLIC", 6) == 0))
        return true;
    had = true;
    const bool is_public = p[0] == 'P';
    p += 6;
    if (!need_space("in an external identifier"))
        return false;
    if (is_public) {
        const char quote = *p;
        if (!read_quoted(public_id, "public identifier"))
            return false;
        for (const char c : public_id)
            if (!pubid_char(c, quote))
                return fail_here("character not allowed in a public identifier");
        const char* before = p;
        const bool space = skip_space();
        if (public_alone && (*p == '>'))
            return true;
        if (!space) {
            p = before;
            return fail_here("white space expected after the public identifier");
        }
    }
    return read_quoted(system_id, "system identifier");
}

bool STANDARD_READER::STATE::entity_value(std::string& out)
{
    const char quote = *p;
    if (quote != '"' && quote != '\'')
        return fail_here("an entity value or external identifier expected");
    ++p;
    out.clear();
    for (;;) {
        const char c = *p;
        if (c == quote) {
            ++p;
            return true;
        }
        if (c == '\0')
            return unexpected("an entity value");
        if (c == '%')
            return fail_here("a parameter entity reference inside a declaration of the internal subset");
        if (c == '&') {
            if (p[1] == '#') {
                uint32_t ch = 0;
                if (!read_char_ref(ch))
                    return false;
                append_utf8(out, ch);
                continue;
            }
            const char* at = p++;
            const char* name = nullptr;
            std::size_t length = 0;
            if (!reference_name(at, name, length))
                return false;
            out.append(at, p);
            continue;
        }
        out.push_back(c);
        ++p;
    }
}

bool STANDARD_READER::STATE::entity_declaration()
{
    p += 8;
    if (!need_space("after ENTITY"))
        return false;
    bool parameter = false;
    if (*p == '%') {
        ++p;
        if (!need_space("after \"%\""))
            return false;
        parameter = true;
    }
    const char* name = nullptr;
    std::size_t length = 0;
    if (!read_name(name, length, "an entity declaration"))
        return false;
    if (!need_space("after the entity name"))
        return false;
    ENTITY entity;
    bool had;
    std::string public_id;
    std::string system_id;
    if (!external_id(false, had, public_id, system_id))
        return false;
    if (had) {
        entity.external = true;
        const bool space = skip_space();
        if (std::strncmp(p, "NDATA", 5) == 0) {
            if (!space || parameter)
                return fail_here(parameter ? "NDATA in a parameter entity declaration"
                                           : "white space expected before NDATA");
            p += 5;
            if (!need_space("after NDATA"))
                return false;
            const char* notation = nullptr;
            std::size_t notation_length = 0;
            if (!read_name(notation, notation_length, "an entity declaration"))
                return false;
            entity.unparsed = true;
        }
    } else if (!entity_value(entity.value)) {
        return false;
    }
    skip_space();
    if (*p != '>')
        return *p == '\0' ? unexpected("an entity declaration")
                          : fail_here("\">\" expected to end an entity declaration");
    ++p;
    if (!skip_declarations) {
        auto& table = parameter ? parameter_entities : entities;
        table.emplace(std::string(name, length), std::move(entity));
    }
    return true;
}

bool STANDARD_READER::STATE::notation_declaration()
{
    const char* name = nullptr;
    std::size_t length = 0;
    if (!declaration_start("NOTATION", name, length, "a notation declaration", "after the notation name"))
        return false;
    bool had;
    std::string public_id;
    std::string system_id;
    if (!external_id(true, had, public_id, system_id))
        return false;
    if (!had)
        return fail_here("SYSTEM or PUBLIC expected in a notation declaration");
    skip_space();
    if (*p != '>')
        return *p == '\0' ? unexpected("a notation declaration")
                          : fail_here("\">\" expected to end a notation declaration");
    ++p;
    if (standard_handler != nullptr)
        standard_handler->process_notation(std::string(name, length), public_id, system_id);
    return true;
}

// ---------------------------------------------------------------------------

STANDARD_READER::STANDARD_READER(VORN_XML_SAX_TREE_HANDLER& handler, uint64_t expansion_limit)
    : state(new STATE(handler, expansion_limit))
{
}

STANDARD_READER::~STANDARD_READER() = default;

bool STANDARD_READER::read(const DOCUMENT_TEXT& text)
{
    return state->read(text);
}

const std::string& STANDARD_READER::message() const
{
    return state->message;
}

std::size_t STANDARD_READER::fault_offset() const
{
    return state->fault;
}

}  // namespace vorn_standard
