#include <memory>

#include "vorn_xml_element.h"

VORN_XML_ELEMENT::VORN_XML_ELEMENT(const std::string& name, VORN_XML_ATTRIB_LIST* attributes)
    : element_name(name), attrib_list(nullptr), subelement_list(nullptr)
{
    if (attributes != nullptr) {
        // A pair-for-pair copy whose own cursor stands at its end; the given
        // list's cursor ends at its end, as a full walk of it would leave it.
        attrib_list = new VORN_XML_ATTRIB_LIST(*attributes);
        attributes->attrib_cursor = attributes->attrib_map.end();
    }
}

VORN_XML_ELEMENT::~VORN_XML_ELEMENT()
{
    delete attrib_list;
    attrib_list = nullptr;
    if (subelement_list == nullptr)
        return;

    // Free the subtree without recursion: `pending` holds the elements still
    // to delete, in the order a recursive teardown would delete them.  Before
    // an element is deleted its sub-elements are moved to the front of
    // `pending`, so its own destructor finds none and returns at once.
    VORN_OBJ_LIST* pending = subelement_list;
    subelement_list = nullptr;
    while (VORN_OBJ* object = pending->remove_first_object()) {
        auto* element = static_cast<VORN_XML_ELEMENT*>(object);
        if (element->subelement_list != nullptr) {
            pending->splice_front(*element->subelement_list);
            delete element->subelement_list;
            element->subelement_list = nullptr;
        }
        delete element;
    }
    delete pending;
}

void VORN_XML_ELEMENT::set_element_data(const std::string& data)
{
    element_data = data;
}

void VORN_XML_ELEMENT::add_sub_element(VORN_XML_ELEMENT* element)
{
    if (element == nullptr)
        return;
    if (subelement_list == nullptr) {
        std::unique_ptr<VORN_OBJ_LIST> list(new VORN_OBJ_LIST);
        list->add_object(element);
        subelement_list = list.release();
        return;
    }
    subelement_list->add_object(element);
}

bool VORN_XML_ELEMENT::get_attribute(const std::string& name, std::string& value)
{
    value.clear();
    if (attrib_list == nullptr)
        return false;
    return attrib_list->find_attrib(name, value);
}

std::string VORN_XML_ELEMENT::get_case_insensitive_attrib_val(const std::string& name)
{
    std::string result;
    const std::string upper = to_upper_case(name);
    get_attribute(upper, result);
    if (result.empty())
        get_attribute(to_lower_case(upper), result);
    return result;
}

VORN_XML_ELEMENT* VORN_XML_ELEMENT::get_first_sub_element()
{
    if (subelement_list == nullptr)
        return nullptr;
    subelement_list->rewind();
    return static_cast<VORN_XML_ELEMENT*>(subelement_list->get_next_object());
}

VORN_XML_ELEMENT* VORN_XML_ELEMENT::get_next_sub_element()
{
    if (subelement_list == nullptr)
        return nullptr;
    return static_cast<VORN_XML_ELEMENT*>(subelement_list->get_next_object());
}
