// vornxml -- finding elements by path, in a tree or while a document is read.
#ifndef VORN_XML_PATH_H
#define VORN_XML_PATH_H

#include <cstdint>
#include <string>
#include <vector>

#include "vorn_xml_attrib.h"
#include "vorn_xml_element.h"
#include "vorn_xml_export.h"
#include "vorn_xml_tree.h"

// ---------------------------------------------------------------------------
// VORN_XML_PATH: a path compiled once and then run over any number of trees
// or documents.  docs/guide.md gives the grammar; in short:
//
//   /a/b       b sub-elements of the root a
//   a/b        relative: b sub-elements of the a sub-elements of the element
//              the path is run on
//   //b  a//b  b at any depth (below a)
//   *          any name
//   [@id]  [@id="7"]  an attribute present, or with exactly that value
//                     (names ignore ASCII case, values are compared as is)
//   [2]        the second of the elements the step has selected so far
//              under the same parent (steps are filtered left to right)
//   [text()="x"]      the element's text is exactly x
//
// Element names compare byte for byte.  Values are quoted with " or '.
// An absolute path run on an element takes that element as the root of the
// document; a relative one starts from the element's sub-elements.
//
// A compiled path does not change while it is run, so one path may serve
// several threads, each with matchers of its own.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_PATH {
public:
    // A path that matches nothing until compile() succeeds.
    VORN_XML_PATH() = default;
    // Compiles `text` as compile() does.
    explicit VORN_XML_PATH(const std::string& text) { compile(text); }
    VORN_XML_PATH(const VORN_XML_PATH&) = default;
    VORN_XML_PATH& operator=(const VORN_XML_PATH&) = default;
    virtual ~VORN_XML_PATH();

    // Compiles `text`.  True on success, with get_error_message() empty.  On
    // a malformed path false, with a message that names the position (the
    // first byte is 1) and what was expected there; the path then matches
    // nothing.  Never throws but std::bad_alloc, which leaves the path as it
    // was.
    bool compile(const std::string& text);

    // True after a successful compile().
    bool is_valid() const { return valid; }

    // Why the last compile() refused its text; empty when it did not.
    const std::string& get_error_message() const { return error_message; }

    // The text last given to compile().
    const std::string& get_text() const { return text; }

    // Why the path cannot be followed while a document is read (it tests an
    // element's text, which comes only at its end, or it is not valid);
    // empty when it can.
    std::string get_streaming_problem() const;

    // The first element in the tree of `context` (in document order) that
    // the path selects; null when none or `context` is null.  Stops at the
    // first.  The tree is walked with VORN_XML_TREE_WALK: no cursor moves,
    // the call stack stays flat at any depth, and each element is looked at
    // once at most.
    VORN_XML_ELEMENT* find_first(VORN_XML_ELEMENT* context) const;

    // Appends every element in the tree of `context` that the path selects to
    // `found`, in document order, each once.  On allocation failure `found`
    // holds what it held before and std::bad_alloc propagates.
    void find_all(VORN_XML_ELEMENT* context, std::vector<VORN_XML_ELEMENT*>& found) const;

    // -- The compiled form, read by VORN_XML_PATH_MATCHER.
    enum TEST : int { HAS_ATTRIBUTE, ATTRIBUTE_IS, POSITION_IS, TEXT_IS };
    struct PREDICATE {
        TEST test;
        std::string name;  // the attribute's
        std::string value;
        long position;  // POSITION_IS: from 1
        long counter;   // POSITION_IS: which of the matcher's counters
    };
    struct STEP {
        bool any_depth;    // reached through "//"
        std::string name;  // empty: any name
        std::vector<PREDICATE> predicates;
    };
    bool absolute = false;
    std::vector<STEP> steps;
    long counters = 0;  // the number of POSITION_IS predicates

private:
    bool valid = false;
    std::string text;
    std::string error_message = "no path compiled";
};

// ---------------------------------------------------------------------------
// VORN_XML_PATH_MATCHER: follows one path along a walk of elements, told
// each element as it is entered and left, and says at each entry whether
// the element is selected.  It is what find_first() and find_all() run on a
// tree and what VORN_XML_PATH_HANDLER runs on a document as it is read; a
// handler of one's own can run one too.  Memory grows with the depth of the
// walk only.  The path must outlive the matcher.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_PATH_MATCHER {
public:
    explicit VORN_XML_PATH_MATCHER(const VORN_XML_PATH& path);
    VORN_XML_PATH_MATCHER(const VORN_XML_PATH_MATCHER&) = delete;
    VORN_XML_PATH_MATCHER& operator=(const VORN_XML_PATH_MATCHER&) = delete;
    virtual ~VORN_XML_PATH_MATCHER();

    // Starts a walk.  `relative_context` true: the first element entered is
    // the context a relative path starts from (it is never selected itself,
    // and an absolute path is run as if it were the document's root).
    // False: every element entered at the top is a top-level element of the
    // document (as a document read from a source has), and relative paths
    // start from the document as absolute ones do.
    void start(bool relative_context);

    // Enters an element named `name`, with `attributes` (may be null) and,
    // when it is known, its `text` (null when not: TEXT_IS predicates then
    // fail).  True when the path selects the element.  Every entry is
    // followed by a leave() once the element's sub-elements have been
    // entered and left.
    bool enter(const std::string& name, const VORN_XML_ATTRIB_LIST* attributes, const std::string* text);

    // Leaves the element entered last.
    void leave();

    // True when, after the enter() of the current element, no element below
    // it can be selected: a walk may skip its sub-elements.
    bool is_dead_end() const;

    // As VORN_XML_PATH::find_first() and find_all(), reusing this matcher's
    // memory from query to query; each starts a walk of its own.
    VORN_XML_ELEMENT* find_first(VORN_XML_ELEMENT* context);
    void find_all(VORN_XML_ELEMENT* context, std::vector<VORN_XML_ELEMENT*>& found);

    // How many elements enter() has been told of since start(): for a query,
    // how many it looked at (sub-trees that cannot hold a match are skipped).
    long get_visit_count() const { return visits; }

