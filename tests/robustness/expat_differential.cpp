// Differential test: random documents from the part of XML that this library
// and expat both accept with the same meaning are parsed by both, and the
// trees must agree.  Every document is reproducible from its seed.
//
// Where the two differ by design the comparison allows for it: attribute
// names are compared case-folded, and expat's text loses its leading white
// space (the tokenizer skips it), so white space that expat reports between
// child elements compares as no text.
#include <expat.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "vorn_test_support.h"

namespace {

struct NODE {
    std::string name;
    std::map<std::string, std::string> attributes;  // names folded to lower case
    std::string text;
    std::vector<NODE> children;
};

std::string canonical(const NODE& node)
{
    std::string out = node.name + "{";
    for (const auto& pair : node.attributes)
        out += pair.first + "=\"" + pair.second + "\"";
    out += "}(" + std::to_string(node.text.size()) + ":" + node.text + ")[";
    for (const NODE& child : node.children)
        out += canonical(child);
    return out + "]";
}

// Writes one random document.
class GENERATOR {
public:
    explicit GENERATOR(unsigned seed) : rng(seed) {}

    std::string document()
    {
        const char* declarations[] = {"<?xml version=\"1.0\"?>", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
                                      "<?xml version = \"1.0\" standalone=\"yes\" ?>"};
        std::string out = declarations[pick(3)] + space(2);
        element(out, 0);
        return out + space(2);
    }

private:
    std::mt19937 rng;

    int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng); }

    std::string from(const std::string& set, int min, int max)
    {
        std::string out;
        for (int n = min + pick(max - min + 1); n > 0; --n)
            out += set[static_cast<std::size_t>(pick(static_cast<int>(set.size())))];
        return out;
    }

    std::string space(int max) { return from(" \t\n", 0, max); }

    std::string name()
    {
        static const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";
        return from(letters, 1, 1) + from(letters + "0123456789", 0, 6);
    }

    // Printable ASCII and the given white space, without the listed bytes.
    static std::string printable(const std::string& white, const std::string& without)
    {
        std::string out = white;
        for (char c = ' '; c <= '~'; ++c)
            if (without.find(c) == std::string::npos)
                out += c;
        return out;
    }

    std::string text()
    {
        static const std::string first = printable("", " &\"<:\\");
        static const std::string rest = printable(" \t\n", "&<");
        static const char* references[] = {"&lt;", "&gt;", "&amp;", "&quot;", "&apos;"};
        std::string out = space(2) + from(first, 1, 1);
        for (int n = pick(6); n > 0; --n)
            out += pick(3) == 0 ? references[pick(5)] : from(rest, 1, 8);
        for (std::size_t at = out.find("]]>"); at != std::string::npos; at = out.find("]]>"))
            out.replace(at + 2, 1, "&gt;");
        return out;
    }

    void element(std::string& out, int depth)
    {
        const std::string tag = name();
        out += "<" + tag;
        std::set<std::string> used;
        for (int n = pick(5); n > 0; --n) {
            const std::string attribute = name();
            if (!used.insert(to_lower_case(attribute)).second)
                continue;
            static const std::string value_chars = printable("", "&<\"");
            out += from(" \t\n", 1, 2) + attribute + space(1) + "=" + space(1) + "\"" + from(value_chars, 0, 10) + "\"";
        }
        out += space(1);
        const int kind = depth >= 5 ? pick(2) : pick(4);  // 0 empty, 1 text, 2-3 children
        if (kind == 0 && pick(2) == 0) {
            out += "/>";
            return;
        }
        out += ">";
        if (kind == 1) {
            out += text();
        } else if (kind >= 2) {
            for (int n = 1 + pick(4); n > 0; --n) {
                out += space(3);
                element(out, depth + 1);
            }
            out += space(3);
        }
        out += "</" + tag + space(1) + ">";
    }
};

// Expat's events build NODEs on a stack whose bottom entry stands for the
// document: the root ends up as its only child.
using OPEN = std::vector<NODE>;

void XMLCALL on_start(void* data, const XML_Char* name, const XML_Char** attributes)
{
    NODE node;
    node.name = name;
    for (; *attributes != nullptr; attributes += 2)
        node.attributes[to_lower_case(attributes[0])] = attributes[1];
    static_cast<OPEN*>(data)->push_back(node);
}

void XMLCALL on_end(void* data, const XML_Char* /*name*/)
{
    auto* open = static_cast<OPEN*>(data);
    NODE node = std::move(open->back());
    open->pop_back();
    node.text.erase(0, node.text.find_first_not_of(" \t\n"));
    open->back().children.push_back(std::move(node));
}

void XMLCALL on_text(void* data, const XML_Char* text, int length)
{
    static_cast<OPEN*>(data)->back().text.append(text, static_cast<std::size_t>(length));
}

bool parse_with_expat(const std::string& document, NODE& root)
{
    OPEN open(1);
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &open);
    XML_SetElementHandler(parser, on_start, on_end);
    XML_SetCharacterDataHandler(parser, on_text);
    const bool ok = XML_Parse(parser, document.data(), static_cast<int>(document.size()), 1) == XML_STATUS_OK;
    XML_ParserFree(parser);
    if (open.size() != 1 || open[0].children.size() != 1)
        return false;
    root = std::move(open[0].children[0]);
    return ok;
}

NODE to_node(VORN_XML_ELEMENT* element)
{
    NODE node;
    node.name = element->get_element_name();
    node.text = element->get_element_data();
    if (element->attrib_list != nullptr)
        for (const auto& pair : element->attrib_list->attrib_map)
            node.attributes[to_lower_case(pair.first)] = pair.second;
    for (VORN_XML_ELEMENT* child = element->get_first_sub_element(); child != nullptr;
         child = element->get_next_sub_element())
        node.children.push_back(to_node(child));
    return node;
}

TEST(expat_differential, random_documents_build_the_same_tree)
{
    const char* from_environment = std::getenv("VORNXML_DIFF_DOCUMENTS");
    const unsigned documents = from_environment != nullptr ? std::stoul(from_environment) : 10000;
    unsigned compared = 0;
    for (unsigned seed = 1; seed <= documents; ++seed) {
        const std::string document = GENERATOR(seed).document();
        NODE theirs;
        ASSERT_TRUE(parse_with_expat(document, theirs)) << "seed " << seed << ", expat rejects:\n" << document;
        VORN_XML_SAX_PARSER parser;
        VORN_XML_STRING_INPUT_SOURCE source(document);
        ASSERT_TRUE(parser.parse(&source)) << "seed " << seed << ":\n" << document;
        ASSERT_FALSE(parser.get_error_handler()->has_error_messages()) << "seed " << seed << ":\n" << document;
        const NODE ours = to_node(parser.get_tree_handler()->get_root_element());
        ASSERT_EQ(canonical(ours), canonical(theirs)) << "seed " << seed << ":\n" << document;
        ++compared;
    }
    std::printf("%u documents compared with expat\n", compared);
}

}  // namespace
