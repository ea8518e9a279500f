// What the standard writer writes, every XML reader reads to the same tree:
// random trees with names, values and texts that need references are
// written (flat and indented) and read back by expat, by libxml2 and by the
// standard reader, and each reading must give the tree that was written.
// A reader's tree is taken as the standard reader builds it: an element's
// text is its runs of character data joined, and none when it has
// sub-elements and that text is white space alone.  Every tree is
// reproducible from its seed.
#include <expat.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "vorn_test_support.h"

namespace {

using ATTRIBUTES = std::vector<std::pair<std::string, std::string>>;

// One line per element, in document order: depth, name, attributes sorted
// by name, text.
struct DUMP {
    std::string text;
    void element(std::size_t depth, const std::string& name, ATTRIBUTES attributes, const std::string& data)
    {
        std::sort(attributes.begin(), attributes.end());
        text += std::to_string(depth) + " " + name;
        for (const auto& [key, value] : attributes)
            text += " " + key + "=[" + value + "]";
        text += " [" + data + "]\n";
    }
};

// An element's text as the standard reader's tree keeps it.
std::string tree_text(const std::string& runs, bool has_sub_elements)
{
    return has_sub_elements && runs.find_first_not_of(" \t\n\r") == std::string::npos ? std::string() : runs;
}

std::string dump_tree(VORN_XML_ELEMENT* root)
{
    DUMP dump;
    for (VORN_XML_TREE_WALK walk(root); walk.next();) {
        if (!walk.is_entering())
            continue;
        VORN_XML_ELEMENT* element = walk.get_element();
        ATTRIBUTES attributes;
        if (element->attrib_list != nullptr)
            for (const auto& pair : element->attrib_list->attrib_map)
                attributes.emplace_back(pair.first, pair.second);
        dump.element(walk.get_depth(), element->element_name, attributes, element->element_data);
    }
    return dump.text;
}

// expat: elements are dumped at their end, once their text is known, and
// put back in document order by their start index.
struct EXPAT_READING {
    struct OPEN {
        std::size_t slot;
        std::string name;
        ATTRIBUTES attributes;
        std::string text;
        bool has_sub_elements;
    };
    std::vector<OPEN> open;
    std::vector<std::string> lines;
};

void XMLCALL expat_start(void* user, const XML_Char* name, const XML_Char** attributes)
{
    auto& reading = *static_cast<EXPAT_READING*>(user);
    ATTRIBUTES list;
    for (const XML_Char** a = attributes; *a != nullptr; a += 2)
        list.emplace_back(a[0], a[1]);
    if (!reading.open.empty())
        reading.open.back().has_sub_elements = true;
    reading.open.push_back({reading.lines.size(), name, list, "", false});
    reading.lines.emplace_back();
}

void XMLCALL expat_end(void* user, const XML_Char*)
{
    auto& reading = *static_cast<EXPAT_READING*>(user);
    EXPAT_READING::OPEN& element = reading.open.back();
    DUMP dump;
    dump.element(reading.open.size() - 1, element.name, element.attributes,
                 tree_text(element.text, element.has_sub_elements));
    reading.lines[element.slot] = dump.text;
    reading.open.pop_back();
}

void XMLCALL expat_text(void* user, const XML_Char* text, int length)
{
    static_cast<EXPAT_READING*>(user)->open.back().text.append(text, static_cast<std::size_t>(length));
}

std::string read_with_expat(const std::string& document)
{
    EXPAT_READING reading;
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &reading);
    XML_SetElementHandler(parser, expat_start, expat_end);
    XML_SetCharacterDataHandler(parser, expat_text);
    const bool ok = XML_Parse(parser, document.data(), static_cast<int>(document.size()), 1) == XML_STATUS_OK;
    const std::string error = ok ? "" : XML_ErrorString(XML_GetErrorCode(parser));
    XML_ParserFree(parser);
    if (!ok)
        return "expat refused: " + error;
    std::string text;
    for (const std::string& line : reading.lines)
        text += line;
    return text;
}

