#include "parser_cases.h"

namespace {
std::string no_equal(const std::string& name)
{
    return "Attribute equal (\"=\") token is missing for attribute : " + name;
}
std::string no_value(const std::string& name)
{
    return "Attribute value is missing for attribute : " + name;
}
}  // namespace

TEST(attributes, pairs_are_read)
{
    parser_cases::check({
        {"<a _b1 = \"1\"\n c=\"2\"/>", true, {}, {"start a {_b1=1,c=2}", "end a"}},
        {"<a b=\"\"/>", true, {}, {"start a {b=}", "end a"}},
        {"<a B=\"1\" b=\"2\"/>", true, {}, {"start a {B=2}", "end a"}},
        {"<a b=\"x &amp; <y>\n&#60;\"/>", true, {}, {"start a {b=x &amp; <y>\n&#60;}", "end a"}},
        // Each tag lends its own list: the next tag's list holds only its pairs.
        {"<a x=\"1\"><b y=\"2\"/><c/></a>",
         true,
         {},
         {"start a {x=1}", "start b {y=2}", "end b", "start c {}", "end c", "end a"}},
        // A number cannot begin a pair: it is left where ">" belongs.
        {"<a 1b=\"x\"></a>", true, {"Error: > was needed but got 1"}, {"start a {}", "chars 1b=\"x\">", "end a"}},
        {"<a></a x=\"1\">", true, {"Error: > was needed but got x"}, {"start a {}", "end a", "chars x=\"1\">"}},
    });
}

TEST(attributes, malformed_pairs_fail_the_tag)
{
    parser_cases::check({
        {"<a b c=\"1\"></a>", false, {"Error: = was needed but got c", no_equal("b")}, {}},
        {"<a b=c>", false, {no_value("b"), "Error: = was needed but got >", no_equal("c")}, {}},
        {"<a b='1'>", false, {no_value("b")}, {}},
        {"<a data-x=\"1\"/>", false, {"Error: = was needed but got -", no_equal("data")}, {}},
        {"<a b=\"1/>", false, {"Unexpected end of a quoted string encountered", no_value("b")}, {}},
        // Reading goes on after each error, so one tag can give many messages.
        {"<a b c=\"1\" d=e f='x'/>",
         false,
         {"Error: = was needed but got c", no_equal("b"), no_value("d"), "Error: = was needed but got f", no_equal("e"),
          no_value("f")},
         {}},
    });
}
