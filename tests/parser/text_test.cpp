#include "parser_cases.h"

using parser_cases::DECL;

// The character data of <a>CONTENT</a>, which must parse cleanly.
TEST(text, runs_and_references)
{
    const struct {
        const char* content;
        const char* text;
    } cases[] = {
        {"a&lt;b", "a<b"},
        {"x&gt;&quot;&amp;&apos;", "x>\"&'"},
        {"x&amp;lt;", "x&lt;"},
        {"x&ltx &lx &LT; AT&T &#60; &#x3C;", "x&ltx &lx &LT; AT&T &#60; &#x3C;"},
        {"x&am;&apo;&quo;&g;&ax", "x&am;&apo;&quo;&g;&ax"},
        {"x &amp y", "x &amp y"},
        {"x&&lt;", "x&&lt;"},
        {"a > b 'c' \"d\"", "a > b 'c' \"d\""},
        {"  hello world  ", "hello world  "},
        {"\r\nl1\r\nl2\r", "l1\r\nl2\r"},
        {"x\t&apos;\xE9\x01", "x\t'\xE9\x01"},
        // The first token of a run is read as a token: a reference there is
        // not decoded, and quotes around a leading string are dropped.
        {"&lt;y&lt;", "&lt;y<"},
        {"<!-- c -->&amp;", "&amp;"},
        {"<!-- c -->x&amp;", "x&"},
        {"1&lt;2", "1<2"},
        {"-&gt;", "->"},
        {"> b", "> b"},
        {"\"q\" &lt; r", "q < r"},
        {"\"\"", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.content);
        const vorn_test::OUTCOME out = vorn_test::parse_all_ways(DECL + "<a>" + c.content + "</a>");
        EXPECT_TRUE(out.ok);
        EXPECT_TRUE(out.errors.empty());
        EXPECT_EQ(out.events, (std::vector<std::string>{"start-document", "start a {}", std::string("chars ") + c.text,
                                                        "end a", "end-document"}));
    }
}

TEST(text, runs_cut_short)
{
    const std::vector<std::string> unclosed = {"Error: </ was needed but got ",
                                               "Start (a) and end tag () identifiers do not match"};
    parser_cases::check({
        {"<a>x&lt", false, unclosed, {"start a {}", "chars x&lt"}},
        {"<a>x&", false, unclosed, {"start a {}", "chars x&"}},
        // The "<" that ends a reference belongs to the text.
        {"<a>x&</a>", false, unclosed, {"start a {}", "chars x&</a>"}},
        {"<a>x&lt</a>", false, unclosed, {"start a {}", "chars x&lt</a>"}},
        {"<a>x\xFF</a>", false, unclosed, {"start a {}", "chars x"}},
        {"<a>\xE9</a>", false, {"Error: </ was needed but got \xE9", unclosed[1]}, {"start a {}", "chars \xE9"}},
        {"<a>\"q</a>",
         false,
         {"Unexpected end of a quoted string encountered", unclosed[0], unclosed[1]},
         {"start a {}", "chars q</a>"}},
    });
}
