#include "vorn_xml_writer.h"

#include "vorn_xml_walk.h"
#include "vorn_xml_writing.h"

#include "../internal/vorn_xml_chars.h"

#include <cstring>
#include <string>

using namespace vorn_xml_chars;
using namespace vorn_xml_writing;

namespace {

bool is_name(const std::string& name)
{
    if (name.empty() || class_of(name[0]) != CLASS_NAME_START)
        return false;
    for (const char c : name) {
        if (!is_name_char(c))
            return false;
    }
    return true;
}

// Bytes that the reader takes as the first token of a run of text and hands
// on unchanged: names, numbers, ">" and the one-byte symbols.
bool can_begin_text(char c)
{
    const unsigned char k = class_of(c);
    return k == CLASS_NAME_START || k == CLASS_DIGIT || k == CLASS_GREATER || k == CLASS_SYMBOL;
}

bool has_ff(const std::string& text)
{
    return text.find('\xFF') != std::string::npos;
}

// Why `element` itself cannot be written; empty when it can.
std::string problem_of(VORN_XML_ELEMENT* element)
{
    if (!is_name(element->element_name))
        return "the element name is not a name";
    if (element->attrib_list != nullptr) {
        std::string name;
        std::string value;
        element->attrib_list->reset_attrib_list();
        while (element->attrib_list->get_next_attrib(name, value)) {
            if (!is_name(name))
                return "attribute \"" + name + "\": the name is not a name";
            if (value.find('"') != std::string::npos)
                return "attribute \"" + name + "\": the value holds a double quote";
            if (has_ff(value))
                return "attribute \"" + name + "\": the value holds the byte 0xFF";
        }
    }
    const std::string& text = element->element_data;
    if (text.empty())
        return {};
    if (class_of(text[0]) == CLASS_SPACE)
        return "its text begins with white space, which a reader drops";
    if (text[0] == '"' || text[0] == '<')
        return "its text begins with " + std::string(1, text[0]) + ", which a reader takes as markup";
    if (!can_begin_text(text[0]))
        return "its text begins with a byte a reader refuses there";
    if (has_ff(text))
        return "its text holds the byte 0xFF, which ends a document";
    return {};
}

// Walks the tree under `root` in document order: open(walk) as the walk
// enters an element, close(element, depth) as it leaves it.  Stops and
// returns false as soon as open() does.
template <class OPEN, class CLOSE> bool walk(VORN_XML_ELEMENT* root, OPEN open, CLOSE close)
{
    for (VORN_XML_TREE_WALK walk(root); walk.next();) {
        if (!walk.is_entering())
            close(walk.get_element(), walk.get_depth());
        else if (!open(walk))
            return false;
    }
    return true;
}

void put_text(SINK& sink, const std::string& text)
{
    sink.put(text[0]);
    std::size_t from = 1;
    for (std::size_t i = 1; i < text.size(); ++i) {
        const char* ref = text[i] == '<' ? "&lt;" : text[i] == '>' ? "&gt;" : text[i] == '&' ? "&amp;" : nullptr;
        if (ref != nullptr) {
            sink.put(text.data() + from, i - from);
            sink.put(ref, std::strlen(ref));
            from = i + 1;
        }
    }
    sink.put(text.data() + from, text.size() - from);
}

void write_tree(VORN_XML_ELEMENT* root, int indent, SINK& sink)
{
    sink.put("<?xml version=\"1.0\"?>\n");
    auto open = [&](const VORN_XML_TREE_WALK& walk) {
        VORN_XML_ELEMENT* element = walk.get_element();
        if (walk.get_depth() > 0)
            put_indent(sink, indent, walk.get_depth());
        put_start(sink, element, [](SINK& to, const std::string& value) { to.put(value); });
        sink.put(has_sub_elements(element) || !element->element_data.empty() ? ">" : "/>");
        return true;
    };
    auto close = [&](VORN_XML_ELEMENT* element, std::size_t depth) {
        const bool nested = has_sub_elements(element);
        if (!nested && element->element_data.empty())
            return;
        if (nested)
            put_indent(sink, indent, depth);
        if (!element->element_data.empty())
            put_text(sink, element->element_data);
        sink.put("</");
        sink.put(element->element_name);
        sink.put('>');
    };
    walk(root, open, close);
    sink.put('\n');
    sink.flush();
}

}  // namespace

VORN_XML_WRITER::~VORN_XML_WRITER() = default;

bool VORN_XML_WRITER::check(VORN_XML_ELEMENT* root)
{
    return check_tree(root, error_message, problem_of);
}

bool VORN_XML_WRITER::write(VORN_XML_ELEMENT* root, std::string& out)
{
    return check(root) && write_to(out, [&](SINK& sink) { write_tree(root, indent_width, sink); });
}

bool VORN_XML_WRITER::write(VORN_XML_ELEMENT* root, std::ostream& out)
{
    return check(root) && write_to(out, error_message, [&](SINK& sink) { write_tree(root, indent_width, sink); });
}
