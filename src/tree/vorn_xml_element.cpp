#include <memory>

#include "../companion/vorn_pages.h"
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

namespace {

// The teardown under way on this thread: a stack of sub-element lists whose
// elements are still to be deleted, chained through next_pending, each read
// through its own cursor.  Null when no teardown runs.
thread_local VORN_OBJ_LIST* pending_lists __attribute__((tls_model("initial-exec"))) = nullptr;

}  // namespace

VORN_XML_ELEMENT::~VORN_XML_ELEMENT()
{
    // The destructor of a derived class has run by now and has seen the
    // sub-elements.  They are deleted without recursion: the list goes on the
    // teardown's stack, and the outermost teardown deletes the elements one
    // by one in the order a recursive teardown would (parents before their
    // sub-elements, siblings in order).  An element deleted while a teardown
    // runs only hands its list over.
    delete attrib_list;
    attrib_list = nullptr;
    VORN_OBJ_LIST* list = subelement_list;
    subelement_list = nullptr;
    if (list == nullptr)
        return;
    list->cursor = list->count > 0 ? 0 : -1;
    VORN_OBJ_LIST*& stack = pending_lists;  // one look-up of the thread's variable
    list->next_pending = stack;
    const bool outermost = stack == nullptr;
    stack = list;
    if (!outermost)
        return;
    while (VORN_OBJ_LIST* top = stack) {
        if (top->cursor < 0) {
            stack = top->next_pending;
            delete top;
            continue;
        }
        VORN_OBJ* object = top->entries[top->cursor];
        top->cursor = top->cursor + 1 < top->count ? top->cursor + 1 : -1;
        delete object;  // may push its own list onto the stack
    }
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

// Blocks from the thread's pages.
void* VORN_XML_ELEMENT::operator new(std::size_t size)
{
    return vorn_pages::allocate(size);
}
void* VORN_XML_ELEMENT::operator new(std::size_t size, std::align_val_t alignment)
{
    return vorn_pages::allocate(size, static_cast<std::size_t>(alignment));
}
void* VORN_XML_ELEMENT::operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try {
        return vorn_pages::allocate(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void VORN_XML_ELEMENT::operator delete(void* block) noexcept
{
    vorn_pages::release(block);
}
void VORN_XML_ELEMENT::operator delete(void* block, std::align_val_t) noexcept
{
    vorn_pages::release(block);
}
void VORN_XML_ELEMENT::operator delete(void* block, const std::nothrow_t&) noexcept
{
    vorn_pages::release(block);
}
