// Hostile documents: extreme depth, length and repetition, and arbitrary
// bytes.  Each must parse or fail with messages, never crash or hang, and the
// number of characters read must stay linear in the document's size.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "vorn_test_support.h"

namespace {

const std::string& declaration()
{
    static const std::string text = "<?xml version=\"1.0\"?>";
    return text;
}

std::string repeat(const std::string& piece, std::size_t times)
{
    std::string out;
    out.reserve(piece.size() * times);
    for (std::size_t i = 0; i < times; ++i)
        out += piece;
    return out;
}

// Takes each top-level element over as it ends, so that documents with
// several top-level elements leak nothing; keeps the last one.
class KEEPING_HANDLER : public VORN_XML_SAX_TREE_HANDLER {
public:
    std::unique_ptr<VORN_XML_ELEMENT> last_root;

    void process_end_element(const std::string& name) override
    {
        VORN_XML_SAX_TREE_HANDLER::process_end_element(name);
        if (root_element != nullptr)
            last_root.reset(take_root_element());
    }
};

struct RUN {
    bool ok = false;
    std::vector<std::string> errors;
    long reads = 0;  // get_next_char calls
    std::unique_ptr<VORN_XML_ELEMENT> root;
};

// A parse either succeeds or says why not, with no empty message, and reads
// each character once (plus the end-of-input mark a few times).
void expect_sane(const RUN& result, const std::string& document)
{
    EXPECT_TRUE(result.ok || !result.errors.empty());
    for (const std::string& message : result.errors)
        EXPECT_FALSE(message.empty());
    if (result.reads > 0) {
        EXPECT_LE(result.reads, static_cast<long>(document.size()) + 4);
    }
}

// Parses through a counting byte source, or a string source when asked,
// and checks the outcome with expect_sane.
RUN run(const std::string& document, bool string_source = false)
{
    RUN result;
    KEEPING_HANDLER handler;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&handler);
    if (string_source) {
        VORN_XML_STRING_INPUT_SOURCE source(document);
        result.ok = parser.parse(&source);
    } else {
        vorn_test::BYTE_SOURCE source(document);
        result.ok = parser.parse(&source);
        result.reads = source.calls;
    }
    result.errors = vorn_test::error_messages(parser.get_error_handler());
    result.root = std::move(handler.last_root);
    expect_sane(result, document);
    return result;
}

TEST(hostile, a_million_levels_deep)
{
    const std::size_t depth = 1000000;
    const std::string opened = declaration() + repeat("<a>", depth);
    const std::string document = opened + repeat("</a>", depth);

    const RUN closed = run(document);
    ASSERT_TRUE(closed.ok);
    std::size_t levels = 0;
    for (VORN_XML_ELEMENT* e = closed.root.get(); e != nullptr; e = e->get_first_sub_element())
        ++levels;
    EXPECT_EQ(levels, depth);

    // Left open: the million open elements are the handler's to free.
    const RUN unclosed = run(opened);
    EXPECT_FALSE(unclosed.ok);
    EXPECT_EQ(unclosed.errors, (std::vector<std::string>{"Error: </ was needed but got ",
                                                         "Start (a) and end tag () identifiers do not match"}));
}

TEST(hostile, two_hundred_thousand_comments)
{
    const std::string comments = repeat("<!-- c -->", 200000);
    const std::string document = declaration() + comments + "<a>" + comments + "<b/>" + comments + "</a>" + comments;
    const RUN result = run(document);
    EXPECT_TRUE(result.ok);
    EXPECT_EQ(vorn_test::dump_tree(result.root.get()), "a[b]");
}

TEST(hostile, constructs_left_open_at_the_end)
{
    const struct {
        std::string tail;
        std::vector<std::string> errors;
    } cases[] = {
        {"<a><!-- never closed",
         {"Error: </ was needed but got ", "Start (a) and end tag () identifiers do not match"}},
        {"<a/><!-- never closed", {}},
        {"<a b=\"never closed",
         {"Unexpected end of a quoted string encountered", "Attribute value is missing for attribute : b"}},
        {"<a>text \"never closed",
         {"Error: </ was needed but got ", "Start (a) and end tag () identifiers do not match"}},
    };
    for (const auto& c : cases) {
        const RUN result = run(declaration() + c.tail);
        EXPECT_EQ(result.ok, c.errors.empty()) << c.tail;
        EXPECT_EQ(result.errors, c.errors) << c.tail;
    }
}

