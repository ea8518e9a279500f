// Whole documents through the string, file, streaming and byte-at-a-time sources: the
// verdict, the messages in order and the events in order.
#include <gtest/gtest.h>

#include "vorn_test_support.h"

namespace {

const char* const DECL = "<?xml version=\"1.0\"?>";
const char* const NOT_FOUND = "XML signature header line not found";
const char* const BAD_VERSION = "Unknown XML version encountered";
const char* const NO_END = "Error: </ was needed but got ";
const char* const EMPTY_END = "Start (a) and end tag () identifiers do not match";
const char* const UNQUOTED = "Unexpected end of a quoted string encountered";
const char* const EXTRA = "Extra input found after the root end tag";
std::string no_equal(const std::string& name)
{
    return "Attribute equal (\"=\") token is missing for attribute : " + name;
}
std::string no_value(const std::string& name)
{
    return "Attribute value is missing for attribute : " + name;
}

struct CASE {
    std::string doc;
    bool ok;
    std::vector<std::string> errors;
    std::string events;  // those between the document events, joined by "; "
};

// start-document always comes first; end-document last exactly when the
// parse succeeds.
void check(const std::vector<CASE>& cases, const std::string& prefix = DECL)
{
    for (const CASE& c : cases) {
        SCOPED_TRACE(prefix + c.doc);
        const vorn_test::OUTCOME out = vorn_test::parse_all_ways(prefix + c.doc);
        std::string events;
        for (const std::string& e : out.events)
            events += (events.empty() ? "" : "; ") + e;
        const std::string middle = c.events.empty() ? "" : "; " + c.events;
        EXPECT_EQ(out.ok, c.ok);
        EXPECT_EQ(out.errors, c.errors);
        EXPECT_EQ(events, "start-document" + middle + (c.ok ? "; end-document" : ""));
    }
}

}  // namespace

TEST(documents, declaration)
{
    const std::string a = "start a {}; end a";
    check({{"<?xml version=\"1.0\"?>", true, {}, ""},
           {" <!-- c --> <?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><a/>", true, {}, a},
           {"< ? XML version = \"1.0\"\n? ><a/>", true, {}, a},
           {"<?Xml VERSION=\"1.0\" encoding=\"x\"?><a/>", true, {}, a},
           {"<?xml?><a/>", false, {BAD_VERSION}, ""},
           {"<?xml version=\"1.00\"?><a/>", false, {BAD_VERSION}, ""},
           {"<?xml version=\"1.0 \"?><a/>", false, {BAD_VERSION}, ""},
           {"", false, {"Error: < was needed but got ", NOT_FOUND}, ""},
           {"\xEF\xBB\xBF<?xml version=\"1.0\"?>", false, {"Error: < was needed but got \xEF", NOT_FOUND}, ""},
           {"<root/>", false, {"Error: ? was needed but got root", NOT_FOUND}, ""},
           {"<?foo version=\"1.0\"?>", false, {"Error: xml was needed but got foo", NOT_FOUND}, ""},
           {"<?XMLversion=\"1.0\"?>", false, {"Error: xml was needed but got xmlversion", NOT_FOUND}, ""},
           {"<?xml-stylesheet href=\"a\"?>", false, {"Error: ? was needed but got -", NOT_FOUND}, ""},
           {"<?xml version='1.0'?>", false, {no_value("version"), NOT_FOUND}, ""},
           {"<?xml version=\"1.0\">", false, {"Error: ? was needed but got >", NOT_FOUND}, ""},
           {"<?xml version=\"1.0\"?", false, {"Error: > was needed but got ", NOT_FOUND}, ""},
           {"<?xml version=\"1.0?>", false, {UNQUOTED, no_value("version"), NOT_FOUND}, ""},
           {"<?xml \"", false, {UNQUOTED, "Error: ? was needed but got \xFF", NOT_FOUND}, ""}},
          "");
}

TEST(documents, elements)
{
    check({
        {"<a x=\"1\" y=\"2\"></a>", true, {}, "start a {x=1,y=2}; end a"},
        {"<a/ >", true, {}, "start a {}; end a"},
        {"< a >x</ a >", true, {}, "start a {}; chars x; end a"},
        {"<a\n>\n  <b/>\r\n</a\t>", true, {}, "start a {}; start b {}; end b; end a"},
        {"<a><b/>tail</a>", true, {}, "start a {}; start b {}; end b; chars tail; end a"},
        {"<a><!-- c --><b/></a><!-- d -->", true, {}, "start a {}; start b {}; end b; end a"},
        {"<a><b><c>t</c></b><d/></a>",
         true,
         {},
         "start a {}; start b {}; start c {}; chars t; end c; end b; start d {}; end d; end a"},
        {"<a \"/\">", true, {}, "start a {}; end a"},  // only the token's text is looked at
        // A missing ">" is reported and reading goes on.
        {"<a 5></a>", true, {"Error: > was needed but got 5"}, "start a {}; chars 5>; end a"},
        {"<a></a", true, {"Error: > was needed but got "}, "start a {}; end a"},
        {"<a/", true, {"Error: > was needed but got "}, "start a {}; end a"},
        {"<a>head<b/></a>", false, {std::string(NO_END) + "<", EMPTY_END}, "start a {}; chars head"},
        {"<a>x<!-- c -->y</a>", false, {std::string(NO_END) + "y", EMPTY_END}, "start a {}; chars x"},
        {"<a>text", false, {NO_END, EMPTY_END}, "start a {}; chars text"},
        {"<a></>", false, {"Expected identifier ( not found", EMPTY_END}, "start a {}"},
        {"<a></A>", false, {"Start (a) and end tag (A) identifiers do not match"}, "start a {}"},
        {"<a><b><c></c></x></a>",
         false,
         {"Start (b) and end tag (x) identifiers do not match"},
         "start a {}; start b {}; start c {}; end c"},
        {"<a><?pi?></a>", false, {"Expected identifier ( not found"}, "start a {}"},
        {"<my-tag/>",
         false,
         {"Error: > was needed but got -", NO_END, "Start (my) and end tag () identifiers do not match"},
         "start my {}; chars -tag/>"},
    });
}

