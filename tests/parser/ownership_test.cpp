#include <memory>

#include "parser_cases.h"

using parser_cases::DECL;

namespace {

struct COUNTED_HANDLER : VORN_XML_SAX_TREE_HANDLER {
    explicit COUNTED_HANDLER(int& deaths) : deaths(deaths) {}
    ~COUNTED_HANDLER() override { ++deaths; }
    int& deaths;
};

// Takes every attribute list over from the parser, after the tree has
// copied it.
struct TAKING_HANDLER : VORN_XML_SAX_TREE_HANDLER {
    std::vector<std::unique_ptr<VORN_XML_ATTRIB_LIST>> taken;
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        VORN_XML_SAX_TREE_HANDLER::process_start_element(name, attributes);
        taken.emplace_back(attributes);
        attributes = nullptr;
    }
};

bool parse_text(VORN_XML_SAX_PARSER& parser, const std::string& doc)
{
    VORN_XML_STRING_INPUT_SOURCE source(doc);
    return parser.parse(&source);
}

}  // namespace

TEST(ownership, host_handlers_are_never_deleted)
{
    int deaths = 0;
    auto* first = new COUNTED_HANDLER(deaths);
    auto* second = new COUNTED_HANDLER(deaths);
    {
        VORN_XML_SAX_PARSER parser;
        parser.set_tree_handler(first);
        EXPECT_TRUE(parse_text(parser, DECL + "<a/>"));
        parser.set_tree_handler(second);
    }
    EXPECT_EQ(deaths, 0);
    EXPECT_EQ(vorn_test::dump_tree(first->get_root_element()), "a");  // the tree outlives the parser
    delete first;
    delete second;
    EXPECT_EQ(deaths, 2);
}

// The parser deletes a handler of its own exactly once: when another is
// installed, or else with itself.
TEST(ownership, an_owned_handler_is_deleted_once)
{
    int deaths = 0;
    for (const bool replace : {false, true}) {
        VORN_XML_SAX_PARSER parser;
        parser.set_tree_handler(new COUNTED_HANDLER(deaths));
        parser.owns_tree_handler = true;  // as though the parser had made it
        EXPECT_TRUE(parse_text(parser, DECL + "<a><b/></a>"));
        if (replace) {
            parser.set_tree_handler(nullptr);
            EXPECT_EQ(deaths, 2);
        }
    }
    EXPECT_EQ(deaths, 2);
}

TEST(ownership, a_handler_may_take_the_attribute_list_over)
{
    TAKING_HANDLER handler;
    {
        VORN_XML_SAX_PARSER parser;
        parser.set_tree_handler(&handler);
        EXPECT_TRUE(parse_text(parser, DECL + "<a x=\"1\"><b y=\"2\"/></a>"));
        EXPECT_EQ(parser.current_attrib_list, nullptr);
    }
    ASSERT_EQ(handler.taken.size(), 2u);
    std::string value;
    EXPECT_TRUE(handler.taken[0]->find_attrib("x", value));
    EXPECT_EQ(value, "1");
    EXPECT_TRUE(handler.taken[1]->find_attrib("Y", value));
    EXPECT_EQ(value, "2");
    EXPECT_EQ(vorn_test::dump_tree(handler.get_root_element()), "a{x=1}[b{y=2}]");
}
