// vornxml -- writing an element tree back as a document.
#ifndef VORN_XML_WRITER_H
#define VORN_XML_WRITER_H

#include <ostream>
#include <string>

#include "vorn_xml_element.h"
#include "vorn_xml_export.h"

// ---------------------------------------------------------------------------
// VORN_XML_WRITER turns a tree of VORN_XML_ELEMENT objects into a document
// that VORN_XML_SAX_PARSER reads back to the same tree: the same names, the
// same attributes (name and value), the same text and the same
// sub-elements in the same order.  (An element without an attribute list
// reads back with an empty one.)
//
// What it writes: the declaration <?xml version="1.0"?> on a line of its
// own, then the root element.  Attributes follow their element's name in
// the order the attribute list walks them, as name="value" with the value
// as it is.  An element's sub-elements come first and its text after them,
// right before its end tag; an element with neither is written <name/>.
// In text, "<", ">" and "&" are written as &lt; &gt; &amp; -- except the
// first byte of the text, which the reader takes literally and which is
// therefore written as it is.
//
// What it refuses.  Some trees have no document that reads back the same;
// for them write() returns false, writes nothing and says why in
// error_message, naming the element (its name, and its place as a path of
// positions from the root, e.g. /1/3 for the third sub-element of the
// root's first).  Refused are:
// - an element or attribute name that is not a name: ASCII letters, digits
//   and "_", not starting with a digit, not empty;
// - an attribute value holding a double quote (values are written between
//   double quotes and have no escapes) or the byte 0xFF;
// - text that begins with white space (blank, tab, line feed, vertical tab,
//   form feed, carriage return: the reader drops it), with a double quote or
//   "<", or with a byte that is not a letter, digit, "_", ">" or one of
//   ! # $ % & ' ( ) * + , - . / ; = ? @ [ ] ^ ` { | } ~ (control bytes, ":",
//   "\", DEL and bytes from 0x80 up);
// - text holding the byte 0xFF anywhere (it ends a document).
//
// Indentation: with indent_width 0 (the default) the root is written on
// one line.  With indent_width N > 0 every element starts a line of its
// own, indented N blanks per level for the first 32 levels and no further,
// and an element's end tag after sub-elements starts a line of its own too;
// text stays on the line of its end tag, so no white space is added to it.
//
// Writing walks the tree with VORN_XML_TREE_WALK, so trees of any depth can
// be written, and moves no sub-element cursor.  Only the attribute lists'
// cursors move; the tree is not otherwise changed, and it stays the caller's.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_WRITER {
public:
    int indent_width = 0;       // blanks per level; 0 writes one line
    std::string error_message;  // why the last write() refused; else empty

    VORN_XML_WRITER() = default;
    explicit VORN_XML_WRITER(int indent) : indent_width(indent) {}
    VORN_XML_WRITER(const VORN_XML_WRITER&) = delete;
    VORN_XML_WRITER& operator=(const VORN_XML_WRITER&) = delete;
    virtual ~VORN_XML_WRITER();

    // Appends the document for the tree under `root` to `out` and returns
    // true.  When the tree cannot be written so that it reads back the same
    // (see above), or `root` is null, leaves `out` unchanged, sets
    // error_message and returns false.
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
