// vornxml tool: the pieces of the command-line tool and how they meet.
//
//   vornxml_main.cpp       main(): reads the command line, runs each file
//   command_line.cpp       options, the help text and the version
//   escape.cpp             how text is shown (quoted, C escapes)
//   driver.cpp             one file: open, parse, report errors with places
//   mode_tree.cpp          the default: print each element tree
//   mode_events.cpp        --events: print events as they come
//   mode_format.cpp        --format: write the document back, indented
//   mode_canonical.cpp     --canonical: the canonical form, as it is read
//   mode_quiet.cpp         --quiet: the exit status alone
//   mode_select.cpp        --select PATH: the elements a path selects
//
// A mode is a DOCUMENT_MODE made afresh for each file; a new mode is one
// file of its own plus one row in the table of command_line.cpp.
#ifndef VORNXML_TOOL_H
#define VORNXML_TOOL_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <vorn_xml.h>

namespace vornxml_tool {

// One way of reading a document: the handler that receives its events, and
// what is printed once the whole document was accepted.
class DOCUMENT_MODE {
public:
    DOCUMENT_MODE() = default;
    DOCUMENT_MODE(const DOCUMENT_MODE&) = delete;
    DOCUMENT_MODE& operator=(const DOCUMENT_MODE&) = delete;
    virtual ~DOCUMENT_MODE() = default;

    // The handler the parser reports to; the mode owns it.
    virtual VORN_XML_SAX_TREE_HANDLER& handler() = 0;
    // True when the handler builds element trees (DOM mode on).  A mode
    // that builds none reads any document in constant memory.
    virtual bool builds_tree() const = 0;
    // True when the mode prints nothing at all, not even errors.
    virtual bool silent() const { return false; }
    // True when, with several files, the output of each one is headed by a
    // line ==> FILE <==.
    virtual bool headed() const { return true; }
    // Called after a document was accepted; prints what the mode prints
    // then.  `label` names the document in messages.  Returns the exit
    // status for the document: 0, or 1 when it could not be printed.
    virtual int finish(const std::string& label)
    {
        (void)label;
        return 0;
    }
};

// Builds the tree as the default handler does, but takes each top-level
// element over as it ends: a document may hold several, and the handler
// alone keeps only the last one.  The tree and format modes read with it.
class ROOT_COLLECTOR : public VORN_XML_SAX_TREE_HANDLER {
public:
    std::vector<std::unique_ptr<VORN_XML_ELEMENT>> roots;  // in document order

    void process_end_element(const std::string& name) override;
};

std::unique_ptr<DOCUMENT_MODE> make_tree_mode();
std::unique_ptr<DOCUMENT_MODE> make_events_mode();
std::unique_ptr<DOCUMENT_MODE> make_format_mode();
std::unique_ptr<DOCUMENT_MODE> make_standard_format_mode();
std::unique_ptr<DOCUMENT_MODE> make_canonical_mode();
std::unique_ptr<DOCUMENT_MODE> make_quiet_mode();

// How --select shows what it found (FORMAT writes for the dialect,
// STANDARD_FORMAT standard XML).
enum class SELECT_OUTPUT { TREE, FORMAT, STANDARD_FORMAT, COUNT };

// --select: the elements `path` selects, read from the document (a relative
// path as if it began with "/"), shown as `output` says.  The path must be
// valid.
std::unique_ptr<DOCUMENT_MODE> make_select_mode(std::shared_ptr<const VORN_XML_PATH> path, SELECT_OUTPUT output);

// Makes the mode for one file.
using MODE_MAKER = std::function<std::unique_ptr<DOCUMENT_MODE>()>;

// What the command line asked for.
struct COMMAND {
    MODE_MAKER make_mode = make_tree_mode;
    std::vector<std::string> files;
    VORN_XML_LIMITS limits = VORN_XML_LIMITS::tool_defaults();  // --max-*, --huge
    bool standard = false;                                      // --standard: read standard XML 1.0
};

// Reads the arguments into `command`.  Returns -1 to go on and read the
// files; otherwise the tool is done (help or version printed, or a usage
// error reported) and the result is its exit status.
int read_command_line(int argc, char** argv, COMMAND& command);

// `text` between double quotes, with quotes, backslashes, control
// characters and bytes from 0x7F up written as C escapes.
std::string quoted(const std::string& text);

// Prints the tree under `root` as the default mode does: one element a
// line, indented by its depth below `root`.
void print_tree(VORN_XML_ELEMENT* root);

// Writes `line` and a line feed to standard output.
void put_line(std::string line);

// Reads the document at `path` ("-" is standard input) with a mode made by
// `make_mode` and reports on it; `several` heads the output with the file
// name; `standard` reads standard XML 1.0 instead of the dialect, and the
// dialect's parser keeps to `limits`.  Returns the exit status for this
// file: 0 read, 1 refused or not printable, 2 unreadable.
int read_document(const std::string& path, const MODE_MAKER& make_mode, bool several, bool standard,
                  const VORN_XML_LIMITS& limits);

}  // namespace vornxml_tool

#endif
