// libFuzzer target for the standard reader: every input is read twice, once
// into the default tree and once by the canonical handler with no tree, and
// what was accepted is written and read again.
//
// Invariants checked (a failed check aborts, which the fuzzer reports):
// - a refused document has exactly one new message, not empty, and a
//   failure position (line and column from 1); an accepted one has none;
// - both readings give the same result, unless the tree alone refuses (two
//   attribute names that differ only in letter case), and then its message
//   says so;
// - the canonical form is a fixed point: read as a document it is accepted
//   and gives itself again;
// - the tree, written by the standard writer, reads back to the same tree;
// - nothing leaks, nothing overflows (the sanitizers).
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include <vorn_xml.h>

#include "fuzz_text.h"

namespace {

void check(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

// The tree as one line per element: depth, name, attributes and text.
std::string describe(VORN_XML_ELEMENT* root)
{
    std::string out;
    for (VORN_XML_TREE_WALK walk(root); walk.next();) {
        if (!walk.is_entering())
            continue;
        VORN_XML_ELEMENT* element = walk.get_element();
        out += std::to_string(walk.get_depth()) + " " + element->get_element_name() +
               attributes_text(element->attrib_list) + " \"" + element->get_element_data() + "\"\n";
    }
    return out;
}

// Reads `document`; checks what a result says about messages and position.
bool read(VORN_XML_STANDARD_PARSER& parser, const std::string& document, std::string* message)
{
    VORN_XML_STRING_INPUT_SOURCE source(document);
    const bool ok = parser.parse(&source);
    VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
    check(errors != nullptr, "no collector after a parse");
    if (ok) {
        check(!errors->has_error_messages(), "messages after an accepted document");
        check(parser.get_error_line() == 0 && parser.get_error_column() == 0, "a failure position after success");
        return true;
    }
    check(errors->error_message_list.size() == 1, "not exactly one message for a refused document");
    errors->reset_error_message_list();
    const std::string text = errors->get_next_error_message();
    check(!text.empty(), "an empty message");
    check(parser.get_error_line() >= 1 && parser.get_error_column() >= 1, "no failure position");
    if (message != nullptr)
        *message = text;
    return false;
}

std::string canonical(const std::string& document, bool& ok)
{
    std::ostringstream out;
    VORN_XML_CANONICAL_HANDLER handler(out);
    VORN_XML_STANDARD_PARSER parser;
    parser.set_tree_handler(&handler);
    ok = read(parser, document, nullptr);
    return ok ? out.str() : std::string();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string document(reinterpret_cast<const char*>(data), size);

    bool streamed = false;
    const std::string form = canonical(document, streamed);

    VORN_XML_STANDARD_PARSER parser;
    std::string message;
    const bool built = read(parser, document, &message);
    if (!built) {
        check(!streamed || message.find("case") != std::string::npos,
              "the tree refuses a document the events accept, for another reason than letter case");
        return 0;
    }
    check(streamed, "the tree accepts a document the events refuse");

    bool again = false;
    check(canonical(form, again) == form && again, "the canonical form does not read back as itself");

    VORN_XML_ELEMENT* root = parser.get_tree_handler()->get_root_element();
    check(root != nullptr, "an accepted document without a root");
    VORN_XML_STANDARD_WRITER writer(static_cast<int>(size % 3));
    std::string written;
    if (!writer.write(root, written)) {
        // Only a name or text the writer cannot express; nothing the reader
        // accepted has that, except text of white space alone, which the
        // tree does not keep.
        std::fprintf(stderr, "%s\n", writer.error_message.c_str());
        check(false, "the writer refuses a tree the reader built");
    }
    VORN_XML_STANDARD_PARSER reread;
    check(read(reread, written, nullptr), "the written document is refused");
    check(describe(reread.get_tree_handler()->get_root_element()) == describe(root),
          "the written document reads back to another tree");
    return 0;
}
