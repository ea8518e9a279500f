// The tree walk and path queries: over a tree, and while a document is read.
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "vorn_test_support.h"

namespace {

// "name#id:text", the parts present.
std::string label(VORN_XML_ELEMENT* element)
{
    std::string id;
    std::string out = element->get_element_name();
    if (element->get_attribute("id", id))
        out += "#" + id;
    if (!element->get_element_data().empty())
        out += ":" + element->get_element_data();
    return out;
}

std::string labels(const std::vector<VORN_XML_ELEMENT*>& elements)
{
    std::string out;
    for (VORN_XML_ELEMENT* element : elements)
        out += (out.empty() ? "" : " ") + label(element);
    return out;
}

std::unique_ptr<VORN_XML_ELEMENT> parse_tree(const std::string& document)
{
    VORN_XML_SAX_PARSER parser;
    VORN_XML_STRING_INPUT_SOURCE source(document);
    EXPECT_TRUE(parser.parse(&source));
    return std::unique_ptr<VORN_XML_ELEMENT>(parser.get_tree_handler()->take_root_element());
}

// An element's label, or its whole subtree when `tree` is set.
std::string describe(VORN_XML_ELEMENT* element, bool tree)
{
    return tree ? vorn_test::dump_tree(element) : label(element);
}

std::vector<std::string> described(const std::vector<VORN_XML_ELEMENT*>& elements, bool trees)
{
    std::vector<std::string> out;
    out.reserve(elements.size());
    for (VORN_XML_ELEMENT* element : elements)
        out.push_back(describe(element, trees));
    return out;
}

// Keeps a description of each match as it is handed over.
class COLLECTOR : public VORN_XML_PATH_HANDLER {
public:
    using VORN_XML_PATH_HANDLER::VORN_XML_PATH_HANDLER;
    bool trees = false;
    std::vector<std::string> found;
    void process_match(VORN_XML_ELEMENT* match, bool nested) override
    {
        (void)nested;
        found.push_back(describe(match, trees));
    }
};

std::vector<std::string> stream(const std::string& document, const VORN_XML_PATH& path, bool trees)
{
    COLLECTOR collector(path);
    collector.trees = trees;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&collector);
    VORN_XML_STRING_INPUT_SOURCE source(document);
    EXPECT_TRUE(parser.parse(&source));
    EXPECT_EQ(collector.get_match_count(), static_cast<long>(collector.found.size()));
    return collector.found;
}

const char library[] = "<?xml version=\"1.0\"?><lib>"
                       "<shelf id=\"1\"><book ID=\"7\" lang=\"en\"><title>A</title></book>"
                       "<book id=\"8\"><title>B</title><book id=\"9\"/></book></shelf>"
                       "<shelf id=\"2\"><book id=\"10\" lang=\"de\">Z</book><box><book id=\"11\"/></box></shelf>"
                       "<note>hi</note></lib>";

TEST(path, selects_in_document_order)
{
    const struct {
        const char* path;
        const char* matches;  // run on the root
    } table[] = {
        {"/lib", "lib"},
        {"/shelf", ""},
        {"/lib/shelf", "shelf#1 shelf#2"},
        {"shelf/book", "book#7 book#8 book#10:Z"},
        {"*", "shelf#1 shelf#2 note:hi"},
        {"box/book", ""},
        {"//book", "book#7 book#8 book#9 book#10:Z book#11"},
        {"//book//book", "book#9"},
        {"/lib//book/title", "title:A title:B"},
        {"/lib/*/book[@lang]", "book#7 book#10:Z"},
        {"//book[@Id=\"8\"]", "book#8"},
        {"//book[@id='7']", "book#7"},
        {"//book[@id=\"7 \"]", ""},
        {"//book[2]", "book#8"},
        {"//book[1]", "book#7 book#9 book#10:Z book#11"},
        {"//shelf/book[@lang][2]", ""},
        {"//shelf/book[2][@id]", "book#8"},
        {"/lib/shelf[2]/*", "book#10:Z box"},
        {"//*[text()=\"B\"]", "title:B"},
        {"//book[text()='Z'][@lang=\"de\"]", "book#10:Z"},
        {"//Book", ""},
    };
    const std::unique_ptr<VORN_XML_ELEMENT> root = parse_tree(library);
    for (const auto& row : table) {
        SCOPED_TRACE(row.path);
        const VORN_XML_PATH path(row.path);
        ASSERT_TRUE(path.is_valid()) << path.get_error_message();
        std::vector<VORN_XML_ELEMENT*> found;
        path.find_all(root.get(), found);
        EXPECT_EQ(labels(found), row.matches);
        EXPECT_EQ(path.find_first(root.get()), found.empty() ? nullptr : found[0]);
        // Read from the document, relative paths start at the document.
        if (row.path[0] == '/' && path.get_streaming_problem().empty()) {
            EXPECT_EQ(stream(library, path, false), described(found, false));
        }
    }
    EXPECT_NE(VORN_XML_PATH("//a[text()='x']").get_streaming_problem(), "");
}

