// The tree walk and path queries: over a tree, and while a document is read.
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "vorn_test_support.h"

namespace {

// "name#id:text", the parts present; the whole subtree when `tree` is set.
std::string describe(VORN_XML_ELEMENT* element, bool tree = false)
{
    std::string id;
    std::string out = element->get_element_name() + (element->get_attribute("id", id) ? "#" + id : "");
    out += element->get_element_data().empty() ? "" : ":" + element->get_element_data();
    return tree ? vorn_test::dump_tree(element) : out;
}

std::string described(const std::vector<VORN_XML_ELEMENT*>& elements, bool trees = false)
{
    std::string out;
    for (VORN_XML_ELEMENT* element : elements)
        out += (out.empty() ? "" : " ") + describe(element, trees);
    return out;
}

std::unique_ptr<VORN_XML_ELEMENT> parse_tree(const std::string& document)
{
    VORN_XML_SAX_PARSER parser;
    VORN_XML_STRING_INPUT_SOURCE source(document);
    EXPECT_TRUE(parser.parse(&source));
    return std::unique_ptr<VORN_XML_ELEMENT>(parser.get_tree_handler()->take_root_element());
}

// The matches of `path` as they are handed over while `document` is read:
// their number and their subtrees.
std::string stream(const std::string& document, const VORN_XML_PATH& path)
{
    struct COLLECTOR : VORN_XML_PATH_HANDLER {
        using VORN_XML_PATH_HANDLER::VORN_XML_PATH_HANDLER;
        std::string found;
        void process_match(VORN_XML_ELEMENT* match, bool /*nested*/) override
        {
            found += (found.empty() ? "" : " ") + vorn_test::dump_tree(match);
        }
    } collector(path);
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&collector);
    VORN_XML_STRING_INPUT_SOURCE source(document);
    EXPECT_TRUE(parser.parse(&source));
    return std::to_string(collector.get_match_count()) + ": " + collector.found;
}

const char library[] = "<?xml version=\"1.0\"?><lib>"
                       "<shelf id=\"1\"><book ID=\"7\" lang=\"en\"><title>A</title></book>"
                       "<book id=\"8\"><title>B</title><book id=\"9\"/></book></shelf>"
                       "<shelf id=\"2\"><book id=\"10\" lang=\"de\">Z</book><box><book id=\"11\"/></box></shelf>"
                       "<note>hi</note></lib>";

TEST(path, selects_in_document_order)
{
    // Each element is looked at once at most, and below one that cannot
    // lead to a match not at all.
    const struct {
        const char *path, *matches;  // run on the root
        long visits;
    } table[] = {
        {"/lib", "lib", 1},
        {"/shelf", "", 1},
        {"/lib/shelf", "shelf#1 shelf#2", 4},
        {"shelf/book", "book#7 book#8 book#10:Z", 8},
        {"*", "shelf#1 shelf#2 note:hi", 4},
        {"box/book", "", 4},
        {"//book", "book#7 book#8 book#9 book#10:Z book#11", 12},
        {"//book//book", "book#9", 12},
        {"/lib//book/title", "title:A title:B", 12},
        {"/lib/*/book[@lang]", "book#7 book#10:Z", 8},
        {"//book[@Id=\"8\"]", "book#8", 12},
        {"//book[@id='7']", "book#7", 12},
        {"//book[@id=\"7 \"]", "", 12},
        {"//book[@lang=\"\"][@id]", "", 12},
        {"//book[2]", "book#8", 12},
        {"//book[1]", "book#7 book#9 book#10:Z book#11", 12},
        {"//shelf/book[@lang][2]", "", 12},
        {"//shelf/book[2][@id]", "book#8", 12},
        {"/lib/shelf[2]/*", "book#10:Z box", 6},
        {"//*[text()=\"B\"]", "title:B", 12},
        {"//book[text()='Z'][@lang=\"de\"]", "book#10:Z", 12},
        {"//Book", "", 12},
    };
    const std::unique_ptr<VORN_XML_ELEMENT> root = parse_tree(library);
    for (const auto& row : table) {
        SCOPED_TRACE(row.path);
        const VORN_XML_PATH path(row.path);
        ASSERT_TRUE(path.is_valid()) << path.get_error_message();
        std::vector<VORN_XML_ELEMENT*> found;
        VORN_XML_PATH_MATCHER matcher(path);
        matcher.find_all(root.get(), found);
        EXPECT_EQ(described(found), row.matches);
        EXPECT_EQ(matcher.get_visit_count(), row.visits);
        EXPECT_EQ(path.find_first(root.get()), found.empty() ? nullptr : found[0]);
        // Read from the document, relative paths start at the document.
        if (row.path[0] == '/' && path.get_streaming_problem().empty()) {
            EXPECT_EQ(stream(library, path), std::to_string(found.size()) + ": " + described(found, true));
        }
    }
    EXPECT_NE(VORN_XML_PATH("//a[text()='x']").get_streaming_problem(), "");
}

