// Where a failed parse is reported, through every kind of source wrapped in
// the counting source.
#include <gtest/gtest.h>

#include <memory>

#include "vorn_test_support.h"

namespace {

using vorn_test::SOURCE_KIND;

struct WRAPPED {
    std::unique_ptr<vorn_test::TEMP_DIR> dir;
    std::unique_ptr<VORN_XML_SAX_INPUT_SOURCE> inner;
};

WRAPPED make_source(SOURCE_KIND kind, const std::string& doc)
{
    WRAPPED w;
    if (kind == SOURCE_KIND::STRING) {
        w.inner = std::make_unique<VORN_XML_STRING_INPUT_SOURCE>(doc);
    } else if (kind == SOURCE_KIND::BYTES) {
        w.inner = std::make_unique<vorn_test::BYTE_SOURCE>(doc);
    } else {
        w.dir = std::make_unique<vorn_test::TEMP_DIR>();
        w.inner = std::make_unique<VORN_XML_FILE_INPUT_SOURCE>(w.dir->write("doc.xml", doc));
    }
    return w;
}

const char* const decl = "<?xml version=\"1.0\"?>\n";

struct CASE {
    std::string doc;
    uint64_t line;
    uint64_t column;
};

TEST(position, failure_points_at_the_start_of_the_failing_token)
{
    const CASE cases[] = {
        {"", 1, 1},                                               // end of input
        {"  <root/>", 1, 4},                                      // name where "?" belongs
        {"\n\n<?xml version=\"1.1\"?>\n  <a/>", 4, 3},            // token after the declaration
        {std::string(decl) + "<a x=\"1\" y>\n</a>", 2, 11},       // ">" where "=" belongs
        {std::string(decl) + "<a x=\"1\" y=\"2\" z=5/>", 2, 18},  // number where a value belongs
        {std::string(decl) + "<a>\n  <b>x</c>\n</a>", 3, 7},      // mismatched end tag
        {std::string(decl) + "<a><b></a></b>", 2, 7},             // the token after it is "</" too
        {std::string(decl) + "<a><b></a><!-- c --> <x/>", 2, 7},
        {std::string(decl) + "<a>\tx<!-- c -->y</a>", 2, 16},  // text after a comment
        {std::string(decl) + "<a>:</a>", 2, 4},                // unknown character
        {std::string(decl) + "<a x=\"1\n2", 2, 6},             // quoted string cut off: its quote
        {std::string(decl) + "<a>\"q\"\"r\"<b/></a>", 2, 10},  // the "<" after the run
        {std::string(decl) + "<a/> </c>", 2, 6},               // stray end tag at the top level
        {std::string(decl) + "<a>text", 2, 8},                 // end of input after the run
        {std::string(decl) + "<a>x\xE9\xE9</b>", 2, 7},        // bytes count as columns
        {"<?xml version=\"1.0\" \"a\"?>", 1, 21},              // a string where "?" belongs
        {"<?xml version=\"1.0\" \"a\"\"b\"?>", 1, 21},         // ... just before another
        {std::string(decl) + "<a\n x = \"1\"\n y = 'v'/>", 4, 6},
    };
    for (const auto& c : cases) {
        for (const auto kind : {SOURCE_KIND::STRING, SOURCE_KIND::FILE, SOURCE_KIND::BYTES}) {
            WRAPPED w = make_source(kind, c.doc);
            VORN_XML_COUNTING_INPUT_SOURCE source(*w.inner);
            VORN_XML_SAX_PARSER parser;
            ASSERT_FALSE(parser.parse(&source)) << c.doc;
            const VORN_XML_POSITION at = source.get_failure_position(parser);
            EXPECT_EQ(at.line, c.line) << c.doc << " kind " << static_cast<int>(kind);
            EXPECT_EQ(at.column, c.column) << c.doc << " kind " << static_cast<int>(kind);
        }
    }
}

TEST(position, wrapper_passes_the_document_and_its_text_through)
{
    const std::string doc = std::string(decl) + "<a x=\"1\">\n<b>t &amp; u</b>\n</a>\n";
    for (const auto kind : {SOURCE_KIND::STRING, SOURCE_KIND::FILE, SOURCE_KIND::BYTES}) {
        WRAPPED w = make_source(kind, doc);
        VORN_XML_COUNTING_INPUT_SOURCE source(*w.inner);
        EXPECT_TRUE(source.is_open);
        vorn_test::RECORDING_HANDLER handler;
        VORN_XML_SAX_PARSER parser;
        parser.set_tree_handler(&handler);
        ASSERT_TRUE(parser.parse(&source));
        EXPECT_EQ(vorn_test::dump_tree(handler.get_root_element()), "a{x=1}[b(\"t & u\")]");
        EXPECT_EQ(handler.end_document_text, w.inner->xml_text);
        EXPECT_EQ(handler.end_document_text, doc);
        const VORN_XML_POSITION end = source.get_reading_position();
        EXPECT_EQ(end.line, 5u);
        EXPECT_EQ(end.column, 1u);
        EXPECT_EQ(end.offset, doc.size());
    }
}

}  // namespace