TEST(path, malformed_paths_are_refused_with_a_place)
{
    const struct {
        const char* path;
        const char* message;
    } table[] = {
        {"", "position 1: expected a name or \"*\", found the end of the path"},
        {"/", "position 2: expected a name or \"*\", found the end of the path"},
        {"a///b", "position 4: expected a name or \"*\", found \"/\""},
        {"1a", "position 1: expected a name or \"*\", found \"1\""},
        {"a b", "position 2: expected \"/\", \"//\" or \"[\", found byte 0x20"},
        {"a[", "position 3: expected \"@\", a position or text(), found the end of the path"},
        {"a[foo]", "position 3: expected \"@\", a position or text(), found \"f\""},
        {"a[@]", "position 4: expected an attribute name, found \"]\""},
        {"a[@x=7]", "position 6: expected a quoted value, found \"7\""},
        {"a[@x=\"7]", "position 9: expected a closing \", found the end of the path"},
        {"a[0]", "position 3: expected a position from 1 to 999999999, found \"0\""},
        {"a[99999999999]", "position 3: expected a position from 1 to 999999999, found \"9\""},
        {"a[1", "position 4: expected \"]\", found the end of the path"},
        {"a[text()]", "position 9: expected \"=\", found \"]\""},
        {"a[@x]\xff", "position 6: expected \"/\", \"//\" or \"[\", found byte 0xFF"},
    };
    const std::unique_ptr<VORN_XML_ELEMENT> root = parse_tree(library);
    for (const auto& row : table) {
        VORN_XML_PATH path("*");
        EXPECT_FALSE(path.compile(row.path));
        EXPECT_EQ(path.get_error_message(), row.message) << row.path;
        EXPECT_FALSE(path.is_valid());
        EXPECT_EQ(path.find_first(root.get()), nullptr);  // a refused path selects nothing
        EXPECT_EQ(path.get_streaming_problem(), row.message);
    }
}

TEST(walk, enters_and_leaves_without_moving_cursors)
{
    const std::unique_ptr<VORN_XML_ELEMENT> root = parse_tree(library);
    VORN_XML_ELEMENT* first = root->get_first_sub_element();  // the cursor now stands on the second
    std::string steps;
    for (VORN_XML_TREE_WALK walk(root.get()); walk.next();) {
        steps += walk.is_entering() ? " +" : " -";
        steps += walk.get_element()->get_element_name() + std::to_string(walk.get_depth());
        if (walk.is_entering() && walk.get_element()->get_element_name() == "book")
            walk.skip_sub_elements();
        if (walk.get_element()->get_element_name() == "box")
            steps += "@" + std::to_string(walk.get_index_at(1)) + "," + std::to_string(walk.get_index_at(2));
    }
    EXPECT_EQ(steps, " +lib0 +shelf1 +book2 -book2 +book2 -book2 -shelf1 +shelf1 +book2 -book2 +box2@1,1 +book3 "
                     "-book3 -box2@1,1 -shelf1 +note1 -note1 -lib0");
    EXPECT_EQ(label(root->get_next_sub_element()), "shelf#2");
    EXPECT_NE(root->get_next_sub_element(), first);

    std::string names;
    for (VORN_XML_ELEMENT* sub : get_sub_elements(root.get()))
        names += sub->get_element_name() + " ";
    EXPECT_EQ(names, "shelf shelf note ");
    EXPECT_EQ(label(find_sub_element(root.get(), "note")), "note:hi");
    EXPECT_EQ(find_sub_element(first, "note"), nullptr);
    EXPECT_FALSE(VORN_XML_TREE_WALK(nullptr).next());
}

