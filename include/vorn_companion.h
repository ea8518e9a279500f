// vornxml -- companion pieces: a thin file class, a polymorphic object root,
// an object list with its own cursor, and ASCII string helpers.
//
// These small classes sit underneath the XML classes.  They are part of
// libvornxml.so and reach hosts through <vorn_xml.h>.
#ifndef VORN_COMPANION_H
#define VORN_COMPANION_H

#include <memory>
#include <new>
#include <string>

#include "vorn_xml_export.h"

// ---------------------------------------------------------------------------
// String helpers.  All three work on bytes and touch only ASCII; every other
// byte is copied unchanged.  Each returns a new string and leaves its
// argument alone.
// ---------------------------------------------------------------------------

// Returns a copy of `text` with A-Z turned into a-z.
VORN_XML_API std::string to_lower_case(const std::string& text);

// Returns a copy of `text` with a-z turned into A-Z.
VORN_XML_API std::string to_upper_case(const std::string& text);

// Returns a copy of `text` without its trailing ASCII white space
// (blank, tab, line feed, vertical tab, form feed, carriage return).
VORN_XML_API std::string trim_right(const std::string& text);

// ---------------------------------------------------------------------------
// VORN_FILE: a file opened for reading through the operating system's
// descriptors.  A new object is closed; close() is harmless on a file that
// was never opened and when called twice.  The object closes itself when it
// is destroyed.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_FILE {
public:
    // Flags for open(), combined with a bitwise or.  OPEN_TEXT_MODE is
    // accepted for portability and changes nothing on Linux.
    static constexpr int OPEN_READ_ONLY = 0x1;
    static constexpr int OPEN_TEXT_MODE = 0x2;

    VORN_FILE() = default;
    VORN_FILE(const VORN_FILE&) = delete;
    VORN_FILE& operator=(const VORN_FILE&) = delete;

    // Closes the file if it is still open.
    virtual ~VORN_FILE();

    // Opens the file at `path` for reading (a file already open through this
    // object is closed first).  Returns true on success; on failure the
    // object is closed.
    virtual bool open(const std::string& path, int flags);

    // Closes the file.  Does nothing on a closed file.
    virtual void close();

    // True while a file is open through this object.
    virtual bool is_open() const;

    // Reads at most `max` bytes into `buffer` and returns how many were
    // read: 0 at end of file, -1 on failure or on a closed file.  Retries
    // reads interrupted by signals.  A regular file is read ahead in blocks
    // of 64 KiB, so that many small reads cost few system calls; each read
    // still returns what the operating system's read of the file would: all
    // it asks for, short only at the end of the file.
    virtual int read(char* buffer, int max);

    // The size in bytes of the open file when it is a regular file; -1
    // otherwise (closed, a pipe, a device).
    long long get_size() const;

private:
    static constexpr int ahead_size = 64 * 1024;

    int descriptor = -1;
    bool regular = false;           // the open file is a regular file
    std::unique_ptr<char[]> ahead;  // read ahead: the file's next bytes are
    int ahead_pos = 0;              // [ahead_pos, ahead_count) of ahead
    int ahead_count = 0;
};

// ---------------------------------------------------------------------------
// VORN_OBJ: the polymorphic root of every object kept in a VORN_OBJ_LIST, so
// that an owner can delete the objects through VORN_OBJ pointers.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_OBJ {
public:
    VORN_OBJ() = default;
    VORN_OBJ(const VORN_OBJ&) = default;
    VORN_OBJ& operator=(const VORN_OBJ&) = default;
    virtual ~VORN_OBJ() {}
};

// ---------------------------------------------------------------------------
// VORN_OBJ_LIST: a list of VORN_OBJ pointers in insertion order, with one
// cursor of its own.  The entries sit side by side in one array that grows
// by doubling, so appending costs no allocation per entry.  The list never
// owns what its entries point to: destroying it frees its array and touches
// no object.
//
// Cursor rules: a new list's cursor stands at the end.  rewind() puts it on
// the first entry; get_next_object() returns the entry under it and moves
// on; at the end it returns null and stays there.  Appending never moves
// the cursor, so entries appended after the cursor reached the end are seen
// only after the next rewind().
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_OBJ_LIST {
public:
    VORN_OBJ_LIST() = default;
    VORN_OBJ_LIST(const VORN_OBJ_LIST&) = delete;
    VORN_OBJ_LIST& operator=(const VORN_OBJ_LIST&) = delete;

    // Object lists come out of large pages held per thread (a class derived
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

    // Frees the entries; the objects they point to are left alone.
    virtual ~VORN_OBJ_LIST();

    // Appends `object` (null included) after the last entry.  On allocation
    // failure the list is unchanged and std::bad_alloc propagates.
    virtual void add_object(VORN_OBJ* object);

    // The object of the last entry, or null for an empty list.
    virtual VORN_OBJ* get_last_object();

    // Puts the cursor on the first entry (at the end for an empty list).
    virtual void rewind();

    // The object under the cursor, moving the cursor on; null at the end.
    virtual VORN_OBJ* get_next_object();

    // True when the list has no entry.
    virtual bool is_empty();

    // Removes the last entry and returns its object (not deleted).  A cursor
    // on that entry moves to the end.  On an empty list returns null.
    virtual VORN_OBJ* remove_last_object();

    // Number of entries.
    virtual long get_count();

    // The object of the entry before the last one; null when the list has
    // fewer than two entries.
    VORN_OBJ* get_object_before_last() const;

    // Removes the first entry and returns its object (not deleted).  A
    // cursor on that entry moves to the following one.  Null when empty.
    // Linear in the number of entries.
    VORN_OBJ* remove_first_object();

    // Moves every entry of `other` in front of this list's first entry,
    // keeping their order.  `other` is left empty with its cursor at the
    // end; this list's cursor stays on the entry it was on.  On allocation
    // failure both lists are left as they were.
    void splice_front(VORN_OBJ_LIST& other);

    // The object of the entry at `index` (0 is the first), in constant time
    // and without moving the cursor; null when `index` is outside
    // 0 .. get_count() - 1.  Lets a walk over the entries run beside the
    // cursor without disturbing it.
    VORN_OBJ* get_object_at(long index) const;

private:
    friend class VORN_XML_ELEMENT;  // its teardown chains lists through `next_pending`

    VORN_OBJ** entries = nullptr;  // `capacity` slots, the first `count` in use
    long count = 0;
    long capacity = 0;
    long cursor = -1;                       // index of the entry under the cursor; -1: the end
    VORN_OBJ_LIST* next_pending = nullptr;  // the list below this one in a teardown's stack
};

#endif
