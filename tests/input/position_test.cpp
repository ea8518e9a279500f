// Where a failed parse is reported: the start of the token at which reading
// stopped, through every kind of source wrapped in the counting source.
#include <gtest/gtest.h>

#include <utility>

#include "vorn_test_support.h"

TEST(position, failure_points_at_the_start_of_the_failing_token)
{
    const std::string decl = "<?xml version=\"1.0\"?>\n";
    const std::pair<std::string, std::string> cases[] = {
        // document, place of the failure
        {"", "1:1"},                                     // end of input
        {"  <root/>", "1:4"},                            // name where "?" belongs
        {"\n\n<?xml version=\"1.1\"?>\n  <a/>", "4:3"},  // token after the declaration
        {decl + "<a x=\"1\" y>\n</a>", "2:11"},          // ">" where "=" belongs
        {decl + "<a x=\"1\" y=\"2\" z=5/>", "2:18"},     // number where a value belongs
        {decl + "<a>\n  <b>x</c>\n</a>", "3:7"},         // mismatched end tag
        {decl + "<a><b></a></b>", "2:7"},                // the token after it is "</" too
        {decl + "<a><b></a><!-- c --> <x/>", "2:7"},     //
        {decl + "<a>\tx<!-- c -->y</a>", "2:16"},        // text after a comment
        {decl + "<a>:</a>", "2:4"},                      // unknown character
        {decl + "<a x=\"1\n2", "2:6"},                   // quoted string cut off: its quote
        {decl + "<a>\"q\"\"r\"<b/></a>", "2:10"},        // the "<" after the run
        {decl + "<a/> </c>", "2:6"},                     // stray end tag at the top level
        {decl + "<a>text", "2:8"},                       // end of input after the run
        {decl + "<a>x\xE9\xE9</b>", "2:7"},              // bytes count as columns
        {"<?xml version=\"1.0\" \"a\"?>", "1:21"},       // a string where "?" belongs
        {"<?xml version=\"1.0\" \"a\"\"b\"?>", "1:21"},  // ... just before another
        {decl + "<a\n x = \"1\"\n y = 'v'/>", "4:6"},    //
        {decl + "<a></>", "2:6"},                        // an empty end tag is no named mismatch
    };
    for (const auto& [doc, at] : cases) {
        const vorn_test::OUTCOME out = vorn_test::parse_all_ways(doc);
        EXPECT_FALSE(out.ok);
        EXPECT_EQ(out.at, at);
    }
}