// A large document: a query looks at each element once, and skips what
// cannot hold a match.
TEST(path, large_tree_each_element_once)
{
    std::string document = "<?xml version=\"1.0\"?><root>";
    long records = 0;
    long k3 = 0;
    while (document.size() < (20U << 20)) {
        document += "<group>";
        for (int i = 0; i < 100; ++i, ++records) {
            k3 += records % 7 == 3 ? 1 : 0;
            document += "<record kind=\"k" + std::to_string(records % 7) + "\" id=\"" + std::to_string(records) +
                        "\"><name>n</name><value>" + std::to_string(records) + "</value></record>";
        }
        document += "</group>";
    }
    document += "</root>";
    const long groups = records / 100;
    const std::unique_ptr<VORN_XML_ELEMENT> root = parse_tree(document);

    const VORN_XML_PATH anywhere("//record[@kind=\"k3\"]");
    VORN_XML_PATH_MATCHER matcher(anywhere);
    std::vector<VORN_XML_ELEMENT*> found;
    matcher.find_all(root.get(), found);
    EXPECT_EQ(static_cast<long>(found.size()), k3);
    EXPECT_EQ(matcher.get_visit_count(), 1 + groups + 3 * records);
    EXPECT_EQ(stream(document, anywhere, false).size(), found.size());

    const VORN_XML_PATH exact("/root/group/record[@kind=\"k3\"]");
    VORN_XML_PATH_MATCHER exact_matcher(exact);
    std::vector<VORN_XML_ELEMENT*> again;
    exact_matcher.find_all(root.get(), again);
    EXPECT_EQ(again, found);
    EXPECT_EQ(exact_matcher.get_visit_count(), 1 + groups + records);
}

TEST(path, million_levels_deep)
{
    auto root = std::make_unique<VORN_XML_ELEMENT>("d", nullptr);
    VORN_XML_ELEMENT* leaf = root.get();
    for (int i = 1; i < 1000000; ++i) {
        leaf->add_sub_element(new VORN_XML_ELEMENT(i % 2 == 0 ? "d" : "e", nullptr));
        leaf = leaf->get_first_sub_element();
    }
    leaf->set_element_data("end");
    std::vector<VORN_XML_ELEMENT*> found;
    VORN_XML_PATH("//d//e[text()=\"end\"]").find_all(root.get(), found);
    EXPECT_EQ(found, std::vector<VORN_XML_ELEMENT*>{leaf});
    EXPECT_EQ(VORN_XML_PATH("/d/e/d/e").find_first(root.get())->get_element_name(), "e");
}

// Generated trees and paths: reading the document and querying its tree
// select the same elements, in the same order, with the same subtrees.
TEST(path, stream_and_tree_agree)
{
    std::mt19937 random(12);
    auto pick = [&random](int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); };
    const char* names[] = {"a", "b", "c", "*"};
    const char* predicates[] = {"", "", "", "[@k]", "[@K=\"1\"]", "[1]", "[2]", "[@k][2]"};
    for (int round = 0; round < 200; ++round) {
        std::string document = "<?xml version=\"1.0\"?>";
        std::vector<std::string> open;
        for (int n = 0; n < 40 && (n == 0 || !open.empty()); ++n) {
            if (!open.empty() && (pick(3) == 0 || open.size() > 6)) {
                document += "</" + open.back() + ">";
                open.pop_back();
                continue;
            }
            open.emplace_back(names[pick(3)]);
            document += "<" + open.back() + " n=\"" + std::to_string(n) + "\"";
            document += pick(2) == 0 ? " k=\"" + std::to_string(pick(2)) + "\">" : ">";
        }
        for (; !open.empty(); open.pop_back())
            document += "</" + open.back() + ">";
        const std::unique_ptr<VORN_XML_ELEMENT> root = parse_tree(document);
        for (int p = 0; p < 10; ++p) {
            std::string text;
            for (int steps = 1 + pick(3); steps > 0; --steps)
                text += std::string(pick(2) == 0 ? "/" : "//") + names[pick(4)] + predicates[pick(8)];
            SCOPED_TRACE(document + " " + text);
            const VORN_XML_PATH path(text);
            ASSERT_TRUE(path.is_valid());
            std::vector<VORN_XML_ELEMENT*> found;
            path.find_all(root.get(), found);
            EXPECT_EQ(stream(document, path, true), described(found, true));
        }
    }
}

}  // namespace
