#include "targets.h"

#include <malloc.h>
#include <valgrind/callgrind.h>

#include <ctime>
#include <functional>
#include <memory>

#include <expat.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <pugixml.hpp>
#include <tinyxml2.h>
#include <vorn_xml.h>

namespace vorn_bench {

bool measure_wall_time = false;

namespace {

double now()
{
    timespec t{};
    clock_gettime(measure_wall_time ? CLOCK_MONOTONIC : CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

// The measured region: its time on the chosen clock, and callgrind's
// collection switched on.
class REGION {
public:
    void begin()
    {
        CALLGRIND_TOGGLE_COLLECT;
        start = now();
    }
    double end()
    {
        const double stop = now();
        CALLGRIND_TOGGLE_COLLECT;
        return stop - start;
    }

private:
    double start = 0;
};

// What a "keep" run leaves alive until release_kept().
std::function<void()> kept;

void keep_or_free(bool keep, std::function<void()> free_it)
{
    if (keep)
        kept = std::move(free_it);
    else
        free_it();
}

// The host's own copy of the document, which a string source takes over.
std::string host_copy(const DOC& doc)
{
    if (!doc.spare.empty())
        return std::move(doc.spare);
    return doc.text;
}

long count_vorn(VORN_XML_ELEMENT* root)
{
    if (root == nullptr)
        return 0;
    long n = 0;
    std::vector<VORN_XML_ELEMENT*> todo{root};
    while (!todo.empty()) {
        VORN_XML_ELEMENT* e = todo.back();
        todo.pop_back();
        ++n;
        for (VORN_XML_ELEMENT* c = e->get_first_sub_element(); c != nullptr; c = e->get_next_sub_element())
            todo.push_back(c);
    }
    return n;
}

// --- vornxml --------------------------------------------------------------

RUN vorn_sax_string(const DOC& doc, bool)
{
    std::string text = host_copy(doc);
    RUN run;
    REGION region;
    region.begin();
    VORN_XML_STRING_INPUT_SOURCE source(std::move(text));
    VORN_XML_SAX_PARSER parser;
    parser.enable_DOM_mode(false);
    const bool ok = parser.parse(&source);
    run.seconds = region.end();
    run.elements = ok ? -1 : -2;
    return run;
}

RUN vorn_sax_file(const DOC& doc, bool)
{
    RUN run;
    REGION region;
    region.begin();
    VORN_XML_FILE_INPUT_SOURCE source(doc.path);
    VORN_XML_SAX_PARSER parser;
    parser.enable_DOM_mode(false);
    const bool ok = parser.parse(&source);
    run.seconds = region.end();
    run.elements = ok ? -1 : -2;
    return run;
}

// One DOM parse of the source that `make_source` makes inside the measured
// region.  `free_inside`: the tree is freed inside the region too; otherwise
// it is kept alive or freed outside, as `keep` says.
template <class MAKE> RUN vorn_dom(bool keep, bool free_inside, MAKE make_source)
{
    RUN run;
    REGION region;
    region.begin();
    auto source = make_source();
    auto parser = std::make_unique<VORN_XML_SAX_PARSER>();
    const bool ok = parser->parse(source.get());
    if (free_inside) {
        parser.reset();
        run.seconds = region.end();
        run.elements = ok ? -1 : -2;
        return run;
    }
    run.seconds = region.end();
    run.elements = ok ? count_vorn(parser->get_tree_handler()->get_root_element()) : -2;
    VORN_XML_SAX_PARSER* p = parser.release();
    VORN_XML_SAX_INPUT_SOURCE* s = source.release();
    keep_or_free(keep, [p, s] {
        delete p;
        delete s;
    });
    return run;
}

// DOM from a string source; the host's copy of the document is made outside
// the measured region.
RUN vorn_dom_string(const DOC& doc, bool keep, bool free_inside)
{
    std::string text = host_copy(doc);
    return vorn_dom(keep, free_inside,
                    [&text] { return std::make_unique<VORN_XML_STRING_INPUT_SOURCE>(std::move(text)); });
}

RUN vorn_dom_string_parse(const DOC& doc, bool keep)
{
    return vorn_dom_string(doc, keep, false);
}

RUN vorn_dom_string_free(const DOC& doc, bool keep)
{
    return vorn_dom_string(doc, keep, true);
}

RUN vorn_dom_file(const DOC& doc, bool keep)
{
    return vorn_dom(keep, !keep, [&doc] { return std::make_unique<VORN_XML_FILE_INPUT_SOURCE>(doc.path); });
}

// The floor: one virtual get_next_char() per byte, letters appended to a
// string.  The source is reached through its base so the call stays virtual.
__attribute__((noinline)) long floor_loop(VORN_XML_SAX_INPUT_SOURCE& source)
{
    std::string letters;
    for (int c = source.get_next_char(); c != -1; c = source.get_next_char()) {
        if (static_cast<unsigned>((c | 0x20) - 'a') < 26u)
            letters.push_back(static_cast<char>(c));
    }
    return static_cast<long>(letters.size());
}

RUN floor_string(const DOC& doc, bool)
{
    std::string text = host_copy(doc);
    RUN run;
    REGION region;
    region.begin();
    VORN_XML_STRING_INPUT_SOURCE source(std::move(text));
    const long letters = floor_loop(source);
    run.seconds = region.end();
    run.elements = letters > 0 ? -1 : -2;
    return run;
}

// --- expat ----------------------------------------------------------------

struct COUNTS {
    long elements = 0;
    long ends = 0;
    long characters = 0;
};

RUN expat_sax(const DOC& doc, bool)
{
    COUNTS counts;
    RUN run;
    REGION region;
    region.begin();
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &counts);
    XML_SetElementHandler(
        parser, [](void* user, const XML_Char*, const XML_Char**) { ++static_cast<COUNTS*>(user)->elements; },
        [](void* user, const XML_Char*) { ++static_cast<COUNTS*>(user)->ends; });
    XML_SetCharacterDataHandler(
        parser, [](void* user, const XML_Char*, int length) { static_cast<COUNTS*>(user)->characters += length; });
    const bool ok = XML_Parse(parser, doc.text.data(), static_cast<int>(doc.text.size()), 1) == XML_STATUS_OK;
    XML_ParserFree(parser);
    run.seconds = region.end();
    run.elements = ok ? counts.elements : -2;
    return run;
}

// --- libxml2 --------------------------------------------------------------

RUN libxml2_sax2(const DOC& doc, bool)
{
    COUNTS counts;
    xmlSAXHandler handler{};
    handler.initialized = XML_SAX2_MAGIC;
    handler.startElementNs = [](void* user, const xmlChar*, const xmlChar*, const xmlChar*, int, const xmlChar**, int,
                                int, const xmlChar**) { ++static_cast<COUNTS*>(user)->elements; };
    handler.endElementNs = [](void* user, const xmlChar*, const xmlChar*, const xmlChar*) {
        ++static_cast<COUNTS*>(user)->ends;
    };
    handler.characters = [](void* user, const xmlChar*, int length) {
        static_cast<COUNTS*>(user)->characters += length;
    };
    RUN run;
    REGION region;
    region.begin();
    const bool ok = xmlSAXUserParseMemory(&handler, &counts, doc.text.data(), static_cast<int>(doc.text.size())) == 0;
    run.seconds = region.end();
    run.elements = ok ? counts.elements : -2;
    return run;
}

long count_libxml2(xmlNode* node)
{
    long n = 0;
    for (; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE)
            n += 1 + count_libxml2(node->children);
    }
    return n;
}

RUN libxml2_dom(const DOC& doc, bool keep, bool free_inside)
{
    RUN run;
    REGION region;
    region.begin();
    xmlDoc* tree = xmlReadMemory(doc.text.data(), static_cast<int>(doc.text.size()), nullptr, nullptr, 0);
    if (free_inside && !keep) {
        xmlFreeDoc(tree);
        run.seconds = region.end();
        run.elements = tree != nullptr ? -1 : -2;
        return run;
    }
    run.seconds = region.end();
    run.elements = tree != nullptr ? count_libxml2(xmlDocGetRootElement(tree)) : -2;
    keep_or_free(keep, [tree] { xmlFreeDoc(tree); });
    return run;
}

RUN libxml2_dom_parse(const DOC& doc, bool keep)
{
    return libxml2_dom(doc, keep, false);
}

RUN libxml2_dom_free(const DOC& doc, bool keep)
{
    return libxml2_dom(doc, keep, true);
}

// One timed parse into a document object of a peer.  Without `keep` the
// document is freed inside the measured region; with it, its elements are
// counted outside the region and it stays alive until the next run.
template <class TREE, class PARSE, class COUNT> RUN timed_document(bool keep, PARSE parse, COUNT count)
{
    RUN run;
    REGION region;
    region.begin();
    auto tree = std::make_unique<TREE>();
    const bool ok = parse(*tree);
    if (!keep) {
        tree.reset();
        run.seconds = region.end();
        run.elements = ok ? -1 : -2;
        return run;
    }
    run.seconds = region.end();
    run.elements = ok ? count(*tree) : -2;
    TREE* t = tree.release();
    keep_or_free(keep, [t] { delete t; });
    return run;
}

// --- pugixml --------------------------------------------------------------

long count_pugi(const pugi::xml_node& node)
{
    long n = 0;
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
        if (c.type() == pugi::node_element)
            n += 1 + count_pugi(c);
    }
    return n;
}

RUN pugixml_dom(const DOC& doc, bool keep)
{
    return timed_document<pugi::xml_document>(
        keep,
        [&doc](pugi::xml_document& tree) {
            return static_cast<bool>(tree.load_buffer(doc.text.data(), doc.text.size()));
        },
        [](pugi::xml_document& tree) { return count_pugi(tree); });
}

// --- tinyxml2 -------------------------------------------------------------

long count_tiny(const tinyxml2::XMLNode* node)
{
    long n = 0;
    for (const tinyxml2::XMLElement* c = node->FirstChildElement(); c != nullptr; c = c->NextSiblingElement())
        n += 1 + count_tiny(c);
    return n;
}

RUN tinyxml2_dom(const DOC& doc, bool keep)
{
    return timed_document<tinyxml2::XMLDocument>(
        keep,
        [&doc](tinyxml2::XMLDocument& tree) {
            return tree.Parse(doc.text.data(), doc.text.size()) == tinyxml2::XML_SUCCESS;
        },
        [](tinyxml2::XMLDocument& tree) { return count_tiny(&tree); });
}

}  // namespace