TEST(path, long_names_compare_to_their_last_byte)
{
    // Names are compared in blocks of 8 and 4 bytes and a tail: each pair
    // differs only in the last byte of one of those parts.
    const char* names[] = {"abcdefgh",      "abcdefgX",      "abcdefghijkl",      "abcdefghijkX",
                           "abcdefghijklm", "abcdefghijklX", "abcdefghijklmnopq", "abcdefghijklmnopX"};
    std::string document = "<?xml version=\"1.0\"?><r>";
    for (const char* name : names)
        document += std::string("<") + name + "/>";
    document += "</r>";
    const std::unique_ptr<VORN_XML_ELEMENT> root = parse_tree(document);
    for (const char* name : names) {
        const VORN_XML_PATH path(std::string("//") + name);
        std::vector<VORN_XML_ELEMENT*> found;
        path.find_all(root.get(), found);
        EXPECT_EQ(described(found), name);
        EXPECT_EQ(stream(document, path), std::string("1: ") + vorn_test::dump_tree(found.at(0)));
    }
}

TEST(path, malformed_paths_are_refused_with_a_place)
{
    const std::pair<const char*, const char*> table[] = {
        // path, message
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
    for (const auto& [text, message] : table) {
        VORN_XML_PATH path("*");
        EXPECT_FALSE(path.compile(text) || path.is_valid() || path.find_first(root.get()) != nullptr);
        EXPECT_EQ(path.get_error_message(), message) << text;
        EXPECT_EQ(path.get_streaming_problem(), message);
    }
}

// Entering, leaving, depth, skipping and the index path are the writer's,
// the matcher's and the tool's (their tests pin them); here what a walk
// leaves alone, and the helpers that list and find sub-elements.
TEST(walk, leaves_cursors_alone)
{
    const std::unique_ptr<VORN_XML_ELEMENT> root = parse_tree(library);
    VORN_XML_ELEMENT* first = root->get_first_sub_element();  // the cursor now stands on the second
    std::vector<VORN_XML_ELEMENT*> all;
    VORN_XML_PATH("//*").find_all(root.get(), all);  // a walk over the whole tree
    EXPECT_EQ(all.size(), 12u);
    EXPECT_EQ(describe(root->get_next_sub_element()), "shelf#2");
    EXPECT_NE(root->get_next_sub_element(), first);
    std::string names;
    for (VORN_XML_ELEMENT* sub : get_sub_elements(root.get()))
        names += sub->get_element_name() + " ";
    EXPECT_EQ(names, "shelf shelf note ");
    EXPECT_EQ(describe(find_sub_element(root.get(), "note")), "note:hi");
    EXPECT_EQ(find_sub_element(first, "note"), nullptr);
    EXPECT_FALSE(VORN_XML_TREE_WALK(nullptr).next());
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
            std::vector<VORN_XML_ELEMENT*> found;
            path.find_all(root.get(), found);
            EXPECT_EQ(stream(document, path), std::to_string(found.size()) + ": " + described(found, true));
        }
    }
}

}  // namespace
