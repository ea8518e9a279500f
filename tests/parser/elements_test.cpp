#include "parser_cases.h"

TEST(elements, tags_and_nesting)
{
    parser_cases::check({
        {"<a/>", true, {}, {"start a {}", "end a"}},
        {"<a x=\"1\" y=\"2\"/>", true, {}, {"start a {x=1,y=2}", "end a"}},
        {"<a x=\"1\" y=\"2\"></a>", true, {}, {"start a {x=1,y=2}", "end a"}},
        {"<a/ >", true, {}, {"start a {}", "end a"}},
        {"< a >x</ a >", true, {}, {"start a {}", "chars x", "end a"}},
        {"<a\n>\n  <b/>\r\n</a\t>", true, {}, {"start a {}", "start b {}", "end b", "end a"}},
        {"<a><b/>tail</a>", true, {}, {"start a {}", "start b {}", "end b", "chars tail", "end a"}},
        {"<a><!-- c --><b/></a><!-- d -->", true, {}, {"start a {}", "start b {}", "end b", "end a"}},
        {"<a><b><c>t</c></b><d/></a>",
         true,
         {},
         {"start a {}", "start b {}", "start c {}", "chars t", "end c", "end b", "start d {}", "end d", "end a"}},
        // Only the text of the token is looked at: a quoted "/" closes the tag.
        {"<a \"/\">", true, {}, {"start a {}", "end a"}},
    });
}

TEST(elements, missing_close_is_reported_and_read_on)
{
    parser_cases::check({
        {"<a 5></a>", true, {"Error: > was needed but got 5"}, {"start a {}", "chars 5>", "end a"}},
        {"<a></a", true, {"Error: > was needed but got "}, {"start a {}", "end a"}},
        {"<a/", true, {"Error: > was needed but got "}, {"start a {}", "end a"}},
    });
}

TEST(elements, content_and_end_tag_failures)
{
    const std::string NO_END_TAG = "Error: </ was needed but got ";
    const std::string EMPTY_END_NAME = "Start (a) and end tag () identifiers do not match";
    parser_cases::check({
        {"<a>head<b/></a>", false, {NO_END_TAG + "<", EMPTY_END_NAME}, {"start a {}", "chars head"}},
        {"<a>x<!-- c -->y</a>", false, {NO_END_TAG + "y", EMPTY_END_NAME}, {"start a {}", "chars x"}},
        {"<a>text", false, {NO_END_TAG, EMPTY_END_NAME}, {"start a {}", "chars text"}},
        {"<a>:</a>", false, {NO_END_TAG + ":", EMPTY_END_NAME}, {"start a {}", "chars :"}},
        {"<a></>", false, {"Expected identifier ( not found", EMPTY_END_NAME}, {"start a {}"}},
        {"<a></A>", false, {"Start (a) and end tag (A) identifiers do not match"}, {"start a {}"}},
        {"<a><b></a></b>", false, {"Start (b) and end tag (a) identifiers do not match"}, {"start a {}", "start b {}"}},
        {"<a><b><c></c></x></a>",
         false,
         {"Start (b) and end tag (x) identifiers do not match"},
         {"start a {}", "start b {}", "start c {}", "end c"}},
        {"<a><?pi?></a>", false, {"Expected identifier ( not found"}, {"start a {}"}},
        {"<a><5/></a>", false, {"Expected identifier ( not found"}, {"start a {}"}},
        {"<my-tag/>",
         false,
         {"Error: > was needed but got -", NO_END_TAG, "Start (my) and end tag () identifiers do not match"},
         {"start my {}", "chars -tag/>"}},
    });
}
