// vornxml -- walking an element tree without recursion and without the
// elements' own sub-element cursors.
#ifndef VORN_XML_WALK_H
#define VORN_XML_WALK_H

#include <cstddef>
#include <string>
#include <vector>

#include "vorn_xml_element.h"
#include "vorn_xml_export.h"

// ---------------------------------------------------------------------------
// VORN_XML_TREE_WALK: the elements of a tree in document order, each one
// twice: once when the walk enters it (before its sub-elements) and once
// when it leaves it (after them).
//
//     for (VORN_XML_TREE_WALK walk(root); walk.next();) {
//         if (walk.is_entering())
//             ... walk.get_element(), walk.get_depth() ...
//     }
//
// The walk keeps its own stack (one entry per open level, on the heap), so
// trees of any depth are walked on a constant call stack, and it reads the
// sub-element lists by index: no element's cursor moves, and walks may nest
// or run side by side over the same tree.  Each step costs constant time.
// The tree must not change while it is walked; the walk never changes it.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_TREE_WALK {
public:
    // A walk over the tree under `root` (root included), standing before its
    // first step.  A null root gives a walk without steps.
    explicit VORN_XML_TREE_WALK(VORN_XML_ELEMENT* root);
    VORN_XML_TREE_WALK(const VORN_XML_TREE_WALK&) = delete;
    VORN_XML_TREE_WALK& operator=(const VORN_XML_TREE_WALK&) = delete;
    virtual ~VORN_XML_TREE_WALK();

    // Takes the next step and returns true; false once the root has been
    // left (and on every call after that).  On allocation failure the walk
    // stands where it stood and std::bad_alloc propagates.
    bool next();

    // The element of the current step (null before the first step and after
    // the last).
    VORN_XML_ELEMENT* get_element() const { return current; }

    // True when the current step enters its element, false when it leaves it.
    bool is_entering() const { return entering; }

    // The number of elements between the current one and the root: 0 for
    // the root, 1 for its sub-elements, and so on.
    std::size_t get_depth() const { return entering ? stack.size() - 1 : stack.size(); }

    // For 1 <= `depth` <= get_depth(): the index (from 0) of the current
    // element's ancestor at that depth among its parent's sub-elements (at
    // get_depth(), of the current element itself).  0 for any other depth.
    long get_index_at(std::size_t depth) const;

    // After a step that entered an element: the walk does not go into its
    // sub-elements, and the next step leaves it.  Nothing otherwise.
    void skip_sub_elements();

private:
    struct LEVEL {
        VORN_XML_ELEMENT* element;  // entered and not yet left
        long next;                  // index of the sub-element to enter next
    };
    std::vector<LEVEL> stack;
    VORN_XML_ELEMENT* root;  // until the first step
    VORN_XML_ELEMENT* current = nullptr;
    bool entering = false;
};

// ---------------------------------------------------------------------------
// The sub-elements of one element, for a range-for:
//
//     for (VORN_XML_ELEMENT* item : get_sub_elements(order)) ...
//
// Reads the list by index: the element's cursor does not move.  The range
// refers to the element's list, which must outlive it; sub-elements added
// during the loop are seen.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_SUB_ELEMENTS {
public:
    class ITERATOR {
    public:
        ITERATOR(const VORN_OBJ_LIST* list, long index) : list(list), index(index) {}
        VORN_XML_ELEMENT* operator*() const { return static_cast<VORN_XML_ELEMENT*>(list->get_object_at(index)); }
        ITERATOR& operator++()
        {
            ++index;
            return *this;
        }
        // Iterators compare equal at the end of the list, wherever they began.
        bool operator!=(const ITERATOR& other) const
        {
            return at_end() != other.at_end() || (!at_end() && index != other.index);
        }

    private:
        bool at_end() const { return list == nullptr || list->get_object_at(index) == nullptr; }
        const VORN_OBJ_LIST* list;
        long index;
    };

    explicit VORN_XML_SUB_ELEMENTS(const VORN_XML_ELEMENT* element)
        : list(element == nullptr ? nullptr : element->subelement_list)
    {
    }
    ITERATOR begin() const { return {list, 0}; }
    ITERATOR end() const { return {nullptr, 0}; }

private:
    const VORN_OBJ_LIST* list;
};

// The sub-elements of `element` (none for null) as a range; see above.
inline VORN_XML_SUB_ELEMENTS get_sub_elements(const VORN_XML_ELEMENT* element)
{
    return VORN_XML_SUB_ELEMENTS(element);
}

// The first sub-element of `element` whose name is `name` (compared byte for
// byte, as end tags are); null when there is none or `element` is null.  The
// element's cursor does not move.
VORN_XML_API VORN_XML_ELEMENT* find_sub_element(const VORN_XML_ELEMENT* element, const std::string& name);

#endif
