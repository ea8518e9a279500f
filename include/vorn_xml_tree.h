// vornxml -- the tree handler: the parser's event interface and the default
// builder of the element tree.
#ifndef VORN_XML_TREE_H
#define VORN_XML_TREE_H

#include <string>

#include "vorn_companion.h"
#include "vorn_xml_attrib.h"
#include "vorn_xml_element.h"
#include "vorn_xml_export.h"

// ---------------------------------------------------------------------------
// VORN_XML_SAX_EVENT_LISTENER: receives every event that a tree handler gets,
// whether DOM mode is on or off.  Every operation does nothing by default;
// override what you need.  Install one with
// VORN_XML_SAX_TREE_HANDLER::set_event_listener(); the handler does not own
// it, and it must outlive every event sent to the handler.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_SAX_EVENT_LISTENER {
public:
    virtual ~VORN_XML_SAX_EVENT_LISTENER() {}

    // Before the document's first character is read.
    virtual void process_start_document() {}

    // After a successful parse, with the text the source has read.
    virtual void process_end_document(const char* text) { (void)text; }

    // At each start tag, after the handler has built its element.
    // `attributes` is the parser's current list (never null when the parser
    // sends it).  A listener may take the list over by setting the pointer
    // to null; it then owns the list.
    virtual void process_start_element(const char* name, VORN_XML_ATTRIB_LIST*& attributes)
    {
        (void)name;
        (void)attributes;
    }

    // At each element's end, with the element already hung into the tree,
    // or null when DOM mode is off.  The element belongs to the tree: do not
    // delete it (a listener may take a finished root over with
    // VORN_XML_SAX_TREE_HANDLER::take_root_element()).
    virtual void process_end_element(VORN_XML_ELEMENT* element) { (void)element; }

    // Reserved; never called by the library.
    virtual void process_reserved() {}

    // At each run of character data.
    virtual void process_characters(const char* text) { (void)text; }
};

// ---------------------------------------------------------------------------
// VORN_XML_SAX_TREE_HANDLER: the parser sends it five kinds of events.  In
// DOM mode (the default) it builds a tree of VORN_XML_ELEMENT objects: an
// element is made at each start event and kept on a stack of open elements
// until its end event, when it becomes a sub-element of the element below
// it or, when none is open, the root.  Each event is then passed on to the
// event listener, if one is set.
//
// Derive from it to process events as they come; call the base operations
// to keep the tree building.
//
// Memory: elements, attribute lists and object lists come from pages of
// 256 KiB that each thread takes as it needs them.  While a tree handler
// lives on a thread, that thread keeps up to 8 empty pages for the next
// tree; once the last one on the thread is destroyed (and on the thread's
// exit), the thread keeps no page that holds no live object.  A handler
// made on one thread and destroyed on another leaves the first thread
// keeping its empty pages until that thread exits.
//
// Ownership: the handler owns the open elements and the root.  A new root
// replaces the old one without deleting it: a host that reads several
// documents with one handler takes each root with take_root_element().
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_SAX_TREE_HANDLER {
public:
    VORN_XML_ELEMENT* root_element;               // owned; null until a root ends
    VORN_OBJ_LIST* element_stack;                 // owned, with its elements
    VORN_XML_SAX_EVENT_LISTENER* event_listener;  // not owned
    bool DOM_mode;                                // build the tree

    // An empty handler in DOM mode, without a listener.
    VORN_XML_SAX_TREE_HANDLER();
    VORN_XML_SAX_TREE_HANDLER(const VORN_XML_SAX_TREE_HANDLER&) = delete;
    VORN_XML_SAX_TREE_HANDLER& operator=(const VORN_XML_SAX_TREE_HANDLER&) = delete;

    // Deletes the open elements (with what had ended under them) and the
    // root.  The listener is left alone.
    virtual ~VORN_XML_SAX_TREE_HANDLER();

    // Passes the event to the listener; nothing else.
    virtual void process_start_document();

    // Passes the event to the listener; nothing else.
    virtual void process_end_document(const char* text);

    // DOM mode: makes an element named `name` with a copy of *attributes
    // (none when null) and pushes it as the innermost open element; the
    // caller's pointer and list are left alone.  Then tells the listener.
    virtual void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes);

    // DOM mode: takes the innermost open element off the stack and hangs it
    // under the element below it, or makes it the root when none is left.
    // `name` is not compared.  With no element open nothing changes.  Then
    // tells the listener, with the closed element (null when DOM mode is off
    // or nothing was open).
    virtual void process_end_element(const std::string& name);

    // DOM mode: replaces the text of the innermost open element (nothing
    // when none is open).  Then tells the listener.
    virtual void process_characters(const std::string& text);

    // The root of the last finished document; the handler still owns it.
    VORN_XML_ELEMENT* get_root_element() const { return root_element; }

    // Returns the root and clears root_element: the caller owns the tree.
    VORN_XML_ELEMENT* take_root_element()
    {
        VORN_XML_ELEMENT* root = root_element;
        root_element = nullptr;
        return root;
    }

    // Installs `listener` (null removes it); not owned.
    void set_event_listener(VORN_XML_SAX_EVENT_LISTENER* listener) { event_listener = listener; }
};

#endif