private:
    // Walks the tree of `context`: returns the first match when `found` is
    // null, else appends every match to it and returns null.
    VORN_XML_ELEMENT* run(VORN_XML_ELEMENT* context, std::vector<VORN_XML_ELEMENT*>* found);
    // enter() in two parts, each counting the visit.  enter_quickly() does
    // the common entry of an element that reaches no step, returning 2 when
    // below it nothing can be selected (as is_dead_end() then says), else 0;
    // for any other entry it returns -1 and changes nothing.  enter_slowly()
    // does every entry, returning 1 when the element is selected, plus 2 as
    // above.  VORN_XML_PATH_HANDLER runs both per element read; the first
    // is inline, defined where it is used, in vorn_xml_path_matcher.cpp.
    inline int enter_quickly(const std::string& name);
    int enter_slowly(const std::string& name, const VORN_XML_ATTRIB_LIST* attributes, const std::string* text);
    friend class VORN_XML_PATH_HANDLER;

    const VORN_XML_PATH& path;
    std::size_t words;                // bitset words per set of steps
    std::vector<std::uint64_t> bits;  // the path's masks, then per level: open, above (see vorn_xml_path_matcher.cpp)
    std::vector<long> counts;         // per level: the POSITION_IS counters for its sub-elements
    std::size_t depth = 0;            // levels in use
    bool context_given = false;
    long visits = 0;
};

// ---------------------------------------------------------------------------
// VORN_XML_PATH_HANDLER: finds the elements a path selects while a document
// is read, building only those.  Install it with set_tree_handler(); it
// switches DOM_mode itself (off between matches, on from the start of a
// match to its end) and must not be switched by the host.  Memory is bounded
// by the largest match and the document's depth, not by its size.
//
// Paths are run from the document, relative ones as if they began with "/".
// The path must have no streaming problem (see
// VORN_XML_PATH::get_streaming_problem(); otherwise nothing is selected)
// and must outlive the handler.
//
// Matches are handed over as they end, through process_match(), in document
// order.  A match that lies inside another match comes right after that
// outer match, in the same event, as part of its tree.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_PATH_HANDLER : public VORN_XML_SAX_TREE_HANDLER {
public:
    // With `build_matches` false the matches are only counted: nothing is
    // built and process_match() is never called.
    explicit VORN_XML_PATH_HANDLER(const VORN_XML_PATH& path, bool build_matches = true);
    VORN_XML_PATH_HANDLER(const VORN_XML_PATH_HANDLER&) = delete;
    VORN_XML_PATH_HANDLER& operator=(const VORN_XML_PATH_HANDLER&) = delete;
    // Deletes a match under construction and any tree not taken.
    ~VORN_XML_PATH_HANDLER() override;

    // Called once per match with the finished element; `nested` is true for
    // a match inside the outer match handed over just before.  The handler
    // owns the outermost match's tree and deletes it after the last call for
    // it, unless the host takes it with take_match().  Does nothing by
    // default.
    virtual void process_match(VORN_XML_ELEMENT* match, bool nested);

    // During process_match(): the outermost match of the current event (the
    // one passed with nested false), now owned by the caller; null when it
    // was taken already or outside process_match().  Matches inside it stay
    // valid while the caller keeps it.
    VORN_XML_ELEMENT* take_match();

    // The number of matches handed over so far.
    long get_match_count() const { return matches; }

    // Start a new matcher walk; switch DOM mode off.
    void process_start_document() override;
    // Follows the path; a match switches DOM mode on.
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override;
    // Follows the path; the end of the outermost match hands the matches over
    // and switches DOM mode off.
    void process_end_element(const std::string& name) override;

private:
    // At the end of the outermost match: hands it and the matches inside it
    // over, then deletes it unless it was taken.
    void hand_over();
    // process_start_element() for an element the matcher cannot enter
    // quickly: it may be selected.
    void start_element_slowly(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes);

    VORN_XML_PATH_MATCHER matcher;
    bool usable;                                    // the path can be followed while reading
    bool building;                                  // matches are built and handed over
    std::size_t depth = 0;                          // open elements
    std::size_t dead_from = 0;                      // depth below which nothing can match; 0: none
    std::size_t match_depth = 0;                    // depth of the outermost open match; 0: none
    std::vector<VORN_XML_ELEMENT*> nested_matches;  // inside the open outermost match
    VORN_XML_ELEMENT* outer = nullptr;              // during process_match(), until taken
    long matches = 0;
};

#endif
