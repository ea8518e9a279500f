#include "targets.h"

#include <vector>

#include <expat.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <pugixml.hpp>
#include <tinyxml2.h>
#include <vorn_xml.h>

namespace vorn_bench {

namespace {

// --- vornxml --------------------------------------------------------------

class START_COUNTER : public VORN_XML_SAX_EVENT_LISTENER {
public:
    long elements = 0;
    void process_start_element(const char*, VORN_XML_ATTRIB_LIST*&) override { ++elements; }
};

long count_tree(VORN_XML_ELEMENT* root)
{
    long n = 0;
    for (VORN_XML_TREE_WALK walk(root); walk.next();)
        n += walk.is_entering() ? 1 : 0;
    return n;
}

// This library, from a file source or from a string source that takes the
// host's copy of the text over; in DOM mode, or with DOM mode off and a
// listener that counts the start tags.  PARSER is the dialect's parser or
// the standard XML one.
template <bool FROM_FILE, bool DOM, class PARSER = VORN_XML_SAX_PARSER> class VORN_RUN : public RUN {
public:
    explicit VORN_RUN(const DOC& doc) : path(doc.path)
    {
        if (!FROM_FILE)
            text = doc.text;
    }
    bool parse() override
    {
        if (FROM_FILE)
            source = std::make_unique<VORN_XML_FILE_INPUT_SOURCE>(path);
        else
            source = std::make_unique<VORN_XML_STRING_INPUT_SOURCE>(std::move(text));
        parser = std::make_unique<PARSER>();
        if (!DOM) {
            parser->enable_DOM_mode(false);
            parser->get_tree_handler()->set_event_listener(&counter);
        }
        return parser->parse(source.get());
    }
    long elements() const override
    {
        return DOM ? count_tree(parser->get_tree_handler()->get_root_element()) : counter.elements;
    }
    void free() override
    {
        parser.reset();
        source.reset();
    }

private:
    std::string path;
    std::string text;
    std::unique_ptr<VORN_XML_SAX_INPUT_SOURCE> source;
    std::unique_ptr<PARSER> parser;
    START_COUNTER counter;
};

// This library's push parser, fed the document in memory in pieces of
// PIECE bytes, as a host's event loop would hand them over; SAX or DOM as
// above; counting lines and columns or not (the sources above do not).
template <std::size_t PIECE, bool DOM, bool COUNT = false> class VORN_PUSH_RUN : public RUN {
public:
    explicit VORN_PUSH_RUN(const DOC& doc) : text(doc.text) {}
    bool parse() override
    {
        parser = std::make_unique<VORN_XML_SAX_PARSER>();
        if (!DOM) {
            parser->enable_DOM_mode(false);
            parser->get_tree_handler()->set_event_listener(&counter);
        }
        push = std::make_unique<VORN_XML_PUSH_PARSER>(*parser, COUNT);
        for (std::size_t at = 0; at < text.size(); at += PIECE) {
            const std::size_t size = text.size() - at < PIECE ? text.size() - at : PIECE;
            if (push->feed(text.data() + at, size) != VORN_XML_PUSH_PARSER::PUSH_MORE)
                return false;
        }
        return push->finish() == VORN_XML_PUSH_PARSER::PUSH_ACCEPTED;
    }
    long elements() const override
    {
        return DOM ? count_tree(parser->get_tree_handler()->get_root_element()) : counter.elements;
    }
    void free() override
    {
        push.reset();
        parser.reset();
    }

private:
    const std::string& text;
    std::unique_ptr<VORN_XML_SAX_PARSER> parser;
    std::unique_ptr<VORN_XML_PUSH_PARSER> push;
    START_COUNTER counter;
};

template <class R> std::unique_ptr<RUN> make(const DOC& doc)
{
    return std::make_unique<R>(doc);
}

// --- the peers ----------------------------------------------------------

// expat and libxml2 SAX2 with callbacks that count the start tags.
class EXPAT_RUN : public RUN {
public:
    explicit EXPAT_RUN(const DOC& doc) : text(doc.text) {}
    bool parse() override
    {
        parser = XML_ParserCreate(nullptr);
        XML_SetUserData(parser, &starts);
        XML_SetElementHandler(
            parser, [](void* starts, const XML_Char*, const XML_Char**) { ++*static_cast<long*>(starts); },
            [](void*, const XML_Char*) {});
        XML_SetCharacterDataHandler(parser, [](void*, const XML_Char*, int) {});
        return XML_Parse(parser, text.data(), static_cast<int>(text.size()), 1) == XML_STATUS_OK;
    }
    long elements() const override { return starts; }
    void free() override { XML_ParserFree(parser); }

private:
    const std::string& text;
    XML_Parser parser = nullptr;
    long starts = 0;
};

class LIBXML2_SAX2_RUN : public RUN {
public:
    explicit LIBXML2_SAX2_RUN(const DOC& doc) : text(doc.text) {}
    bool parse() override
    {
        xmlSAXHandler handler{};
        handler.initialized = XML_SAX2_MAGIC;
        handler.startElementNs = [](void* starts, const xmlChar*, const xmlChar*, const xmlChar*, int, const xmlChar**,
                                    int, int, const xmlChar**) { ++*static_cast<long*>(starts); };
        handler.endElementNs = [](void*, const xmlChar*, const xmlChar*, const xmlChar*) {};
        handler.characters = [](void*, const xmlChar*, int) {};
        return xmlSAXUserParseMemory(&handler, &starts, text.data(), static_cast<int>(text.size())) == 0;
    }
    long elements() const override { return starts; }
    void free() override {}

private:
    const std::string& text;
    long starts = 0;
};

// A peer's document object: made and filled by `load`, its elements counted
// by `count`, freed by deleting it.
template <class TREE, bool (*load)(TREE&, const std::string&), long (*count)(const TREE&)> class TREE_RUN : public RUN {
public:
    explicit TREE_RUN(const DOC& doc) : text(doc.text) {}
    bool parse() override
    {
        tree = std::make_unique<TREE>();
        return load(*tree, text);
    }
    long elements() const override { return count(*tree); }
    void free() override { tree.reset(); }

private:
    const std::string& text;
    std::unique_ptr<TREE> tree;
};

long count_libxml2(const xmlNode* node)
{
    long n = 0;
    for (; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE)
            n += 1 + count_libxml2(node->children);
    }
    return n;
}

// libxml2's document, behind a holder that frees it.
struct LIBXML2_DOC {
    xmlDoc* doc = nullptr;
    LIBXML2_DOC() = default;
    LIBXML2_DOC(const LIBXML2_DOC&) = delete;
    LIBXML2_DOC& operator=(const LIBXML2_DOC&) = delete;
    ~LIBXML2_DOC() { xmlFreeDoc(doc); }
};

bool load_libxml2(LIBXML2_DOC& tree, const std::string& text)
{
    tree.doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, 0);
    return tree.doc != nullptr;
}

