// Writing trees back: what is written reads back to the same tree, and what
// cannot be written so is refused without a byte written.
#include <gtest/gtest.h>

#include <memory>
#include <random>
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

// A random tree within what the reader can represent: names, attribute
// values free of '"' and 0xFF, texts that begin with a byte a run can begin
// with, elements with both sub-elements and text.
ELEMENT_PTR random_tree(unsigned seed, int elements)
{
    std::mt19937 random(seed);
    auto pick = [&random](std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(random); };
    auto from = [&pick](const std::string& set) { return set[pick(set.size())]; };
    auto name = [&] {
        std::string n(1, from("abcXYZ_"));
        for (std::size_t i = pick(5); i > 0; --i)
            n += from("abcXYZ_0123456789");
        return n;
    };
    auto bytes = [&](std::size_t length, char excluded) {
        std::string out;
        while (out.size() < length)
            if (const char c = static_cast<char>(pick(255)); c != excluded)  // never 0xFF
                out += c;
        return out;
    };
    std::vector<VORN_XML_ELEMENT*> all;
    ELEMENT_PTR root;
    for (int i = 0; i < elements; ++i) {
        std::vector<std::pair<std::string, std::string>> attributes;
        for (std::size_t k = pick(4); k > 0; --k)
            attributes.emplace_back(name(), bytes(pick(6), '"'));
        std::string data;
        if (pick(2) == 0)
            data = from("aZ_9>&!#/;=?@[]^`{|}~'") + bytes(pick(8), '\xFF') + from("<&> \n\"");
        ELEMENT_PTR e = make(name(), data, attributes);
        all.push_back(e.get());
        if (i == 0)
            root = std::move(e);
        else
            all[pick(all.size() - 1)]->add_sub_element(e.release());
    }
    return root;
}

TEST(writer, generated_trees_read_back_the_same)
{
    for (unsigned seed = 1; seed <= 300; ++seed) {
        ELEMENT_PTR tree = random_tree(seed, 1 + static_cast<int>(seed % 40));
        for (const int indent : {0, 2}) {
            VORN_XML_WRITER writer(indent);
            std::string doc;
            ASSERT_TRUE(writer.write(tree.get(), doc)) << writer.error_message;
            VORN_XML_SAX_PARSER parser;
            VORN_XML_STRING_INPUT_SOURCE source(doc);
            ASSERT_TRUE(parser.parse(&source)) << doc;
            ASSERT_EQ(vorn_test::dump_tree(parser.get_tree_handler()->get_root_element()),
                      vorn_test::dump_tree(tree.get()))
                << "seed " << seed << " indent " << indent << "\n"
                << doc;
        }
    }
}

TEST(writer, layout_and_escapes)
{
    ELEMENT_PTR root = make("a", "&x<y>&amp;", {{"k", "<&>"}});
    root->add_sub_element(make("b").release());
    root->add_sub_element(make("c", ">t").release());
    std::string flat;
    std::string indented;
    ASSERT_TRUE(VORN_XML_WRITER().write(root.get(), flat));
    ASSERT_TRUE(VORN_XML_WRITER(2).write(root.get(), indented));
    EXPECT_EQ(flat, "<?xml version=\"1.0\"?>\n<a k=\"<&>\"><b/><c>>t</c>&x&lt;y&gt;&amp;amp;</a>\n");
    EXPECT_EQ(indented, "<?xml version=\"1.0\"?>\n<a k=\"<&>\">\n  <b/>\n  <c>>t</c>\n&x&lt;y&gt;&amp;amp;</a>\n");
}

TEST(writer, refuses_what_would_not_read_back)
{
    const std::string at = "cannot write element \"a\" at /: ";
    const std::string begins = at + "its text begins with ";
    const struct {
        ELEMENT_PTR tree;
        std::string message;
    } cases[] = {
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
    for (const auto& c : cases) {
        VORN_XML_WRITER writer;
        std::string out = "kept";
        EXPECT_FALSE(writer.write(c.tree.get(), out));
        EXPECT_EQ(out, "kept");
        EXPECT_EQ(writer.error_message, c.message);
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
