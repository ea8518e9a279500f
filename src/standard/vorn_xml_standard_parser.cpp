// The standard parser and the standard handler (see vorn_xml_standard.h).
#include <algorithm>

#include "vorn_xml_standard.h"
#include "vorn_xml_standard_bytes.h"
#include "vorn_xml_standard_reader.h"
#include "vorn_xml_standard_text.h"

namespace {

bool white_only(const std::string& text)
{
    for (const char c : text)
        if (c != ' ' && c != '\t' && c != '\n' && c != '\r')
            return false;
    return true;
}

VORN_XML_ELEMENT* innermost(VORN_OBJ_LIST* stack)
{
    return stack == nullptr ? nullptr : static_cast<VORN_XML_ELEMENT*>(stack->get_last_object());
}

}  // namespace

// ---------------------------------------------------------------------------
// VORN_XML_STANDARD_HANDLER

VORN_XML_STANDARD_HANDLER::~VORN_XML_STANDARD_HANDLER() = default;

void VORN_XML_STANDARD_HANDLER::process_characters(const std::string& text)
{
    if (DOM_mode) {
        if (VORN_XML_ELEMENT* element = innermost(element_stack)) {
            if (white_only(text)) {
                if (element->subelement_list == nullptr)
                    pending_space.append(text);
            } else {
                element->element_data.append(pending_space);
                pending_space.clear();
                element->element_data.append(text);
            }
        }
    }
    if (event_listener != nullptr)
        event_listener->process_characters(text.c_str());
}

void VORN_XML_STANDARD_HANDLER::process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes)
{
    pending_space.clear();
    VORN_XML_SAX_TREE_HANDLER::process_start_element(name, attributes);
}

void VORN_XML_STANDARD_HANDLER::process_end_element(const std::string& name)
{
    if (DOM_mode) {
        VORN_XML_ELEMENT* element = innermost(element_stack);
        if (element != nullptr && element->subelement_list == nullptr)
            element->element_data.append(pending_space);
    }
    pending_space.clear();
    VORN_XML_SAX_TREE_HANDLER::process_end_element(name);
}

void VORN_XML_STANDARD_HANDLER::process_attributes(const std::string& element,
                                                   const std::vector<VORN_XML_STANDARD_ATTRIBUTE>& attributes)
{
    (void)element;
    (void)attributes;
}

void VORN_XML_STANDARD_HANDLER::process_comment(const std::string& text)
{
    (void)text;
}

void VORN_XML_STANDARD_HANDLER::process_processing_instruction(const std::string& target, const std::string& data)
{
    (void)target;
    (void)data;
}

void VORN_XML_STANDARD_HANDLER::process_doctype(const std::string& name, const std::string& public_id,
                                                const std::string& system_id)
{
    (void)name;
    (void)public_id;
    (void)system_id;
}

void VORN_XML_STANDARD_HANDLER::process_notation(const std::string& name, const std::string& public_id,
                                                 const std::string& system_id)
{
    (void)name;
    (void)public_id;
    (void)system_id;
}

// ---------------------------------------------------------------------------
// VORN_XML_STANDARD_PARSER

VORN_XML_STANDARD_PARSER::VORN_XML_STANDARD_PARSER()
    : tree_handler(nullptr), error_handler(nullptr), owns_tree_handler(false), error_line(0), error_column(0),
      expansion_limit(0)
{
    tree_handler = new VORN_XML_STANDARD_HANDLER;
    owns_tree_handler = true;
}

VORN_XML_STANDARD_PARSER::~VORN_XML_STANDARD_PARSER()
{
    if (owns_tree_handler)
        delete tree_handler;
    delete error_handler;
}

void VORN_XML_STANDARD_PARSER::set_tree_handler(VORN_XML_SAX_TREE_HANDLER* handler)
{
    if (owns_tree_handler)
        delete tree_handler;
    owns_tree_handler = false;
    tree_handler = handler;
}

void VORN_XML_STANDARD_PARSER::enable_DOM_mode(bool on)
{
    if (tree_handler != nullptr)
        tree_handler->DOM_mode = on;
}

bool VORN_XML_STANDARD_PARSER::parse(VORN_XML_SAX_INPUT_SOURCE* source)
{
    if (source == nullptr || !source->is_open || tree_handler == nullptr)
        return false;
    if (error_handler == nullptr)
        error_handler = new VORN_XML_SAX_ERROR_HANDLER;
    error_line = 0;
    error_column = 0;

    vorn_standard::SOURCE_BYTES bytes;
    vorn_standard::read_source_bytes(*source, bytes);
    vorn_standard::DOCUMENT_TEXT text;
    vorn_standard::decode_document(bytes, text);

    uint64_t limit = expansion_limit;
    if (limit == 0)
        limit = std::max<uint64_t>(uint64_t{10} << 20, uint64_t{16} * bytes.size);
    vorn_standard::STANDARD_READER reader(*tree_handler, limit);
    if (reader.read(text))
        return true;

    // Line and column of the fault: line ends are line feeds by now.
    const std::size_t at = std::min(reader.fault_offset(), text.size);
    uint64_t line = 1;
    uint64_t column = 1;
    for (std::size_t i = 0; i < at; ++i) {
        const auto c = static_cast<unsigned char>(text.text[i]);
        if (c == '\n') {
            ++line;
            column = 1;
        } else if ((c & 0xC0) != 0x80) {
            ++column;
        }
    }
    error_line = line;
    error_column = column;
    error_handler->handle_error("line " + std::to_string(line) + ", column " + std::to_string(column) + ": " +
                                reader.message());
    return false;
}
