// Differential test: random documents from the part of XML that this library
// and expat both accept with the same meaning are parsed by both, this
// library through every kind of source (parse_all_ways), and the trees must
// agree.  Every document is reproducible from its seed.
//
// Where the two differ by design the comparison allows for it: expat's
// attributes are ordered as this library orders them (no two names in a
// document differ in case only), and expat's text loses its leading white
// space (the tokenizer skips it), so white space that expat reports between
// child elements compares as no text.
#include <expat.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "vorn_test_support.h"

namespace {

// One element in the form of vorn_test::dump_tree: name{a=1,b=2}("text")[children]
std::string dump(const std::string& name, const std::map<std::string, std::string, LESS_C_STRING>& attributes,
                 const std::string& text, const std::string& children)
{
    std::string out = name, pairs;
    for (const auto& pair : attributes)
        pairs += (pairs.empty() ? "" : ",") + pair.first + "=" + pair.second;
    out += pairs.empty() ? "" : "{" + pairs + "}";
    out += text.empty() ? "" : "(\"" + text + "\")";
    return children.empty() ? out : out + "[" + children + "]";
}

// Writes one random document.  Pieces in a braced list are made left to
// right, so that a seed gives the same document whatever order the compiler
// evaluates operands in.
struct GENERATOR {
    std::mt19937 rng;

    static std::string cat(std::initializer_list<std::string> p)
    {
        return std::accumulate(p.begin(), p.end(), std::string());
    }

    int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng); }

    // Between min and max characters taken from `set`.
    std::string from(const std::string& set, int min, int max)
    {
        std::string out;
        for (int n = min + pick(max - min + 1); n > 0; --n)
            out += set[static_cast<std::size_t>(pick(static_cast<int>(set.size())))];
        return out;
    }

    // Printable ASCII and the given white space, without the listed bytes.
    static std::string printable(std::string out, const std::string& without)
    {
        for (char c = ' '; c <= '~'; ++c)
            if (without.find(c) == std::string::npos)
                out += c;
        return out;
    }

    std::string name()
    {
        const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";
        return cat({from(letters, 1, 1), from(letters + "0123456789", 0, 6)});
    }

    std::string text()
    {
        const char* references[] = {"&lt;", "&gt;", "&amp;", "&quot;", "&apos;"};
        std::string out = cat({from(" \t\n", 0, 2), from(printable("", " &\"<:\\"), 1, 1)});
        for (int n = pick(6); n > 0; --n)
            out += pick(3) == 0 ? references[pick(5)] : from(printable(" \t\n", "&<"), 1, 8);
        for (std::size_t at = out.find("]]>"); at != std::string::npos; at = out.find("]]>"))
            out.replace(at + 2, 1, "&gt;");
        return out;
    }

    std::string element(int depth)
    {
        const std::string tag = name();
        std::string out = "<" + tag;
        std::set<std::string> used;
        for (int n = pick(5); n > 0; --n) {
            const std::string attribute = name();
            if (used.insert(to_lower_case(attribute)).second)
                out += cat({from(" \t\n", 1, 2), attribute, from(" \t\n", 0, 1), "=", from(" \t\n", 0, 1), "\"",
                            from(printable("", "&<\""), 0, 10), "\""});
        }
        out += from(" \t\n", 0, 1);
        const int kind = pick(depth >= 5 ? 2 : 4);  // 0 empty, 1 text, 2-3 children
        if (kind == 0 && pick(2) == 0)
            return out + "/>";
        out += kind == 1 ? ">" + text() : ">";
        for (int n = kind >= 2 ? 1 + pick(4) : 0; n > 0; --n)
            out += cat({from(" \t\n", 0, 3), element(depth + 1)});
        return out + cat({kind >= 2 ? from(" \t\n", 0, 3) : "", "</", tag, from(" \t\n", 0, 1), ">"});
    }

    std::string document()
    {
        const char* declarations[] = {"<?xml version=\"1.0\"?>", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
                                      "<?xml version = \"1.0\" standalone=\"yes\" ?>"};
        return cat({declarations[pick(3)], from(" \t\n", 0, 2), element(0), from(" \t\n", 0, 2)});
    }
};

// Expat's tree in the form of dump_tree, or nothing when expat rejects the document.
// Its events build the form on a stack whose bottom entry stands for the
// document: the root ends up as its children.
struct OPEN {
    std::string name;
    std::map<std::string, std::string, LESS_C_STRING> attributes;
    std::string text, children;
};
using STACK = std::vector<OPEN>;

std::string parse_with_expat(const std::string& document)
{
    STACK stack(1);
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &stack);
    XML_SetElementHandler(
        parser,
        [](void* data, const XML_Char* name, const XML_Char** attributes) {
            OPEN open{name, {}, {}, {}};
            for (; *attributes != nullptr; attributes += 2)
                open.attributes[attributes[0]] = attributes[1];
            static_cast<STACK*>(data)->push_back(open);
        },
        [](void* data, const XML_Char* /*name*/) {
            OPEN open = std::move(static_cast<STACK*>(data)->back());
            static_cast<STACK*>(data)->pop_back();
            open.text.erase(0, open.text.find_first_not_of(" \t\n"));
            std::string& children = static_cast<STACK*>(data)->back().children;
            children += (children.empty() ? "" : ",") + dump(open.name, open.attributes, open.text, open.children);
        });
    XML_SetCharacterDataHandler(parser, [](void* data, const XML_Char* text, int length) {
        static_cast<STACK*>(data)->back().text.append(text, static_cast<std::size_t>(length));
    });
    const bool ok = XML_Parse(parser, document.data(), static_cast<int>(document.size()), 1) == XML_STATUS_OK;
    XML_ParserFree(parser);
    return ok && stack.size() == 1 ? stack[0].children : "";
}

TEST(expat_differential, random_documents_build_the_same_tree)
{
    const char* from_environment = std::getenv("VORNXML_DIFF_DOCUMENTS");
    const unsigned documents = from_environment != nullptr ? std::stoul(from_environment) : 10000;
    for (unsigned seed = 1; seed <= documents; ++seed) {
        const std::string document = GENERATOR{std::mt19937(seed)}.document();
        SCOPED_TRACE("seed " + std::to_string(seed) + ":\n" + document);
        const std::string theirs = parse_with_expat(document);
        ASSERT_FALSE(theirs.empty()) << "expat rejects the document";
        const vorn_test::OUTCOME ours = vorn_test::parse_all_ways(document);
        ASSERT_TRUE(ours.ok && ours.errors.empty());
        ASSERT_EQ(ours.tree, theirs);
    }
    std::printf("%u documents compared with expat\n", documents);
}

}  // namespace
