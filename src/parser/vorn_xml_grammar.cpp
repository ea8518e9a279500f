// The declaration, attributes, tags and element content.
#include <new>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "../internal/vorn_xml_failures.h"
#include "vorn_xml_parser.h"

using vorn_xml::FAILURE;
using vorn_xml::failure_message;

bool VORN_XML_SAX_PARSER::parse_xml_signature_line()
{
    next_token();
    return need_text("<") && need_text("?") && need_token("xml", false) && get_attributes() && need_text("?") &&
           need_text(">");
}

namespace {

// Map entries taken out of the parser's list of the previous tag, kept for
// the pairs of the next one: a reused entry keeps its node and the capacity
// of its name and value, so a tag costs no allocation when the previous one
// had at least as many pairs of no shorter text.
class SPARE_ENTRIES {
public:
    using MAP = VORN_XML_ATTRIB_LIST::MAP;
    using NODE = MAP::node_type;

    // Takes up to `size` entries out of `map` and frees the rest; `map` is
    // left empty.
    explicit SPARE_ENTRIES(MAP& map)
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
        MAP& map = list.attrib_map;
        const MAP::iterator at = map.lower_bound(name);
        if (at != map.end() && !map.key_comp()(name, at->first)) {
            at->second = value;
            return;
        }
        if (count == 0) {
            list.set_attrib(name, value);
            return;
        }
        NODE& spare = entry(count - 1);
        spare.key() = name;
        spare.mapped() = value;
        map.insert(at, std::move(spare));
        entry(--count).~NODE();
    }

private:
    static constexpr int size = 16;
    NODE& entry(int i) { return *std::launder(reinterpret_cast<NODE*>(&entries[i])); }
    // Raw room for the handles: only those in use are constructed.
    std::aligned_storage_t<sizeof(NODE), alignof(NODE)> entries[size];
    int count = 0;
};

}  // namespace

bool VORN_XML_SAX_PARSER::get_attributes()
{
    bool result = true;
    // The list of the previous tag is done with.  When it is a plain list of
    // our own making, its entries are taken out and refilled, which leaves
    // the same new list (empty, its cursor at the end) without a round trip
    // through the allocator; anything else is deleted.
    VORN_XML_ATTRIB_LIST* own = current_attrib_list;
    if (own == nullptr || typeid(*own) != typeid(VORN_XML_ATTRIB_LIST)) {
        delete current_attrib_list;
        current_attrib_list = nullptr;
        current_attrib_list = own = new VORN_XML_ATTRIB_LIST;
    }
    SPARE_ENTRIES spare(own->attrib_map);
    own->attrib_cursor = own->attrib_map.end();
    std::string name;
    while (token_type == TOKEN_IDENTIFIER) {
        name.assign(current_token);
        next_token();
        if (!need_text("=")) {
            file_error(failure_message(FAILURE::ATTRIBUTE_EQUAL_MISSING, name));
            result = false;
            continue;
        }
        if (token_type != TOKEN_STRING) {
            file_error(failure_message(FAILURE::ATTRIBUTE_VALUE_MISSING, name));
            result = false;
            continue;
        }
        spare.set(*own, name, current_token);
        next_token();
    }
    return result;
}

int VORN_XML_SAX_PARSER::parse_xml_start_tag(std::string& name)
{
    if (!need_text("<"))
        return TAG_NONE;
    if (!is_xml_identifier(name))
        return TAG_NONE;
    if (!get_attributes())
        return TAG_NONE;
    if (current_token.size() == 1 && current_token[0] == '/') {
        next_token();
        need_text(">");  // a missing ">" is reported; the tag still counts
        return TAG_EMPTY;
    }
    need_text(">");
    return TAG_START;
}

int VORN_XML_SAX_PARSER::parse_xml_end_tag(std::string& name)
{
    if (!need_text("</"))
        return TAG_NONE;
    if (!is_xml_identifier(name))
        return TAG_NONE;
    return need_text(">") ? TAG_END : TAG_NONE;
}

namespace {

template <std::size_t N> inline bool is_text(const std::string& token, const char (&text)[N])
{
    return token.size() == N - 1 && std::char_traits<char>::compare(token.data(), text, N - 1) == 0;
}

}  // namespace

// Content is elements followed by at most one run of character data.  Nested
// elements are read with an explicit stack of the open elements' names rather
// than one call per level, so the depth of a document costs heap, not stack;
// events and messages come in the same order as a call per level would give.
bool VORN_XML_SAX_PARSER::parse_xml10_xml_body()
{
    std::vector<std::string> open_names;
    std::string start_name;
    std::string end_name;
    std::string run;
    for (;;) {
        // The elements of the current level.
        while (is_text(current_token, "<")) {
            start_name.clear();
            const int kind = parse_xml_start_tag(start_name);
            if (kind == TAG_START) {
                tree_handler->process_start_element(start_name, current_attrib_list);
                open_names.push_back(start_name);
                continue;  // the content of the new element
            }
            if (kind != TAG_EMPTY)
                return false;
            tree_handler->process_start_element(start_name, current_attrib_list);
            tree_handler->process_end_element(start_name);
        }

        // At most one run of character data ends the level's content.
        if (!is_text(current_token, "</") && token_type != TOKEN_END_OF_INPUT) {
            run.assign(current_token);
            gather_text('<');
            run += current_token;
            tree_handler->process_characters(run);
            next_token();
        }

        if (open_names.empty())
            return true;

        // The content of the innermost open element is over: its end tag.
        end_name.clear();
        parse_xml_end_tag(end_name);
        if (open_names.back() != end_name) {
            file_error(failure_message(FAILURE::END_TAG_MISMATCH, open_names.back(), end_name));
            return false;
        }
        open_names.pop_back();
        tree_handler->process_end_element(end_name);
    }
}
