// The parser as a host drives it: refusals, repeated parses and who owns
// what.
#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "vorn_test_support.h"

namespace {

const char* const DECL = "<?xml version=\"1.0\"?>";

// Parses the declaration followed by `body`.
bool parse_text(VORN_XML_SAX_PARSER& parser, const std::string& body)
{
    VORN_XML_STRING_INPUT_SOURCE source(DECL + body);
    return parser.parse(&source);
}

struct COUNTED_HANDLER : VORN_XML_SAX_TREE_HANDLER {
    explicit COUNTED_HANDLER(int& deaths) : deaths(deaths) {}
    ~COUNTED_HANDLER() override { ++deaths; }
    int& deaths;
};

// Takes every attribute list over, as a listener of the tree handler may,
// once the tree has copied it.
struct TAKING_LISTENER : VORN_XML_SAX_EVENT_LISTENER {
    std::vector<std::unique_ptr<VORN_XML_ATTRIB_LIST>> taken;
    void process_start_element(const char* /*name*/, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        taken.emplace_back(std::exchange(attributes, nullptr));
    }
};

}  // namespace

// A refused parse reads nothing and reports nothing; each parse that starts
// reads its own source from the start, and the messages accumulate.
TEST(driver, refusals_and_repeated_parses)
{
    vorn_test::RECORDING_HANDLER handler;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&handler);
    VORN_XML_FILE_INPUT_SOURCE missing("/nonexistent/missing.xml");
    EXPECT_FALSE(parser.parse(nullptr) || parser.parse(&missing));
    parser.set_tree_handler(nullptr);
    VORN_XML_STRING_INPUT_SOURCE good(std::string(DECL) + "<a/>");
    EXPECT_FALSE(parser.parse(&good));
    EXPECT_EQ(good.string_pos, 0u);
    EXPECT_TRUE(handler.events.empty());
    EXPECT_EQ(parser.get_error_handler(), nullptr);

    // The first parse stops on an unknown character, the second at the end of
    // its input; neither leaves anything behind for the next one to read.
    parser.set_tree_handler(&handler);
    for (const char* doc : {"<a>:", "<b/>", "<c></c"})
        EXPECT_EQ(parse_text(parser, doc), doc[1] != 'a') << doc;
    EXPECT_EQ(handler.events, (std::vector<std::string>{"start-document", "start a {}", "chars :", "start-document",
                                                        "start b {}", "end b", "end-document", "start-document",
                                                        "start c {}", "end c", "end-document"}));
    using namespace vorn_test::msg;
    EXPECT_EQ(vorn_test::error_messages(parser.get_error_handler()),
              (std::vector<std::string>{needed("</", ":"), mismatch("a", ""), needed(">", "")}));
}

// A host's handler is never deleted by the parser; one the parser owns is
// deleted exactly once: when another is installed, or else with the parser.
TEST(driver, handler_ownership)
{
    int deaths = 0;
    auto* host = new COUNTED_HANDLER(deaths);
    for (const bool replace : {false, true}) {
        VORN_XML_SAX_PARSER parser;
        parser.set_tree_handler(new COUNTED_HANDLER(deaths));
        parser.owns_tree_handler = true;  // as though the parser had made it
        EXPECT_TRUE(parse_text(parser, "<a><b/></a>"));
        if (replace) {
            parser.set_tree_handler(host);
            EXPECT_EQ(deaths, 2);
            EXPECT_TRUE(parse_text(parser, "<a/>"));
        }
    }
    EXPECT_EQ(deaths, 2);
    EXPECT_EQ(vorn_test::dump_tree(host->get_root_element()), "a");  // the tree outlives the parser
    delete host;
}

// The list goes from the parser through the tree handler to its listener,
// and the parser frees it no more.
TEST(driver, a_listener_may_take_the_attribute_list_over)
{
    TAKING_LISTENER listener;
    VORN_XML_SAX_PARSER parser;
    parser.get_tree_handler()->set_event_listener(&listener);
    EXPECT_TRUE(parse_text(parser, "<a x=\"1\"><b y=\"2\"/></a>"));
    EXPECT_EQ(parser.current_attrib_list, nullptr);
    ASSERT_EQ(listener.taken.size(), 2u);
    EXPECT_EQ(listener.taken[1]->attrib_map.at("y"), "2");
    EXPECT_EQ(vorn_test::dump_tree(parser.get_tree_handler()->get_root_element()), "a{x=1}[b{y=2}]");
}
