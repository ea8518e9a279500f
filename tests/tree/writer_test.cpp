// Writing trees back: the exact layout, and what cannot be written so that
// it reads back is refused without a byte written.  That what is written
// reads back the same is checked on every tree that the document tables,
// the hostile documents and the comparison with expat read.
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

TEST(writer, layout_and_escapes)
{
    ELEMENT_PTR root = make("a", "&x<y>&amp;", {{"k", "<&>"}});
    root->add_sub_element(make("b").release());
    root->add_sub_element(make("c", ">t").release());
    std::string flat, indented;
    ASSERT_TRUE(VORN_XML_WRITER().write(root.get(), flat));
    ASSERT_TRUE(VORN_XML_WRITER(2).write(root.get(), indented));
    EXPECT_EQ(flat, "<?xml version=\"1.0\"?>\n<a k=\"<&>\"><b/><c>>t</c>&x&lt;y&gt;&amp;amp;</a>\n");
    EXPECT_EQ(indented, "<?xml version=\"1.0\"?>\n<a k=\"<&>\">\n  <b/>\n  <c>>t</c>\n&x&lt;y&gt;&amp;amp;</a>\n");
}

TEST(writer, refuses_what_would_not_read_back)
{
    const std::string at = "cannot write element \"a\" at /: ";
    const std::string begins = at + "its text begins with ";
    const std::pair<ELEMENT_PTR, std::string> cases[] = {
        {make("a-b"), "cannot write element \"a-b\" at /: the element name is not a name"},
        {make(""), "cannot write element \"\" at /: the element name is not a name"},
        {make("a", "", {{"x:y", "1"}}), at + "attribute \"x:y\": the name is not a name"},
        {make("a", "", {{"q", "say \"hi\""}}), at + "attribute \"q\": the value holds a double quote"},
        {make("a", "", {{"q", "\xFF"}}), at + "attribute \"q\": the value holds the byte 0xFF"},
        {make("a", " x"), begins + "white space, which a reader drops"},
        {make("a", "\"q\""), begins + "\", which a reader takes as markup"},
        {make("a", "<b"), begins + "<, which a reader takes as markup"},
        {make("a", ":x"), begins + "a byte a reader refuses there"},
        {make("a", std::string(1, '\0')), begins + "a byte a reader refuses there"},
        {make("a", "x\xFFy"), at + "its text holds the byte 0xFF, which ends a document"},
    };
    for (const auto& [tree, message] : cases) {
        VORN_XML_WRITER writer;
        std::string out = "kept";
        EXPECT_FALSE(writer.write(tree.get(), out) || out != "kept");
        EXPECT_EQ(writer.error_message, message);
    }

    // Deep inside a tree: the place names the path, and a stream gets nothing.
    ELEMENT_PTR root = make("r");
    root->add_sub_element(make("a").release());
    ELEMENT_PTR b = make("b");
    b->add_sub_element(make("ok").release());
    b->add_sub_element(make("bad", "\tx").release());
    root->add_sub_element(b.release());
    VORN_XML_WRITER writer;
    std::ostringstream stream;
    EXPECT_FALSE(writer.write(root.get(), stream));
    EXPECT_EQ(stream.str(), "");
    EXPECT_EQ(writer.error_message,
              "cannot write element \"bad\" at /2/2: its text begins with white space, which a reader drops");
}

}  // namespace
