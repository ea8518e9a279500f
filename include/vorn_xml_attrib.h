// vornxml -- attribute lists.
#ifndef VORN_XML_ATTRIB_H
#define VORN_XML_ATTRIB_H

#include <map>
#include <new>
#include <string>

#include "vorn_xml_export.h"

// ---------------------------------------------------------------------------
// LESS_C_STRING: the order of attribute names.  Compares the C-string forms
// of two names byte by byte, folding A-Z to a-z and nothing else, so names
// that differ only in the case of ASCII letters are one name.  Bytes
// 0x5B-0x60 ("[", "\", "]", "^", "_", "`") order before every letter, bytes
// from 0x80 up after all ASCII, and a NUL inside a name ends it.
// ---------------------------------------------------------------------------
struct VORN_XML_API LESS_C_STRING {
    bool operator()(const std::string& a, const std::string& b) const;
};

// ---------------------------------------------------------------------------
// VORN_XML_ATTRIB_LIST: the attributes of one tag, an ordered map from name
// to value under LESS_C_STRING, with one read cursor.  A name keeps the
// letter case of the call that first inserted it.
//
// Cursor rules: a new list's cursor stands at the end, and inserting never
// moves it, so a walk begins with reset_attrib_list().  Walks yield pairs in
// name order, not in document order.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_ATTRIB_LIST {
public:
    using MAP = std::map<std::string, std::string, LESS_C_STRING>;

    MAP attrib_map;
    MAP::iterator attrib_cursor;

    // An empty list; the cursor at the end.
    VORN_XML_ATTRIB_LIST();
    // A pair-for-pair copy of `other`, with its cursor at the end.
    // `other` is not changed.
    explicit VORN_XML_ATTRIB_LIST(const VORN_XML_ATTRIB_LIST& other);
    VORN_XML_ATTRIB_LIST& operator=(const VORN_XML_ATTRIB_LIST&) = delete;
    virtual ~VORN_XML_ATTRIB_LIST();

    // Attribute lists come out of large pages held per thread (a class derived
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

    // Gives `name` the value `value`.  A name already present in any letter
    // case keeps its stored spelling and gets the new value; otherwise the
    // pair is inserted.  The cursor does not move.  On allocation failure the
    // list is unchanged and std::bad_alloc propagates.
    void set_attrib(const std::string& name, const std::string& value);

    // Looks `name` up, ignoring the case of ASCII letters.  When found,
    // copies its value into `value` and returns true; otherwise returns false
    // and leaves `value` untouched.
    bool find_attrib(const std::string& name, std::string& value);

    // Puts the cursor on the first pair in name order (at the end when
    // empty).
    void reset_attrib_list();

    // Copies the pair under the cursor into `name` and `value`, moves the
    // cursor on and returns true; at the end returns false and leaves both
    // untouched.
    bool get_next_attrib(std::string& name, std::string& value);

    // Removes every pair and puts the cursor at the end, leaving the list as
    // a new one.
    void clear_attribs();
};

#endif
