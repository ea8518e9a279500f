#include <memory>

#include "../companion/vorn_pages.h"
#include "vorn_xml_tree.h"

VORN_XML_SAX_TREE_HANDLER::VORN_XML_SAX_TREE_HANDLER()
    : root_element(nullptr), element_stack(new VORN_OBJ_LIST), event_listener(nullptr), DOM_mode(true)
{
    vorn_pages::handler_started();  // the thread keeps empty pages for the next tree
}

VORN_XML_SAX_TREE_HANDLER::~VORN_XML_SAX_TREE_HANDLER()
{
    if (element_stack != nullptr) {
        element_stack->rewind();
        while (VORN_OBJ* object = element_stack->get_next_object())
            delete object;
        delete element_stack;
        element_stack = nullptr;
    }
    if (root_element != nullptr) {
        delete root_element;
        root_element = nullptr;
    }
    vorn_pages::handler_ended();
}

void VORN_XML_SAX_TREE_HANDLER::process_start_document()
{
    if (event_listener != nullptr)
        event_listener->process_start_document();
}

void VORN_XML_SAX_TREE_HANDLER::process_end_document(const char* text)
{
    if (event_listener != nullptr)
        event_listener->process_end_document(text);
}

void VORN_XML_SAX_TREE_HANDLER::process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes)
{
    if (DOM_mode) {
        std::unique_ptr<VORN_XML_ELEMENT> element(new VORN_XML_ELEMENT(name, attributes));
        element_stack->add_object(element.get());
        (void)element.release();  // the stack owns it now
    }
    if (event_listener != nullptr)
        event_listener->process_start_element(name.c_str(), attributes);
}

void VORN_XML_SAX_TREE_HANDLER::process_end_element(const std::string& name)
{
    (void)name;  // the parser has matched the end tag already
    VORN_XML_ELEMENT* closed = nullptr;
    if (DOM_mode) {
        closed = static_cast<VORN_XML_ELEMENT*>(element_stack->get_last_object());
        if (closed != nullptr) {
            // Hang the element under its parent before taking it off the
            // stack: if that fails for lack of memory, the stack still owns it.
            if (element_stack->get_count() > 1) {
                auto* parent = static_cast<VORN_XML_ELEMENT*>(element_stack->get_object_before_last());
                if (parent != nullptr)
                    parent->add_sub_element(closed);
                element_stack->remove_last_object();
            } else {
                element_stack->remove_last_object();
                root_element = closed;
            }
        }
    }
    if (event_listener != nullptr)
        event_listener->process_end_element(closed);
}

void VORN_XML_SAX_TREE_HANDLER::process_characters(const std::string& text)
{
    if (DOM_mode) {
        auto* open = static_cast<VORN_XML_ELEMENT*>(element_stack->get_last_object());
        if (open != nullptr)
            open->set_element_data(text);
    }
    if (event_listener != nullptr)
        event_listener->process_characters(text.c_str());
}
