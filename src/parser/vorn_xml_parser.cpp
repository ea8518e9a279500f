// The parser: construction and ownership, and the document driver.
#include <memory>

#include "../internal/vorn_xml_failures.h"
#include "vorn_xml_parser.h"

using vorn_xml::FAILURE;
using vorn_xml::failure_message;

VORN_XML_SAX_PARSER::VORN_XML_SAX_PARSER()
    : current_char(' '), token_type(TOKEN_UNKNOWN), owns_tree_handler(true), input_source(nullptr),
      tree_handler(nullptr), error_handler(nullptr), current_attrib_list(nullptr)
{
    tree_handler = new VORN_XML_SAX_TREE_HANDLER;
    tree_handler->DOM_mode = true;
}

VORN_XML_SAX_PARSER::~VORN_XML_SAX_PARSER()
{
    if (current_attrib_list != nullptr) {
        delete current_attrib_list;
        current_attrib_list = nullptr;
    }
    if (owns_tree_handler && tree_handler != nullptr) {
        delete tree_handler;
        tree_handler = nullptr;
    }
    if (error_handler != nullptr) {
        delete error_handler;
        error_handler = nullptr;
    }
}

void VORN_XML_SAX_PARSER::set_tree_handler(VORN_XML_SAX_TREE_HANDLER* handler)
{
    if (owns_tree_handler)
        delete tree_handler;
    tree_handler = handler;
    owns_tree_handler = false;
}

void VORN_XML_SAX_PARSER::enable_DOM_mode(bool on)
{
    if (tree_handler != nullptr)
        tree_handler->DOM_mode = on;
}

bool VORN_XML_SAX_PARSER::parse(VORN_XML_SAX_INPUT_SOURCE* source)
{
    if (source == nullptr || !source->is_open || tree_handler == nullptr)
        return false;
    if (error_handler == nullptr)
        error_handler = new VORN_XML_SAX_ERROR_HANDLER;
    input_source = source;
    // Every parse reads its source from the start, as a new parser would:
    // the look-ahead left by an earlier document must not leak into this one.
    current_char = ' ';
    current_token.clear();
    token_type = TOKEN_UNKNOWN;
    return parse_xml();
}

bool VORN_XML_SAX_PARSER::parse_xml()
{
    if (tree_handler == nullptr)
        return false;
    tree_handler->process_start_document();
    if (!parse_xml_signature_line()) {
        file_error(failure_message(FAILURE::SIGNATURE_NOT_FOUND));
        return false;
    }
    std::string version;
    if (current_attrib_list != nullptr)
        current_attrib_list->find_attrib("version", version);
    if (version != "1.0") {
        file_error(failure_message(FAILURE::UNKNOWN_VERSION));
        return false;
    }
    if (!parse_xml10_xml_body())
        return false;
    if (!current_token.empty()) {
        file_error(failure_message(FAILURE::EXTRA_INPUT));
        return false;
    }
    tree_handler->process_end_document(input_source->xml_text.c_str());
    return true;
}

void VORN_XML_SAX_PARSER::file_error(const std::string& message)
{
    error_handler->handle_error(message);
}
