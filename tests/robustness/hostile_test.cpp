// Hostile documents: extreme depth, length and repetition, and arbitrary
// bytes.  Each must parse or fail with messages, never crash or hang, and the
// number of characters read must stay linear in the document's size.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "vorn_test_support.h"

namespace {

namespace msg = vorn_test::msg;
constexpr char declaration[] = "<?xml version=\"1.0\"?>";

std::string repeat(const std::string& piece, std::size_t times)
{
    std::string out;
    while (times-- > 0)
        out += piece;
    return out;
}

struct RUN {
    bool ok = false;
    std::vector<std::string> errors;
    std::unique_ptr<VORN_XML_ELEMENT> root;
};

// Parses through a source that counts its calls and, when asked, through a
// string source as well, which must come to the same outcome, and writes
// the tree of a document that parsed back and reads it again.  Every parse
// succeeds or says why not, with no empty message, and reads each character
// once (the end-of-input mark a few times).  Arbitrary documents go through
// the recording handler, which keeps every top-level element, so that none
// leaks; the large ones have one and need no more than the plain handler.
RUN run(const std::string& document, bool compare_with_string_source = false)
{
    SCOPED_TRACE(document.size() < 4096 ? document : std::to_string(document.size()) + " bytes");
    vorn_test::BYTE_SOURCE bytes(document);
    VORN_XML_STRING_INPUT_SOURCE text(compare_with_string_source ? document : "");
    RUN runs[2];
    for (int i = 0; i < (compare_with_string_source ? 2 : 1); ++i) {
        const std::unique_ptr<VORN_XML_SAX_TREE_HANDLER> handler(
            compare_with_string_source ? new vorn_test::RECORDING_HANDLER : new VORN_XML_SAX_TREE_HANDLER);
        VORN_XML_SAX_PARSER parser;
        parser.set_tree_handler(handler.get());
        runs[i].ok = parser.parse(i == 0 ? static_cast<VORN_XML_SAX_INPUT_SOURCE*>(&bytes) : &text);
        runs[i].errors = vorn_test::error_messages(parser.get_error_handler());
        runs[i].root.reset(handler->take_root_element());
        EXPECT_TRUE(runs[i].ok || !runs[i].errors.empty());
        EXPECT_EQ(std::count(runs[i].errors.begin(), runs[i].errors.end(), ""), 0);
    }
    EXPECT_LE(bytes.calls, static_cast<long>(document.size()) + 4);
    if (compare_with_string_source) {
        EXPECT_EQ(std::make_pair(runs[1].ok, runs[1].errors), std::make_pair(runs[0].ok, runs[0].errors));
        if (runs[0].ok && runs[0].root != nullptr)
            vorn_test::expect_written_back(runs[0].root.get(), 0);
    }
    return std::move(runs[0]);
}

// Reading, writing back and freeing must all stay within the default stack.
TEST(hostile, a_million_levels_deep)
{
    const std::size_t depth = 1000000;
    const RUN closed = run(declaration + repeat("<a>", depth) + repeat("</a>", depth));
    ASSERT_TRUE(closed.ok);
    std::string written;
    ASSERT_TRUE(VORN_XML_WRITER().write(closed.root.get(), written));
    EXPECT_EQ(written, declaration + ("\n" + repeat("<a>", depth - 1) + "<a/>" + repeat("</a>", depth - 1) + "\n"));
}

TEST(hostile, huge_or_unfinished_constructs)
{
    const std::string comments = repeat("<!-- c -->", 200000);
    std::ostringstream distinct, one_name;
    std::string distinct_tree;
    std::map<std::string, std::string> sorted;
    for (int i = 0; i < 100000; ++i) {
        const std::string number = std::to_string(i);
        distinct << " n" << number << "=\"" << number << '"';
        sorted["n" + number] = number;
        std::string name = "abcdefghijklmnopq";  // each bit of i puts one letter in upper case
        for (std::size_t bit = 0; bit < name.size(); ++bit)
            name[bit] = static_cast<char>(name[bit] - ((i >> bit) & 1) * 32);
        one_name << ' ' << name << "=\"" << number << '"';
    }
    for (const auto& pair : sorted)
        distinct_tree += (distinct_tree.empty() ? "" : ",") + pair.first + "=" + pair.second;
    const std::string value = repeat("vvvvvvvvvv", 1000000);
    const std::vector<std::string> unclosed = {msg::needed("</", ""), msg::mismatch("a", "")};
    const struct {
        std::string document;
        std::vector<std::string> errors;
        std::string tree;
    } cases[] = {
        {comments + "<a>" + comments + "<b/>" + comments + "</a>" + comments, {}, "a[b]"},
        {"<a" + distinct.str() + "/>", {}, "a{" + distinct_tree + "}"},
        {"<a" + one_name.str() + "/>", {}, "a{abcdefghijklmnopq=99999}"},  // the first spelling, the last value
        {"<a>" + repeat("x &amp; y ", 1000000) + "</a>", {}, "a(\"" + repeat("x & y ", 1000000) + "\")"},
        {"<a b=\"" + value + "\"/>", {}, "a{b=" + value + "}"},
        {repeat("<a>", 1000000), unclosed, ""},  // the open elements are the handler's to free
        {"<a><!-- never closed", unclosed, ""},
        {"<a/><!-- never closed", {}, "a"},
        {"<a b=\"never closed", {msg::unquoted, msg::no_value("b")}, ""},
        {"<a>text \"never closed", unclosed, ""},
    };
    for (const auto& c : cases) {
        const RUN result = run(declaration + c.document);
        const std::string tree = vorn_test::dump_tree(result.root.get());
        EXPECT_EQ(std::make_pair(result.ok, result.errors), std::make_pair(c.errors.empty(), c.errors))
            << c.document.substr(0, 60);
        EXPECT_TRUE(tree == c.tree) << tree.substr(0, 60) << " from " << c.document.substr(0, 60);
    }
}

// Records the heap in use at every element's end and at the end of the
// document; the largest value is a close lower bound of the peak.
class HEAP_WATCH : public VORN_XML_SAX_EVENT_LISTENER {
public:
    static std::size_t in_use()
    {
        const struct mallinfo2 info = mallinfo2();
        return info.uordblks + info.hblkhd;
    }
    std::size_t before = in_use(), peak = before;
    void process_end_element(VORN_XML_ELEMENT* /*element*/) override { peak = std::max(peak, in_use()); }
    void process_end_document(const char* /*text*/) override { peak = std::max(peak, in_use()); }
};

TEST(hostile, hundred_megabyte_file)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "measured in the plain build: the sanitizer's allocator is not what mallinfo2 reports on";
#endif
    vorn_test::TEMP_DIR dir;
    const std::string record = "<item id=\"12345\" kind=\"sample\">" + std::string(200, 't') + "</item>\n";
    const std::size_t records = std::size_t{100} * 1000 * 1000 / record.size();
    const std::string path = dir.write("big.xml", declaration + ("<list>\n" + repeat(record, records) + "</list>\n"));
    const double size = static_cast<double>(records * record.size());
    HEAP_WATCH watch;
    {
        VORN_XML_SAX_PARSER parser;
        parser.get_tree_handler()->set_event_listener(&watch);
        VORN_XML_FILE_INPUT_SOURCE source(path);
        ASSERT_TRUE(parser.parse(&source));
        EXPECT_EQ(parser.get_tree_handler()->get_root_element()->subelement_list->get_count(),
                  static_cast<long>(records));
    }
    const double multiple = static_cast<double>(watch.peak - watch.before) / size;
    std::printf("peak heap while reading a %.0f MB file: %.2f times its size\n", size / 1e6, multiple);
    // The source keeps the text it read (1x, more while the string grows) and
    // the tree holds each record's element, text and attribute copy.
    EXPECT_LT(multiple, 5.0);
}

// Every byte value inserted at and put in place of every position of a small
// document, and random binary data.
TEST(hostile, arbitrary_bytes)
{
    const std::string valid = declaration + std::string("<a x=\"1\"><b/>hi &amp; bye</a>");
    for (std::size_t at = 0; at <= valid.size() && !HasFailure(); ++at) {
        for (int byte = 0; byte < 256 && !HasFailure(); ++byte) {
            const std::string head = valid.substr(0, at) + static_cast<char>(byte);
            run(head + valid.substr(at), true);
            run(head + valid.substr(std::min(at + 1, valid.size())), true);
        }
    }
    std::mt19937 rng(20240611);
    for (int i = 0; i < 3000 && !HasFailure(); ++i) {
        std::string document = i % 2 == 0 ? declaration + std::string("<a>") : "";
        for (std::size_t n = rng() % 2048; n > 0; --n)
            document += static_cast<char>(rng());
        run(document, true);
    }
}

}  // namespace
