// libFuzzer target for paths: every input is compiled as a path.
//
// Invariants checked (a failed check aborts, which the fuzzer reports):
// - a refused path has a message "position N: expected ..." with N at most
//   one past the input's end, and selects nothing;
// - an accepted path selects the same elements from a fixed tree whether
//   the tree is queried (all, or the first) or its document is read with
//   the streaming handler, in the same order.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <vorn_xml.h>

namespace {

void check(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

const char document[] = "<?xml version=\"1.0\"?><a n=\"0\"><b n=\"1\" k=\"x\"><a n=\"2\">t</a><b n=\"3\"/></b>"
                        "<c n=\"4\" K=\"y\"><b n=\"5\"><b n=\"6\" k=\"\"/></b></c><b n=\"7\">t</b></a>";

class COLLECTOR : public VORN_XML_PATH_HANDLER {
public:
    using VORN_XML_PATH_HANDLER::VORN_XML_PATH_HANDLER;
    std::vector<std::string> found;
    void process_match(VORN_XML_ELEMENT* match, bool nested) override
    {
        (void)nested;
        found.push_back(match->get_case_insensitive_attrib_val("n"));
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static VORN_XML_ELEMENT* const root = [] {
        VORN_XML_SAX_PARSER parser;
        VORN_XML_STRING_INPUT_SOURCE source(document);
        check(parser.parse(&source), "the fixed document is refused");
        return parser.get_tree_handler()->take_root_element();
    }();

    VORN_XML_PATH path;
    const bool ok = path.compile(std::string(reinterpret_cast<const char*>(data), size));
    check(ok == path.is_valid(), "compile() and is_valid() disagree");
    if (!ok) {
        unsigned long at = 0;
        check(std::sscanf(path.get_error_message().c_str(), "position %lu: expected ", &at) == 1,
              "a message without a position");
        check(at >= 1 && at <= size + 1, "a position outside the path");
        check(path.find_first(root) == nullptr, "a refused path selects something");
        return 0;
    }
    check(path.get_error_message().empty(), "an accepted path with a message");
    path.absolute = true;  // as the streaming handler reads it
    std::vector<VORN_XML_ELEMENT*> found;
    path.find_all(root, found);
    check(path.find_first(root) == (found.empty() ? nullptr : found[0]), "find_first() is not the first of find_all()");
    if (!path.get_streaming_problem().empty())
        return 0;
    COLLECTOR collector(path);
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&collector);
    VORN_XML_STRING_INPUT_SOURCE source(document);
    check(parser.parse(&source), "the fixed document is refused while streaming");
    std::vector<std::string> expected;
    for (VORN_XML_ELEMENT* element : found)
        expected.push_back(element->get_case_insensitive_attrib_val("n"));
    check(collector.found == expected, "the stream and the tree select differently");
    return 0;
}
