#include "vorn_xml_standard_writer.h"

#include "vorn_xml_walk.h"
#include "vorn_xml_writing.h"

#include <cstdint>
#include <string>

using namespace vorn_xml_writing;

namespace {

constexpr uint32_t not_utf8 = 0xFFFFFFFF;

// The character that starts at text[at], moving `at` past it; not_utf8 for
// a byte sequence that is not UTF-8 (overlong forms and surrogates
// included), with `at` past its first byte.
uint32_t next_char(const std::string& text, std::size_t& at)
{
    const auto lead = static_cast<unsigned char>(text[at++]);
    if (lead < 0x80)
        return lead;
    int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
    if (more == 0 || lead > 0xF4)
        return not_utf8;
    uint32_t c = lead & (0x3F >> more);
    const std::size_t start = at;
    for (; more > 0; --more, ++at) {
        if (at == text.size() || (static_cast<unsigned char>(text[at]) & 0xC0) != 0x80) {
            at = start;
            return not_utf8;
        }
        c = (c << 6) | (static_cast<unsigned char>(text[at]) & 0x3F);
    }
    const std::size_t length = at - start + 1;
    const uint32_t least = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
    if (c < least || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
        at = start;
        return not_utf8;
    }
    return c;
}

bool is_xml_char(uint32_t c)
{
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

bool is_name_start(uint32_t c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' || (c >= 0xC0 && c <= 0xD6) ||
           (c >= 0xD8 && c <= 0xF6) || (c >= 0xF8 && c <= 0x2FF) || (c >= 0x370 && c <= 0x37D) ||
           (c >= 0x37F && c <= 0x1FFF) || c == 0x200C || c == 0x200D || (c >= 0x2070 && c <= 0x218F) ||
           (c >= 0x2C00 && c <= 0x2FEF) || (c >= 0x3001 && c <= 0xD7FF) || (c >= 0xF900 && c <= 0xFDCF) ||
           (c >= 0xFDF0 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0xEFFFF);
}

bool is_name_char(uint32_t c)
{
    return is_name_start(c) || c == '-' || c == '.' || (c >= '0' && c <= '9') || c == 0xB7 ||
           (c >= 0x300 && c <= 0x36F) || c == 0x203F || c == 0x2040;
}

bool is_name(const std::string& name)
{
    std::size_t at = 0;
    while (at < name.size()) {
        const bool first = at == 0;
        const uint32_t c = next_char(name, at);
        if (c == not_utf8 || !(first ? is_name_start(c) : is_name_char(c)))
            return false;
    }
    return !name.empty();
}

// Why `text` cannot be written as text or an attribute value; empty when
// it can.
std::string problem_of_text(const std::string& text)
{
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t start = at;
        const uint32_t c = next_char(text, at);
        if (c == not_utf8)
            return "byte " + std::to_string(start) + " is not UTF-8";
        if (!is_xml_char(c))
            return "byte " + std::to_string(start) +
                   " starts a character XML 1.0 does not allow, not even as a reference";
    }
    return {};
}

bool is_blank_only(const std::string& text)
{
    return text.find_first_not_of(" \t\n\r") == std::string::npos;
}

// Why `element` itself cannot be written; empty when it can.
std::string problem_of(VORN_XML_ELEMENT* element)
{
    if (!is_name(element->element_name))
        return "the element name is not an XML name";
    if (element->attrib_list != nullptr) {
        std::string name;
        std::string value;
        element->attrib_list->reset_attrib_list();
        while (element->attrib_list->get_next_attrib(name, value)) {
            if (!is_name(name))
                return "attribute \"" + name + "\": the name is not an XML name";
            std::string problem = problem_of_text(value);
            if (!problem.empty())
                return problem.insert(0, "attribute \"" + name + "\": its value: ");
        }
    }
    const std::string& text = element->element_data;
    if (text.empty())
        return {};
    if (is_blank_only(text) && has_sub_elements(element))
        return "its text is only white space, which a reader drops beside sub-elements";
    const std::string problem = problem_of_text(text);
    return problem.empty() ? problem : "its text: " + problem;
}

// `text` with the references it needs (see vorn_xml_writing.h).
void put_escaped(SINK& sink, const std::string& text, bool in_value)
{
    vorn_xml_writing::put_escaped(text, in_value, [&sink](const char* p, std::size_t n) { sink.put(p, n); });
}

void write_tree(VORN_XML_ELEMENT* root, int indent, SINK& sink)
{
    sink.put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    // The depth of the outermost open element with text; below it nothing
    // is indented.  SIZE_MAX while there is none.
    std::size_t text_depth = SIZE_MAX;
    for (VORN_XML_TREE_WALK walk(root); walk.next();) {
        VORN_XML_ELEMENT* element = walk.get_element();
        const std::size_t depth = walk.get_depth();
        const bool indented = indent > 0 && text_depth == SIZE_MAX;
        if (walk.is_entering()) {
            if (depth > 0 && indented)
                put_indent(sink, indent, depth);
            put_start(sink, element, [](SINK& to, const std::string& value) { put_escaped(to, value, true); });
            const bool has_text = !element->element_data.empty();
            if (!has_text && !has_sub_elements(element)) {
                sink.put("/>");
                walk.skip_sub_elements();
                walk.next();  // leaves the element: nothing more to write
                continue;
            }
            sink.put('>');
            if (has_text) {
                put_escaped(sink, element->element_data, false);
                if (text_depth == SIZE_MAX)
                    text_depth = depth;
            }
        } else {
            if (indented && has_sub_elements(element))
                put_indent(sink, indent, depth);
            sink.put("</");
            sink.put(element->element_name);
            sink.put('>');
            if (text_depth == depth)
                text_depth = SIZE_MAX;
        }
    }
    sink.put('\n');
    sink.flush();
}

}  // namespace

VORN_XML_STANDARD_WRITER::~VORN_XML_STANDARD_WRITER() = default;

bool VORN_XML_STANDARD_WRITER::check(VORN_XML_ELEMENT* root)
{
    return check_tree(root, error_message, problem_of);
}

bool VORN_XML_STANDARD_WRITER::write(VORN_XML_ELEMENT* root, std::string& out)
{
    return check(root) && write_to(out, [&](SINK& sink) { write_tree(root, indent_width, sink); });
}

bool VORN_XML_STANDARD_WRITER::write(VORN_XML_ELEMENT* root, std::ostream& out)
{
    return check(root) && write_to(out, error_message, [&](SINK& sink) { write_tree(root, indent_width, sink); });
}