long count_libxml2_doc(const LIBXML2_DOC& tree)
{
    return count_libxml2(xmlDocGetRootElement(tree.doc));
}

bool load_pugixml(pugi::xml_document& tree, const std::string& text)
{
    return static_cast<bool>(tree.load_buffer(text.data(), text.size()));
}

long count_pugixml(const pugi::xml_node& node)
{
    long n = 0;
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
        if (c.type() == pugi::node_element)
            n += 1 + count_pugixml(c);
    }
    return n;
}

long count_pugixml_doc(const pugi::xml_document& tree)
{
    return count_pugixml(tree);
}

bool load_tinyxml2(tinyxml2::XMLDocument& tree, const std::string& text)
{
    return tree.Parse(text.data(), text.size()) == tinyxml2::XML_SUCCESS;
}

long count_tinyxml2(const tinyxml2::XMLNode& node)
{
    long n = 0;
    for (const tinyxml2::XMLElement* c = node.FirstChildElement(); c != nullptr; c = c->NextSiblingElement())
        n += 1 + count_tinyxml2(*c);
    return n;
}

long count_tinyxml2_doc(const tinyxml2::XMLDocument& tree)
{
    return count_tinyxml2(tree);
}

}  // namespace

const TARGET targets[] = {
    {"vornxml_sax_string", false, make<VORN_RUN<false, false>>},
    {"vornxml_sax_file", false, make<VORN_RUN<true, false>>},
    {"vornxml_dom_string", true, make<VORN_RUN<false, true>>},
    {"vornxml_dom_file", true, make<VORN_RUN<true, true>>},
    {"vornxml_sax_push", false, make<VORN_PUSH_RUN<std::size_t{64} * 1024, false>>},
    {"vornxml_dom_push", true, make<VORN_PUSH_RUN<std::size_t{64} * 1024, true>>},
    {"vornxml_sax_push_bytes", false, make<VORN_PUSH_RUN<1, false>>},
    {"vornxml_sax_push_counted", false, make<VORN_PUSH_RUN<std::size_t{64} * 1024, false, true>>},
    {"vornxml_standard_sax_string", false, make<VORN_RUN<false, false, VORN_XML_STANDARD_PARSER>>},
    {"vornxml_standard_dom_string", true, make<VORN_RUN<false, true, VORN_XML_STANDARD_PARSER>>},
    {"expat", false, make<EXPAT_RUN>},
    {"libxml2_sax2", false, make<LIBXML2_SAX2_RUN>},
    {"libxml2_dom", true, make<TREE_RUN<LIBXML2_DOC, load_libxml2, count_libxml2_doc>>},
    {"pugixml", true, make<TREE_RUN<pugi::xml_document, load_pugixml, count_pugixml_doc>>},
    {"tinyxml2", true, make<TREE_RUN<tinyxml2::XMLDocument, load_tinyxml2, count_tinyxml2_doc>>},
};
const std::size_t target_count = sizeof targets / sizeof targets[0];

const TARGET* find_target(const std::string& name)
{
    for (const TARGET& t : targets) {
        if (name == t.name)
            return &t;
    }
    return nullptr;
}

}  // namespace vorn_bench
