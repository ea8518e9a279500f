// What the two writers (vorn_xml_writer.cpp for the dialect,
// vorn_xml_standard_writer.cpp for standard XML) share: the output sink, the
// indentation, the start tag's attributes, the check's walk and the two
// destinations.  Internal: not installed.
#ifndef VORN_XML_WRITING_H
#define VORN_XML_WRITING_H

#include <cstddef>
#include <ostream>
#include <string>

#include "vorn_xml_element.h"
#include "vorn_xml_walk.h"

namespace vorn_xml_writing {

constexpr std::size_t max_indent_levels = 32;
constexpr std::size_t flush_size = 1 << 16;

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

inline bool has_sub_elements(VORN_XML_ELEMENT* element)
{
    return element->subelement_list != nullptr && !element->subelement_list->is_empty();
}

// A line end and `depth` levels of `width` spaces (at most
// max_indent_levels levels); nothing when `width` is not positive.
inline void put_indent(SINK& sink, int width, std::size_t depth)
{
    if (width <= 0)
        return;
    sink.put('\n');
    const std::size_t levels = depth < max_indent_levels ? depth : max_indent_levels;
    sink.put(std::string(levels * static_cast<std::size_t>(width), ' '));
}

// `text` with the references it needs, given to put(const char*, size):
// in attribute values (`in_value`) & < > " tab, line feed and carriage
// return, in text & < > and carriage return.
template <class PUT> void put_escaped(const std::string& text, bool in_value, PUT put)
{
    std::size_t from = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char* ref = nullptr;
        switch (text[i]) {
        case '&': ref = "&amp;"; break;
        case '<': ref = "&lt;"; break;
        case '>': ref = "&gt;"; break;
        case '\r': ref = "&#13;"; break;
        case '"': ref = in_value ? "&quot;" : nullptr; break;
        case '\t': ref = in_value ? "&#9;" : nullptr; break;
        case '\n': ref = in_value ? "&#10;" : nullptr; break;
        default: break;
        }
        if (ref != nullptr) {
            put(text.data() + from, i - from);
            put(ref, std::char_traits<char>::length(ref));
            from = i + 1;
        }
    }
    put(text.data() + from, text.size() - from);
}

// "<" and the element's name, then its attributes in the list's order,
// each ` name="value"` with the value written by put_value(sink, value).
template <class PUT_VALUE> void put_start(SINK& sink, VORN_XML_ELEMENT* element, PUT_VALUE put_value)
{
    sink.put('<');
    sink.put(element->element_name);
    if (element->attrib_list == nullptr)
        return;
    std::string name;
    std::string value;
    element->attrib_list->reset_attrib_list();
    while (element->attrib_list->get_next_attrib(name, value)) {
        sink.put(' ');
        sink.put(name);
        sink.put("=\"");
        put_value(sink, value);
        sink.put('"');
    }
}

// A writer's check: true, with `error_message` empty, when problem_of(element)
// (a string, empty when the element can be written) finds nothing under
// `root`; else false, with the first problem and the element's place.
template <class PROBLEM> bool check_tree(VORN_XML_ELEMENT* root, std::string& error_message, PROBLEM problem_of)
{
    error_message.clear();
    if (root == nullptr) {
        error_message = "cannot write: there is no root element";
        return false;
    }
    for (VORN_XML_TREE_WALK walk(root); walk.next();) {
        if (!walk.is_entering())
            continue;
        VORN_XML_ELEMENT* element = walk.get_element();
        const std::string problem = problem_of(element);
        if (problem.empty())
            continue;
        std::string place;
        for (std::size_t depth = 1; depth <= walk.get_depth(); ++depth)
            place += "/" + std::to_string(walk.get_index_at(depth) + 1);
        error_message = "cannot write element \"" + element->element_name + "\" at " + (place.empty() ? "/" : place) +
                        ": " + problem;
        return false;
    }
    return true;
}

// The tree, checked already, written by write_tree(sink) at the end of
// `out`; true.
template <class WRITE> bool write_to(std::string& out, WRITE write_tree)
{
    SINK sink(out, nullptr);
    write_tree(sink);
    return true;
}

// The same, to a stream, in large pieces; false, with `error_message` set,
// when the stream failed.
template <class WRITE> bool write_to(std::ostream& out, std::string& error_message, WRITE write_tree)
{
    std::string buffer;
    SINK sink(buffer, &out);
    write_tree(sink);
    out.flush();
    if (!out) {
        error_message = "cannot write: the output stream failed";
        return false;
    }
    return true;
}

}  // namespace vorn_xml_writing

#endif