TEST(documents, attributes)
{
    check({
        {"<a _b1 = \"1\"\n c=\"2\"/>", true, {}, "start a {_b1=1,c=2}; end a"},
        {"<a b=\"\"/>", true, {}, "start a {b=}; end a"},
        {"<a B=\"1\" b=\"2\"/>", true, {}, "start a {B=2}; end a"},
        {"<a b=\"x &amp; <y>\n&#60;\"/>", true, {}, "start a {b=x &amp; <y>\n&#60;}; end a"},
        {"<a x=\"1\"><b y=\"2\"/><c/></a>",
         true,
         {},
         "start a {x=1}; start b {y=2}; end b; start c {}; end c; end a"},  // each tag its own list
        {"<a 1b=\"x\"></a>", true, {"Error: > was needed but got 1"}, "start a {}; chars 1b=\"x\">; end a"},
        {"<a></a x=\"1\">", true, {"Error: > was needed but got x"}, "start a {}; end a; chars x=\"1\">"},
        {"<a b=c>", false, {no_value("b"), "Error: = was needed but got >", no_equal("c")}, ""},
        {"<a data-x=\"1\"/>", false, {"Error: = was needed but got -", no_equal("data")}, ""},
        {"<a b=\"1/>", false, {UNQUOTED, no_value("b")}, ""},
        {"<a b c=\"1\" d=e f='x'/>",
         false,
         {"Error: = was needed but got c", no_equal("b"), no_value("d"), "Error: = was needed but got f", no_equal("e"),
          no_value("f")},
         ""},
    });
}

// Character data of <a>CONTENT</a>, which must parse cleanly.
TEST(documents, text_runs_and_references)
{
    const std::pair<const char*, const char*> cases[] = {
        {"a&lt;b", "a<b"},
        {"x&gt;&quot;&amp;&apos;", "x>\"&'"},
        {"x&amp;lt;", "x&lt;"},
        {"x&ltx &lx &LT; AT&T &#60; &#x3C;", "x&ltx &lx &LT; AT&T &#60; &#x3C;"},
        {"x&am;&apo;&quo;&g;&ax", "x&am;&apo;&quo;&g;&ax"},
        {"x&&lt;", "x&&lt;"},
        {"a > b 'c' \"d\"", "a > b 'c' \"d\""},
        {"\r\nl1\r\nl2\r ", "l1\r\nl2\r "},
        {"x\t&apos;\xE9\x01", "x\t'\xE9\x01"},
        // The first token of a run is read as a token: a reference there is
        // not decoded, and quotes around a leading string are dropped.
        {"&lt;y&lt;", "&lt;y<"},
        {"<!-- c -->x&amp;", "x&"},
        {"1&lt;2", "1<2"},
        {"\"q\" &lt; r", "q < r"},
    };
    for (const auto& [content, text] : cases)
        check(
            {{std::string("<a>") + content + "</a>", true, {}, std::string("start a {}; chars ") + text + "; end a"}});
}

TEST(documents, text_cut_short)
{
    check({
        {"<a>x&lt", false, {NO_END, EMPTY_END}, "start a {}; chars x&lt"},
        {"<a>x&lt</a>", false, {NO_END, EMPTY_END}, "start a {}; chars x&lt</a>"},  // "<" ends no reference
        {"<a>x\xFF</a>", false, {NO_END, EMPTY_END}, "start a {}; chars x"},
        {"<a>:</a>", false, {std::string(NO_END) + ":", EMPTY_END}, "start a {}; chars :"},
        {"<a>\"q</a>", false, {UNQUOTED, NO_END, EMPTY_END}, "start a {}; chars q</a>"},
        {"<a>\"", false, {UNQUOTED, NO_END, EMPTY_END}, "start a {}; chars \xFF"},  // the end taken once
    });
}

TEST(documents, after_the_top_level_element)
{
    check({
        {"", true, {}, ""},
        {"<a/><b/>", true, {}, "start a {}; end a; start b {}; end b"},
        {"<a/>tail", true, {}, "start a {}; end a; chars tail"},
        {"<a/>\xFF<b>", true, {}, "start a {}; end a"},
        {"<a/><!-- open", true, {}, "start a {}; end a"},
        {"<a/>\"tail", true, {UNQUOTED}, "start a {}; end a; chars tail"},
        {"<a/></b>", false, {EXTRA}, "start a {}; end a"},
        {"text<a/>", false, {EXTRA}, "chars text"},
        {"<a/>x<!-- -->y", false, {EXTRA}, "start a {}; end a; chars x"},
    });
}

// What a string source hands process_end_document: the text it delivered, cut
// before a byte 0xFF that ended it, or nothing when the parse ended early.
TEST(documents, text_handed_to_the_end_of_the_document)
{
    const std::string doc = std::string(DECL) + "<a/>";
    for (const auto& [tail, text] :
         std::vector<std::pair<std::string, std::string>>{{"", doc}, {"x\xFFy", doc + "x"}, {"x<!-- -->\"\"y", ""}}) {
        SCOPED_TRACE(tail);
        EXPECT_EQ(vorn_test::parse_all_ways(doc + tail).end_text, text);
    }
}
