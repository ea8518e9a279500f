// Hostile documents: extreme depth, length and repetition, and arbitrary
// bytes.  Each must parse or fail with messages, never crash or hang, read
// each character once and come out the same through every kind of source
// (see parse_all_ways).
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "vorn_test_support.h"

namespace {

namespace msg = vorn_test::msg;
constexpr char declaration[] = "<?xml version=\"1.0\"?>";

std::string repeat(const std::string& piece, std::size_t times)
{
    std::string out;
    while (times-- > 0)
        out += piece;
    return out;
}

// Reading, querying, writing back and freeing must all stay within the
// default stack, and reading takes each character once.
TEST(hostile, a_million_levels_deep)
{
    const std::size_t depth = 1000000;
    const std::string document = declaration + repeat("<a>", depth) + "x" + repeat("</a>", depth);
    vorn_test::BYTE_SOURCE source(document);
    VORN_XML_SAX_PARSER parser;
    ASSERT_TRUE(parser.parse(&source));
    EXPECT_LE(source.calls, static_cast<long>(document.size()) + 4);
    const std::unique_ptr<VORN_XML_ELEMENT> root(parser.get_tree_handler()->take_root_element());
    std::vector<VORN_XML_ELEMENT*> found;
    VORN_XML_PATH("//a//a[text()=\"x\"]").find_all(root.get(), found);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0]->get_first_sub_element(), nullptr);
    // Paths longer than a word of bits: "/" and "//" steps across the word's end.
    VORN_XML_ELEMENT* hundredth = root.get();
    for (int level = 1; level < 100; ++level)
        hundredth = hundredth->get_first_sub_element();
    EXPECT_EQ(VORN_XML_PATH(repeat("/a", 100)).find_first(root.get()), hundredth);
    EXPECT_EQ(VORN_XML_PATH(repeat("//a", 70) + "[text()=\"x\"]").find_first(root.get()), found[0]);
    std::string written;
    ASSERT_TRUE(VORN_XML_WRITER().write(root.get(), written));
    EXPECT_EQ(written, declaration + ("\n" + repeat("<a>", depth) + "x" + repeat("</a>", depth) + "\n"));
}

TEST(hostile, huge_or_unfinished_constructs)
{
    const std::string comments = repeat("<!-- c -->", 200000);
    std::string one_name;  // 100000 spellings of one name: each bit of i puts one letter in upper case
    for (int i = 0; i < 100000; ++i) {
        std::string name = "abcdefghijklmnopq";
        for (std::size_t bit = 0; bit < name.size(); ++bit)
            name[bit] = static_cast<char>(name[bit] - ((i >> bit) & 1) * 32);
        one_name += " " + name + "=\"" + std::to_string(i) + '"';
    }
    const std::string value = repeat("vvvvvvvvvv", 1000000);
    const std::vector<std::string> unclosed = {msg::needed("</", ""), msg::mismatch("a", "")};
    const std::tuple<std::string, std::vector<std::string>, std::string> cases[] = {
        // document, errors, tree
        {comments + "<a>" + comments + "<b/>" + comments + "</a>" + comments, {}, "a[b]"},
        {"<a" + one_name + "/>", {}, "a{abcdefghijklmnopq=99999}"},  // the first spelling, the last value
        {"<a>" + repeat("x &amp; y ", 1000000) + "</a>", {}, "a(\"" + repeat("x & y ", 1000000) + "\")"},
        {"<a b=\"" + value + "\"/>", {}, "a{b=" + value + "}"},
        {repeat("<a>", 1000000), unclosed, ""},  // the open elements are the handler's to free
        {"<a><!-- never closed", unclosed, ""},
        {"<a/><!-- never closed", {}, "a"},
        {"<a b=\"never closed", {msg::unquoted, msg::no_value("b")}, ""},
        {"<a>text \"never closed", unclosed, ""},
    };
    for (const auto& [document, errors, tree] : cases) {
        const vorn_test::OUTCOME out = vorn_test::parse_all_ways(declaration + document);
        EXPECT_EQ(std::make_pair(out.ok, out.errors), std::make_pair(errors.empty(), errors));
        EXPECT_TRUE(out.tree == tree) << out.tree.substr(0, 60);
    }
}

// Every byte value inserted at and put in place of every position of a small
// document, and random binary data.
TEST(hostile, arbitrary_bytes)
{
    const std::string valid = declaration + std::string("<a x=\"1\"><b/>hi &amp; bye</a>");
    for (std::size_t at = 0; at <= valid.size() && !HasFailure(); ++at) {
        for (int byte = 0; byte < 256 && !HasFailure(); ++byte) {
            const std::string head = valid.substr(0, at) + static_cast<char>(byte);
            vorn_test::parse_all_ways(head + valid.substr(at));
            vorn_test::parse_all_ways(head + valid.substr(std::min(at + 1, valid.size())));
        }
    }
    std::mt19937 rng(20240611);
    for (int i = 0; i < 3000 && !HasFailure(); ++i) {
        std::string document = i % 2 == 0 ? declaration + std::string("<a>") : "";
        for (std::size_t n = rng() % 2048; n > 0; --n)
            document += static_cast<char>(rng());
        vorn_test::parse_all_ways(document);
    }
}

}  // namespace
