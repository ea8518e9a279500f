// Writing trees as standard XML and the canonical form: the exact bytes of
// each, and what cannot be written is refused without a byte written.
// (Readers reading it back: tests/robustness/standard_round_trip.cpp.)
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <utility>

#include "vorn_test_support.h"

namespace {

using ELEMENT_PTR = std::unique_ptr<VORN_XML_ELEMENT>;

ELEMENT_PTR make(const std::string& name, const std::string& data = "",
                 const std::vector<std::pair<std::string, std::string>>& attributes = {})
{
    VORN_XML_ATTRIB_LIST list;
    for (const auto& a : attributes)
        list.set_attrib(a.first, a.second);
    auto element = std::make_unique<VORN_XML_ELEMENT>(name, attributes.empty() ? nullptr : &list);
    element->set_element_data(data);
    return element;
}

// <a k="..."><b/>text</a> shapes: a root with text, one plain child and one
// child holding a child.
ELEMENT_PTR sample()
{
    ELEMENT_PTR root = make("r:x", "", {{"k", "<&>\"'\t\n\r"}, {"é-1", "v"}});
    ELEMENT_PTR mixed = make("p", "Hello  & <world>\r\n");
    mixed->add_sub_element(make("b", "big").release());
    ELEMENT_PTR plain = make("list");
    plain->add_sub_element(make("item.1").release());
    plain->add_sub_element(make("item.2", "]]>").release());
    root->add_sub_element(mixed.release());
    root->add_sub_element(plain.release());
    return root;
}

TEST(standard_writer, layout_and_references)
{
    const ELEMENT_PTR root = sample();
    std::string flat;
    std::string indented;
    ASSERT_TRUE(VORN_XML_STANDARD_WRITER().write(root.get(), flat));
    ASSERT_TRUE(VORN_XML_STANDARD_WRITER(2).write(root.get(), indented));
    const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                             "<r:x k=\"&lt;&amp;&gt;&quot;'&#9;&#10;&#13;\" é-1=\"v\">";
    const std::string mixed = "<p>Hello  &amp; &lt;world&gt;&#13;\n<b>big</b></p>";
    EXPECT_EQ(flat, head + mixed + "<list><item.1/><item.2>]]&gt;</item.2></list></r:x>\n");
    EXPECT_EQ(indented,
              head + "\n  " + mixed + "\n  <list>\n    <item.1/>\n    <item.2>]]&gt;</item.2>\n  </list>\n</r:x>\n");
}

TEST(standard_writer, refuses_what_has_no_document)
{
    const std::string at = "cannot write element \"a\" at /: ";
    const std::pair<ELEMENT_PTR, std::string> cases[] = {
        {make("1a"), "cannot write element \"1a\" at /: the element name is not an XML name"},
        {make(""), "cannot write element \"\" at /: the element name is not an XML name"},
        {make("a b"), "cannot write element \"a b\" at /: the element name is not an XML name"},
        {make("\xC3"), "cannot write element \"\xC3\" at /: the element name is not an XML name"},
        {make("a", "", {{"-x", "1"}}), at + "attribute \"-x\": the name is not an XML name"},
        {make("a", "", {{"q", "ok\x01"}}),
         at + "attribute \"q\": its value: byte 2 starts a character XML 1.0 does not allow, not even as a reference"},
        {make("a", "\xEF\xBF\xBE"),
         at + "its text: byte 0 starts a character XML 1.0 does not allow, not even as a reference"},
        {make("a", "x\xC0\x80"), at + "its text: byte 1 is not UTF-8"},         // overlong
        {make("a", "\xED\xA0\x80"), at + "its text: byte 0 is not UTF-8"},      // surrogate
        {make("a", "\xF4\x90\x80\x80"), at + "its text: byte 0 is not UTF-8"},  // past U+10FFFF
        {make("a", "ab\xE2\x82"), at + "its text: byte 2 is not UTF-8"},        // cut short
    };
    for (const auto& [tree, message] : cases) {
        VORN_XML_STANDARD_WRITER writer;
        std::string out = "kept";
        EXPECT_FALSE(writer.write(tree.get(), out) || out != "kept");
        EXPECT_EQ(writer.error_message, message);
    }

    ELEMENT_PTR root = make("r");
    root->add_sub_element(make("a").release());
    ELEMENT_PTR b = make("b");
    b->add_sub_element(make("ok", "\xF0\x9F\x98\x80 \xE2\x82\xAC").release());
    b->add_sub_element(make("bad", "\x7F\x1F").release());
    root->add_sub_element(b.release());
    VORN_XML_STANDARD_WRITER writer;
    std::ostringstream stream;
    EXPECT_FALSE(writer.write(root.get(), stream));
    EXPECT_EQ(stream.str(), "");
    EXPECT_EQ(writer.error_message, "cannot write element \"bad\" at /2/2: its text: byte 1 starts a character "
                                    "XML 1.0 does not allow, not even as a reference");

    // White space alone is text in a leaf, indentation beside sub-elements.
    ELEMENT_PTR leaf = make("a", " \t\r\n");
    std::string out;
    EXPECT_TRUE(writer.write(leaf.get(), out));
    EXPECT_EQ(out, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a> \t&#13;\n</a>\n");
    leaf->add_sub_element(make("b").release());
    EXPECT_FALSE(writer.write(leaf.get(), out));
    EXPECT_EQ(writer.error_message, at + "its text is only white space, which a reader drops beside sub-elements");
}

// The canonical form of documents, as the standard reader sends them.
TEST(canonical_handler, documents)
{
    const std::pair<const char*, const char*> cases[] = {
        {"<?xml version='1.0'?><!-- c --><a z='1' b=\"&lt;&#9;\"><e/>x&amp;y\r\n\"q\"&#13;</a><!--e-->",
         "<a b=\"&lt;&#9;\" z=\"1\"><e></e>x&amp;y&#10;&quot;q&quot;&#13;</a>"},
        {"<?p  d ?><a><?q?><![CDATA[<&]]>&gt;</a>", "<?p d ?><a><?q ?>&lt;&amp;&gt;</a>"},
        {"<!DOCTYPE a [<!ATTLIST a d CDATA 'def' c CDATA 'x'>]><a c='given' \xC3\xA9='1' Z='2'/>",
         "<a Z=\"2\" c=\"given\" d=\"def\" \xC3\xA9=\"1\"></a>"},
    };
    for (const auto& [document, canonical] : cases) {
        std::ostringstream out;
        VORN_XML_CANONICAL_HANDLER handler(out);
        VORN_XML_STANDARD_PARSER parser;
        parser.set_tree_handler(&handler);
        VORN_XML_STRING_INPUT_SOURCE source(document);
        ASSERT_TRUE(parser.parse(&source)) << document;
        EXPECT_EQ(out.str(), canonical) << document;
        EXPECT_EQ(handler.get_root_element(), nullptr);
    }
}

// Declared notations open the output, sorted, as a DOCTYPE block.
TEST(canonical_handler, notations)
{
    std::ostringstream out;
    {
        VORN_XML_CANONICAL_HANDLER handler(out);
        handler.process_start_document();
        handler.process_doctype("doc", "", "");
        handler.add_notation("n2", "", "http://a/");
        handler.add_notation("n1", "pub", "");
        handler.add_notation("n0", "-//p", "sys");
        handler.add_notation("n3", "", "it's");  // a literal that holds a quote reads back
        handler.add_notation("n4", "p'q", "\"x\"");
        VORN_XML_ATTRIB_LIST* none = nullptr;
        handler.process_start_element("doc", none);
        handler.process_end_element("doc");
        handler.process_end_document("");
    }
    EXPECT_EQ(out.str(), "<!DOCTYPE doc [\n<!NOTATION n0 PUBLIC '-//p' 'sys'>\n<!NOTATION n1 PUBLIC 'pub'>\n"
                         "<!NOTATION n2 SYSTEM 'http://a/'>\n<!NOTATION n3 SYSTEM \"it's\">\n"
                         "<!NOTATION n4 PUBLIC \"p'q\" '\"x\"'>\n]>\n<doc></doc>");
}

}  // namespace