TEST(hostile, a_hundred_thousand_attributes_in_one_tag)
{
    const int count = 100000;
    std::string distinct = declaration() + "<a";
    std::string one_name = declaration() + "<a";
    for (int i = 0; i < count; ++i) {
        distinct += " n" + std::to_string(i) + "=\"" + std::to_string(i) + "\"";
        std::string name = "abcdefghijklmnopq";  // each bit of i puts one letter in upper case
        for (int bit = 0; bit < 17; ++bit)
            if ((i >> bit) & 1)
                name[static_cast<std::size_t>(bit)] = static_cast<char>(name[static_cast<std::size_t>(bit)] - 32);
        one_name += " " + name + "=\"" + std::to_string(i) + "\"";
    }
    const RUN many = run(distinct + "/>");
    ASSERT_TRUE(many.ok);
    EXPECT_EQ(many.root->attrib_list->attrib_map.size(), static_cast<std::size_t>(count));
    std::string value;
    EXPECT_TRUE(many.root->get_attribute("N99999", value));
    EXPECT_EQ(value, "99999");

    const RUN repeated = run(one_name + "/>");
    ASSERT_TRUE(repeated.ok);
    ASSERT_EQ(repeated.root->attrib_list->attrib_map.size(), 1U);
    EXPECT_EQ(repeated.root->attrib_list->attrib_map.begin()->first, "abcdefghijklmnopq");
    EXPECT_EQ(repeated.root->attrib_list->attrib_map.begin()->second, "99999");
}

TEST(hostile, ten_megabyte_text_and_attribute_value)
{
    const std::size_t pieces = 1000000;  // 10 bytes each
    const std::string text = declaration() + "<a>" + repeat("x &amp; y ", pieces) + "</a>";
    const RUN in_text = run(text);
    ASSERT_TRUE(in_text.ok);
    EXPECT_EQ(in_text.root->get_element_data(), repeat("x & y ", pieces));

    const std::string value(10 * pieces, 'v');
    const std::string attribute = declaration() + "<a b=\"" + value + "\"/>";
    const RUN in_value = run(attribute);
    ASSERT_TRUE(in_value.ok);
    EXPECT_EQ(in_value.root->get_case_insensitive_attrib_val("b"), value);
}

// Records the heap in use at every element's end and at the end of the
// document; the largest value is a close lower bound of the peak.
class HEAP_WATCH : public VORN_XML_SAX_EVENT_LISTENER {
public:
    std::size_t peak = 0;
    void sample()
    {
        const struct mallinfo2 info = mallinfo2();
        peak = std::max(peak, info.uordblks + info.hblkhd);
    }
    void process_end_element(VORN_XML_ELEMENT* /*element*/) override { sample(); }
    void process_end_document(const char* /*text*/) override { sample(); }
};

TEST(hostile, hundred_megabyte_file)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "measured in the plain build: the sanitizer's allocator is not what mallinfo2 reports on";
#endif
    vorn_test::TEMP_DIR dir;
    const std::string path = dir.path + "/big.xml";
    const std::string record = "<item id=\"12345\" kind=\"sample\">" + std::string(200, 't') + "</item>\n";
    const std::size_t records = std::size_t{100} * 1000 * 1000 / record.size();
    {
        std::ofstream out(path, std::ios::binary);
        out << declaration() << "<list>\n";
        for (std::size_t i = 0; i < records; ++i)
            out << record;
        out << "</list>\n";
    }
    const auto size = static_cast<double>(std::filesystem::file_size(path));

    HEAP_WATCH watch;
    const struct mallinfo2 before = mallinfo2();
    {
        VORN_XML_SAX_PARSER parser;
        parser.get_tree_handler()->set_event_listener(&watch);
        VORN_XML_FILE_INPUT_SOURCE source(path);
        ASSERT_TRUE(parser.parse(&source));
        EXPECT_EQ(parser.get_tree_handler()->get_root_element()->subelement_list->get_count(),
                  static_cast<long>(records));
    }
    const double multiple = static_cast<double>(watch.peak - (before.uordblks + before.hblkhd)) / size;
    std::printf("peak heap while reading a %.0f MB file: %.2f times its size\n", size / 1e6, multiple);
    // The source keeps the text it read (1x, more while the string grows) and
    // the tree holds each record's element, text and attribute copy.
    EXPECT_LT(multiple, 5.0);
}

// Byte source and string source must come to the same outcome.
void expect_sources_agree(const std::string& document)
{
    const RUN bytes = run(document);
    const RUN string = run(document, true);
    ASSERT_EQ(bytes.ok, string.ok) << document;
    ASSERT_EQ(bytes.errors, string.errors) << document;
}

TEST(hostile, every_byte_at_every_position)
{
    const std::string valid = declaration() + "<a x=\"1\"><b/>hi &amp; bye</a>";
    for (std::size_t at = 0; at <= valid.size(); ++at) {
        for (int byte = 0; byte < 256; ++byte) {
            std::string inserted = valid;
            inserted.insert(at, 1, static_cast<char>(byte));
            std::string replaced = valid;
            if (at < valid.size())
                replaced[at] = static_cast<char>(byte);
            ASSERT_NO_FATAL_FAILURE(expect_sources_agree(inserted));
            ASSERT_NO_FATAL_FAILURE(expect_sources_agree(replaced));
        }
    }
}

TEST(hostile, random_binary_data)
{
    std::mt19937 rng(20240611);
    for (int i = 0; i < 3000; ++i) {
        std::string document = i % 2 == 0 ? declaration() + "<a>" : "";
        for (std::size_t n = rng() % 2048; n > 0; --n)
            document += static_cast<char>(rng());
        ASSERT_NO_FATAL_FAILURE(expect_sources_agree(document)) << i;
    }
}

}  // namespace
