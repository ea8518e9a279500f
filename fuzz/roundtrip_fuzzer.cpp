// libFuzzer target: the writer's round trip.  Every input the parser accepts
// with a tree is written back (on one line, then indented) and read again.
//
// Invariants checked (a failed check aborts, which the fuzzer reports):
// - a tree the writer takes reads back accepted, to the same tree: names,
//   attributes, text and sub-elements, in order;
// - writing the tree read back gives the very same document (the writer's
//   output is a fixed point);
// - a refused write appends nothing and says why.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

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

// The whole tree as text, walked without recursion: each element's name,
// attributes and text on entering, a closing mark on leaving.
std::string tree_text(VORN_XML_ELEMENT* root)
{
    std::string text;
    for (VORN_XML_TREE_WALK walk(root); walk.next();) {
        const VORN_XML_ELEMENT* element = walk.get_element();
        if (!walk.is_entering()) {
            text += ")";
            continue;
        }
        text += "(" + element->element_name + attributes_text(element->attrib_list);
        text += std::to_string(element->element_data.size()) + ":" + element->element_data;
    }
    return text;
}

// Takes each top-level element over as it ends (a document may hold
// several; the handler keeps only the last).
class ROOTS : public VORN_XML_SAX_EVENT_LISTENER {
public:
    explicit ROOTS(VORN_XML_SAX_TREE_HANDLER* handler) : handler(handler) {}
    void process_end_element(VORN_XML_ELEMENT* element) override
    {
        if (element != nullptr && element == handler->get_root_element())
            taken.emplace_back(handler->take_root_element());
    }
    VORN_XML_SAX_TREE_HANDLER* handler;
    std::vector<std::unique_ptr<VORN_XML_ELEMENT>> taken;
};

// Parses `document`; its one top-level element (owned by the caller), or
// null when the document is refused or has not exactly one.
std::unique_ptr<VORN_XML_ELEMENT> read(const std::string& document)
{
    VORN_XML_SAX_PARSER parser;
    ROOTS roots(parser.get_tree_handler());
    parser.get_tree_handler()->set_event_listener(&roots);
    VORN_XML_STRING_INPUT_SOURCE source(document);
    if (!parser.parse(&source) || roots.taken.size() != 1)
        return nullptr;
    return std::move(roots.taken.front());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::unique_ptr<VORN_XML_ELEMENT> root = read(std::string(reinterpret_cast<const char*>(data), size));
    if (root == nullptr)
        return 0;
    const std::string original = tree_text(root.get());
    for (int indent : {0, 2}) {
        VORN_XML_WRITER writer(indent);
        std::string written = "kept";
        if (!writer.write(root.get(), written)) {
            check(written == "kept", "a refused write appended to its output");
            check(!writer.error_message.empty(), "a refused write gave no reason");
            return 0;
        }
        written.erase(0, 4);
        const std::unique_ptr<VORN_XML_ELEMENT> again = read(written);
        check(again != nullptr, "the written document was refused");
        check(tree_text(again.get()) == original, "the written document reads back to another tree");
        std::string rewritten;
        check(writer.write(again.get(), rewritten), "the tree read back could not be written");
        check(rewritten == written, "writing the tree read back gave another document");
    }
    return 0;
}
