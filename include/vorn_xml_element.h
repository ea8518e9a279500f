// vornxml -- the element tree.
#ifndef VORN_XML_ELEMENT_H
#define VORN_XML_ELEMENT_H

#include <new>
#include <string>

#include "vorn_companion.h"
#include "vorn_xml_attrib.h"
#include "vorn_xml_export.h"

// ---------------------------------------------------------------------------
// VORN_XML_ELEMENT: one node of the document tree: a name, a text, an
// optional copy of its attributes and its sub-elements in the order in which
// they were added.
//
// Ownership: an element owns its attribute copy, its sub-element list and
// every sub-element in it; deleting an element deletes its whole subtree
// (without recursion, so trees of any depth can be freed).  An element keeps
// no pointer to its parent; adding one element twice, under two parents or
// under itself is the caller's mistake to avoid.
//
// Walking: get_first_sub_element() then get_next_sub_element() until null.
// The cursor belongs to the element, so a second walk over the same element
// disturbs one under way.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_ELEMENT : public VORN_OBJ {
public:
    std::string element_name;           // the tag name
    std::string element_data;           // the text; empty until set
    VORN_XML_ATTRIB_LIST* attrib_list;  // owned; null if built without one
    VORN_OBJ_LIST* subelement_list;     // owned; null until the first add;
                                        // holds VORN_XML_ELEMENT objects only

    // An element named `name`.  When `attributes` is not null the element
    // makes its own copy (an empty list gives an empty copy) and never
    // refers to `attributes` again; the caller keeps ownership of it, and
    // its cursor is left at its end.
    VORN_XML_ELEMENT(const std::string& name, VORN_XML_ATTRIB_LIST* attributes);
    VORN_XML_ELEMENT(const VORN_XML_ELEMENT&) = delete;
    VORN_XML_ELEMENT& operator=(const VORN_XML_ELEMENT&) = delete;

    // Elements come out of large pages held per thread (a class derived
    // from this one, of any size, too), and go back to their page on
    // whichever thread deletes them.  Allocate them with `new` and free them
    // with `delete` (never with the global forms).  Failure throws
    // std::bad_alloc (the nothrow form gives null).
    static void* operator new(std::size_t size);
    static void* operator new(std::size_t size, std::align_val_t alignment);
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept;
    static void operator delete(void* block, std::align_val_t alignment) noexcept;
    static void operator delete(void* block, const std::nothrow_t&) noexcept;
    static void operator delete(void*, void*) noexcept {}

    // Deletes the attribute copy and the whole subtree, each element exactly
    // once through its virtual destructor, parents before their
    // sub-elements, siblings in order.  The destructor of a derived class
    // still finds its element's sub-elements in place.  Uses constant stack
    // whatever the depth; the sub-elements of an element deleted while
    // another teardown runs on the same thread join that teardown.
    ~VORN_XML_ELEMENT() override;

    // The tag name, as read (letter case kept); valid while the element lives.
    const std::string& get_element_name() const { return element_name; }
    // The text: the last run of character data read while the element was
    // the innermost open one (references decoded, leading white space
    // dropped); empty when none came.
    const std::string& get_element_data() const { return element_data; }

    // Replaces the element's text.
    void set_element_data(const std::string& data);

    // Appends `element` as the last sub-element and takes ownership of it.
    // Null is ignored.  On allocation failure nothing changes, the caller
    // still owns `element`, and std::bad_alloc propagates.
    void add_sub_element(VORN_XML_ELEMENT* element);

    // Sets `value` to the empty string, then looks `name` up ignoring the
    // case of ASCII letters: true with the value when found, false (and
    // `value` empty) otherwise.
    bool get_attribute(const std::string& name, std::string& value);

    // The value of `name` looked up as upper case and, failing that, as
    // lower case; the empty string when absent or empty.
    std::string get_case_insensitive_attrib_val(const std::string& name);

    // Rewinds the sub-element cursor and returns the first sub-element (the
    // cursor then stands on the second); null when there is none.
    VORN_XML_ELEMENT* get_first_sub_element();

    // The sub-element under the cursor, moving it on; null at the end (and
    // before the first get_first_sub_element()).
    VORN_XML_ELEMENT* get_next_sub_element();
};

#endif