std::string read_with_libxml2(const std::string& document)
{
    xmlDocPtr doc = xmlReadMemory(document.data(), static_cast<int>(document.size()), "written.xml", nullptr,
                                  XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    if (doc == nullptr)
        return "libxml2 refused";
    DUMP dump;
    std::vector<std::pair<xmlNodePtr, std::size_t>> pending{{xmlDocGetRootElement(doc), 0}};
    while (!pending.empty()) {
        const auto [node, depth] = pending.back();
        pending.pop_back();
        ATTRIBUTES attributes;
        for (xmlAttrPtr a = node->properties; a != nullptr; a = a->next) {
            xmlChar* value = xmlGetProp(node, a->name);
            attributes.emplace_back(reinterpret_cast<const char*>(a->name), reinterpret_cast<const char*>(value));
            xmlFree(value);
        }
        std::string text;
        std::vector<xmlNodePtr> children;
        for (xmlNodePtr child = node->children; child != nullptr; child = child->next) {
            if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE)
                text += reinterpret_cast<const char*>(child->content);
            else if (child->type == XML_ELEMENT_NODE)
                children.push_back(child);
        }
        dump.element(depth, reinterpret_cast<const char*>(node->name), attributes, tree_text(text, !children.empty()));
        for (auto child = children.rbegin(); child != children.rend(); ++child)
            pending.emplace_back(*child, depth + 1);
    }
    xmlFreeDoc(doc);
    return dump.text;
}

std::string read_with_standard_reader(const std::string& document)
{
    VORN_XML_STANDARD_PARSER parser;
    VORN_XML_STRING_INPUT_SOURCE source(document);
    if (!parser.parse(&source))
        return "vornxml refused";
    return dump_tree(parser.get_tree_handler()->get_root_element());
}

// A random tree whose names, values and texts reach every reference the
// writer makes and characters beyond ASCII.
std::unique_ptr<VORN_XML_ELEMENT> random_tree(std::mt19937& random)
{
    static const char* const names[] = {"a", "x-y", "n.1", "p:q", "_z", "\xC3\xA9l\xC3\xA9ment", "\xE4\xB8\x80", "B"};
    static const char* const values[] = {
        "", "v", "&<>\"'", "\t\n\r", "  two  spaces ", "\xE2\x82\xAC\xF0\x9F\x98\x80", "]]>", "a&amp;b"};
    static const char* const texts[] = {
        "", "", "t", "a & b", "<x/>", "]]>", " lead", "trail \n", "\r\n", "\xC3\xA9t\xC3\xA9", "\"q\" 'a'"};
    const auto pick = [&random](const auto& table) { return table[random() % (sizeof table / sizeof table[0])]; };
    const auto make = [&] {
        VORN_XML_ATTRIB_LIST attributes;
        const std::size_t count = random() % 3;
        for (std::size_t i = 0; i < count; ++i)
            attributes.set_attrib(pick(names), pick(values));
        auto element = std::make_unique<VORN_XML_ELEMENT>(pick(names), count == 0 ? nullptr : &attributes);
        element->set_element_data(pick(texts));
        return element;
    };
    auto root = make();
    std::vector<std::pair<VORN_XML_ELEMENT*, std::size_t>> open{{root.get(), 0}};
    while (!open.empty()) {
        const auto [element, depth] = open.back();
        open.pop_back();
        const std::size_t children = depth < 4 ? random() % 4 : 0;
        for (std::size_t i = 0; i < children; ++i) {
            auto child = make();
            open.emplace_back(child.get(), depth + 1);
            element->add_sub_element(child.release());
        }
        // The one text that has no document (see the writer).
        if (children > 0)
            element->set_element_data(tree_text(element->element_data, true));
    }
    return root;
}

TEST(standard_round_trip, expat_libxml2_and_the_standard_reader_read_what_is_written)
{
    for (unsigned seed = 1; seed <= 400; ++seed) {
        std::mt19937 random(seed);
        const auto tree = random_tree(random);
        const std::string expected = dump_tree(tree.get());
        VORN_XML_STANDARD_WRITER writer(static_cast<int>(seed % 3));
        std::string document;
        // Two attribute names that differ only in case are one in the list,
        // so any random tree can be written.
        ASSERT_TRUE(writer.write(tree.get(), document)) << "seed " << seed << ": " << writer.error_message;
        EXPECT_EQ(read_with_expat(document), expected) << "seed " << seed << "\n" << document;
        EXPECT_EQ(read_with_libxml2(document), expected) << "seed " << seed << "\n" << document;
        EXPECT_EQ(read_with_standard_reader(document), expected) << "seed " << seed << "\n" << document;
    }
}

}  // namespace
