// vornxml -- writing an element tree as a standard XML 1.0 document.
#ifndef VORN_XML_STANDARD_WRITER_H
#define VORN_XML_STANDARD_WRITER_H

#include <ostream>
#include <string>

#include "vorn_xml_element.h"
#include "vorn_xml_export.h"

// ---------------------------------------------------------------------------
// VORN_XML_STANDARD_WRITER turns a tree of VORN_XML_ELEMENT objects into a
// well-formed XML 1.0 document in UTF-8, which any XML reader reads, and
// which VORN_XML_STANDARD_PARSER reads back to the same tree: the same
// names, attributes (name and value), text and sub-elements in the same
// order.  (VORN_XML_WRITER writes for the library's own dialect instead;
// its output stays as it is.)
//
// What it writes: the declaration <?xml version="1.0" encoding="UTF-8"?> on
// a line of its own, then the root element.  Attributes follow their
// element's name in the order the attribute list walks them, as
// name="value".  In attribute values & < > " are written as &amp; &lt; &gt;
// &quot;, and tab, line feed and carriage return as &#9; &#10; &#13;, so
// that a reader's normalisation of attribute values gives them back.  In
// text & < > are written as &amp; &lt; &gt; and carriage return as &#13;
// (a reader turns a raw one into a line feed).  Everything else is written
// as it is.  An element's text comes right after its start tag and its
// sub-elements after the text; an element with neither is written <name/>.
//
// Indentation: with indent_width 0 (the default) the root is written on one
// line.  With indent_width N > 0 each sub-element of an element without
// text starts a line of its own, indented N blanks per level for the first
// 32 levels and no further, and so does the end tag after them.  Inside an
// element that has text nothing is indented, since white space added there
// would become part of its text.  (White space alone between sub-elements
// is no text to the standard reader's tree.)
//
// What it refuses.  For a tree that has no such document write() returns
// false, writes nothing and says why in error_message, naming the element
// by its name and its place as a path of positions from the root (e.g.
// /1/3 for the third sub-element of the root's first).  Refused are:
// - an element or attribute name that is not an XML 1.0 name (in UTF-8);
// - text or an attribute value that is not UTF-8 or holds a character XML
//   1.0 does not allow even as a reference (control characters other than
//   tab, line feed and carriage return; U+FFFE and U+FFFF);
// - text made only of blanks, tabs, line feeds and carriage returns in an
//   element with sub-elements: the standard reader's tree takes such text
//   for indentation and drops it, so it would not read back.
//
// Writing walks the tree with VORN_XML_TREE_WALK, so trees of any depth can
// be written, and moves no sub-element cursor.  Only the attribute lists'
// cursors move; the tree is not otherwise changed, and it stays the caller's.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_STANDARD_WRITER {
public:
    int indent_width = 0;       // blanks per level; 0 writes one line
    std::string error_message;  // why the last write() refused; else empty

    VORN_XML_STANDARD_WRITER() = default;
    explicit VORN_XML_STANDARD_WRITER(int indent) : indent_width(indent) {}
    VORN_XML_STANDARD_WRITER(const VORN_XML_STANDARD_WRITER&) = delete;
    VORN_XML_STANDARD_WRITER& operator=(const VORN_XML_STANDARD_WRITER&) = delete;
    virtual ~VORN_XML_STANDARD_WRITER();

    // Appends the document for the tree under `root` to `out` and returns
    // true.  When the tree cannot be written (see above), or `root` is
    // null, leaves `out` unchanged, sets error_message and returns false.
    bool write(VORN_XML_ELEMENT* root, std::string& out);
    // The same, writing to `out` as it goes.  The tree is checked whole
    // before the first byte is written, so a refused tree writes nothing.
    // Returns false as well when the stream fails (error_message says so).
    bool write(VORN_XML_ELEMENT* root, std::ostream& out);
    // True when the tree under `root` can be written; otherwise false with
    // error_message set, as write() would.
    bool check(VORN_XML_ELEMENT* root);
};

#endif