const TARGET targets[] = {
    {"vornxml_sax_string", "vornxml SAX (DOM off, no listener), string source", vorn_sax_string, false},
    {"vornxml_sax_file", "vornxml SAX, file source", vorn_sax_file, false},
    {"vornxml_dom_string", "vornxml DOM, string source, parse", vorn_dom_string_parse, true},
    {"vornxml_dom_string_free", "vornxml DOM, string source, parse + free", vorn_dom_string_free, false},
    {"vornxml_dom_file_free", "vornxml DOM, file source, parse + free", vorn_dom_file, true},
    {"expat", "expat, counting callbacks", expat_sax, false},
    {"libxml2_sax2", "libxml2 SAX2, counting callbacks", libxml2_sax2, false},
    {"libxml2_dom", "libxml2 DOM, parse", libxml2_dom_parse, true},
    {"libxml2_dom_free", "libxml2 DOM, parse + free", libxml2_dom_free, false},
    {"pugixml", "pugixml, parse + free", pugixml_dom, true},
    {"tinyxml2", "tinyxml2, parse + free", tinyxml2_dom, true},
    {"floor", "one virtual get_next_char() per byte, letters appended", floor_string, false},
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

void release_kept()
{
    if (kept) {
        std::function<void()> free_it = std::move(kept);
        kept = nullptr;
        free_it();
    }
}

void keep_freed_memory()
{
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_TOP_PAD, 64 << 20);
}

}  // namespace vorn_bench
