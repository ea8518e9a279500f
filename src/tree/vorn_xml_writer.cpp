#include "vorn_xml_writer.h"

#include "vorn_xml_walk.h"

#include "../internal/vorn_xml_chars.h"

#include <cstring>
#include <string>

using namespace vorn_xml_chars;

namespace {

constexpr std::size_t max_indent_levels = 32;
constexpr std::size_t flush_size = 1 << 16;

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

bool has_sub_elements(VORN_XML_ELEMENT* element)
{
    return element->subelement_list != nullptr && !element->subelement_list->is_empty();
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

// Collects output and hands it to a stream in large pieces (or keeps it all
// when there is no stream).
class SINK {
public:
    SINK(std::string& text, std::ostream* stream) : out(text), to(stream) {}
    void put(const std::string& text) { put(text.data(), text.size()); }
    void put(const char* text, std::size_t size)
    {
        out.append(text, size);
        if (to != nullptr && out.size() >= flush_size)
            flush();
    }
    void put(char c) { put(&c, 1); }
    void flush()
    {
        if (to != nullptr) {
            to->write(out.data(), static_cast<std::streamsize>(out.size()));
            out.clear();
        }
    }

private:
    std::string& out;
    std::ostream* to;
};

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

void put_indent(SINK& sink, int width, std::size_t depth)
{
    if (width <= 0)
        return;
    sink.put('\n');
    const std::size_t levels = depth < max_indent_levels ? depth : max_indent_levels;
    sink.put(std::string(levels * static_cast<std::size_t>(width), ' '));
}

void write_tree(VORN_XML_ELEMENT* root, int indent, SINK& sink)
{
    sink.put("<?xml version=\"1.0\"?>\n");
    auto open = [&](const VORN_XML_TREE_WALK& walk) {
        VORN_XML_ELEMENT* element = walk.get_element();
        if (walk.get_depth() > 0)
            put_indent(sink, indent, walk.get_depth());
        sink.put('<');
        sink.put(element->element_name);
        if (element->attrib_list != nullptr) {
            std::string name;
            std::string value;
            element->attrib_list->reset_attrib_list();
            while (element->attrib_list->get_next_attrib(name, value)) {
                sink.put(' ');
                sink.put(name);
                sink.put("=\"");
                sink.put(value);
                sink.put('"');
            }
        }
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
    error_message.clear();
    if (root == nullptr) {
        error_message = "cannot write: there is no root element";
        return false;
    }
    auto open = [this](const VORN_XML_TREE_WALK& walk) {
        VORN_XML_ELEMENT* element = walk.get_element();
        const std::string problem = problem_of(element);
        if (problem.empty())
            return true;
        std::string place;
        for (std::size_t depth = 1; depth <= walk.get_depth(); ++depth)
            place += "/" + std::to_string(walk.get_index_at(depth) + 1);
        error_message = "cannot write element \"" + element->element_name + "\" at " + (place.empty() ? "/" : place) +
                        ": " + problem;
        return false;
    };
    return walk(root, open, [](VORN_XML_ELEMENT*, std::size_t) {});
}

bool VORN_XML_WRITER::write(VORN_XML_ELEMENT* root, std::string& out)
{
    if (!check(root))
        return false;
    SINK sink(out, nullptr);
    write_tree(root, indent_width, sink);
    return true;
}

bool VORN_XML_WRITER::write(VORN_XML_ELEMENT* root, std::ostream& out)
{
    if (!check(root))
        return false;
    std::string buffer;
    SINK sink(buffer, &out);
    write_tree(root, indent_width, sink);
    out.flush();
    if (!out) {
        error_message = "cannot write: the output stream failed";
        return false;
    }
    return true;
}
