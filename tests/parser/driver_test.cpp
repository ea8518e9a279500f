#include "parser_cases.h"

using parser_cases::DECL;

namespace {
const char* const EXTRA = "Extra input found after the root end tag";
}  // namespace

TEST(driver, top_level_content)
{
    parser_cases::check({
        {"", true, {}, {}},
        {"<a/><b/>", true, {}, {"start a {}", "end a", "start b {}", "end b"}},
        {"<a/>tail", true, {}, {"start a {}", "end a", "chars tail"}},
        {"<a/>\xFF<b>", true, {}, {"start a {}", "end a"}},
        {"<a/><!-- open", true, {}, {"start a {}", "end a"}},
        {"<a/>\"tail", true, {"Unexpected end of a quoted string encountered"}, {"start a {}", "end a", "chars tail"}},
        {"<a/></b>", false, {EXTRA}, {"start a {}", "end a"}},
        {"text<a/>", false, {EXTRA}, {"chars text"}},
        {"<a/>:", false, {EXTRA}, {"start a {}", "end a", "chars :"}},
        {"<a/>x<!-- -->y", false, {EXTRA}, {"start a {}", "end a", "chars x"}},
    });
}

TEST(driver, end_document_receives_the_text_read)
{
    EXPECT_EQ(vorn_test::parse_all_ways(DECL + "<a>\r\n</a>").end_document_text, DECL + "<a>\r\n</a>");
}

TEST(driver, refusals_change_nothing)
{
    vorn_test::RECORDING_HANDLER handler;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&handler);
    VORN_XML_FILE_INPUT_SOURCE missing("/nonexistent/missing.xml");
    EXPECT_FALSE(parser.parse(nullptr));
    EXPECT_FALSE(parser.parse(&missing));
    parser.set_tree_handler(nullptr);
    VORN_XML_STRING_INPUT_SOURCE good(DECL + "<a/>");
    EXPECT_FALSE(parser.parse(&good));
    EXPECT_EQ(good.string_pos, 0u);
    EXPECT_TRUE(handler.events.empty());
    EXPECT_EQ(parser.get_error_handler(), nullptr);
}

TEST(driver, each_parse_reads_its_own_source_from_the_start)
{
    vorn_test::RECORDING_HANDLER handler;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&handler);
    // The first parse stops on an unknown character, the second at the end
    // of its input; neither leaves anything behind for the next one to read.
    for (const char* doc : {"<a>:", "<b/>", "<c></c"}) {
        VORN_XML_STRING_INPUT_SOURCE source(DECL + doc);
        EXPECT_EQ(parser.parse(&source), doc[1] != 'a') << doc;
    }
    EXPECT_EQ(handler.events, (std::vector<std::string>{"start-document", "start a {}", "chars :", "start-document",
                                                        "start b {}", "end b", "end-document", "start-document",
                                                        "start c {}", "end c", "end-document"}));
    // The messages of every parse accumulate in the one collector.
    EXPECT_EQ(
        vorn_test::error_messages(parser.get_error_handler()),
        (std::vector<std::string>{"Error: </ was needed but got :", "Start (a) and end tag () identifiers do not match",
                                  "Error: > was needed but got "}));
}

// The two large documents below go through the string source only, to keep
// the run short; both must stay within the default stack.
TEST(driver, a_million_levels_deep)
{
    const int depth = 1000000;
    std::string doc = DECL;
    for (int i = 0; i < depth; ++i)
        doc += "<a>";
    for (int i = 0; i < depth; ++i)
        doc += "</a>";
    VORN_XML_SAX_PARSER parser;
    VORN_XML_STRING_INPUT_SOURCE source(std::move(doc));
    ASSERT_TRUE(parser.parse(&source));
    EXPECT_FALSE(parser.get_error_handler()->has_error_messages());
    int levels = 0;
    for (VORN_XML_ELEMENT* e = parser.get_tree_handler()->get_root_element(); e != nullptr;
         e = e->get_first_sub_element())
        ++levels;
    EXPECT_EQ(levels, depth);
}  // the parser's handler frees the tree here

TEST(driver, two_hundred_thousand_comments)
{
    std::string doc = DECL + "<a>";
    for (int i = 0; i < 200000; ++i)
        doc += "<!-- c -->";
    VORN_XML_SAX_PARSER parser;
    VORN_XML_STRING_INPUT_SOURCE source(doc + "x</a>");
    ASSERT_TRUE(parser.parse(&source));
    EXPECT_FALSE(parser.get_error_handler()->has_error_messages());
    EXPECT_EQ(parser.get_tree_handler()->get_root_element()->get_element_data(), "x");
}
