#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <tuple>
#include <utility>

#include "vorn_test_support.h"

using vorn_test::dump_tree;

namespace {

// Records what it receives.
struct LISTENER : VORN_XML_SAX_EVENT_LISTENER {
    std::string log;
    void process_start_document() override { log += "[ "; }
    void process_end_document(const char* text) override { log += std::string("]") + text + " "; }
    void process_start_element(const char* name, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        log += std::string("<") + name + (attributes != nullptr ? "@ " : " ");
    }
    void process_end_element(VORN_XML_ELEMENT* e) override { log += e != nullptr ? ">" + e->element_name + " " : "> "; }
    void process_characters(const char* text) override { log += std::string("'") + text + " "; }
};

// Feeds a script of events: "[" and "]T" start and end the document (text T),
// "<a" starts element a, ">" ends the innermost one, "'t" is character data,
// "!" switches DOM mode.
void feed(VORN_XML_SAX_TREE_HANDLER& handler, const std::string& script)
{
    std::istringstream in(script);
    for (std::string word; in >> word;) {
        const std::string rest = word.substr(1);
        VORN_XML_ATTRIB_LIST* none = nullptr;
        switch (word[0]) {
        case '[': handler.process_start_document(); break;
        case ']': handler.process_end_document(rest.c_str()); break;
        case '<': handler.process_start_element(rest, none); break;
        case '>': handler.process_end_element("unchecked"); break;
        case '!': handler.DOM_mode = !handler.DOM_mode; break;
        default: handler.process_characters(rest);
        }
    }
}

// A handler whose elements log their deletion in `deleted`; `live` holds
// those not deleted yet.
std::string deleted;
std::set<VORN_XML_ELEMENT*> live;

struct COUNTED : VORN_XML_ELEMENT {
    COUNTED(const std::string& name, VORN_XML_ATTRIB_LIST* list) : VORN_XML_ELEMENT(name, list) { live.insert(this); }
    ~COUNTED() override
    {
        deleted += element_name;
        live.erase(this);
    }
};

struct COUNTING_HANDLER : VORN_XML_SAX_TREE_HANDLER {
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        if (DOM_mode)
            element_stack->add_object(new COUNTED(name, attributes));
        if (event_listener != nullptr)
            event_listener->process_start_element(name.c_str(), attributes);
    }
};

}  // namespace

TEST(tree_handler, event_sequences_with_dom_mode_on_and_off)
{
    // In DOM mode: script, dump of the root, elements left open, what the listener gets, what the
    // handler's destructor deletes.  With DOM mode off (and the switches "!" dropped) nothing is
    // built and the listener gets null at each end.
    const std::tuple<const char*, const char*, long, const char*, const char*> cases[] = {
        {"[ <a <b > <c 't > > ]doc", "a[b,c(\"t\")]", 0, "[ <a <b >b <c 't >c >a ]doc ", "abc"},
        {"<a 'x <b > 'y >", "a(\"y\")[b]", 0, "<a 'x <b >b 'y >a ", "ab"},  // the last text wins
        {"'x > <a > > 'y", "a", 0, "'x > <a >a > 'y ", "a"},                // nothing open: no change
        {"<a ! 'x ! <b ! > ! 't > >", "a[b(\"t\")]", 0, "<a 'x <b > 't >b >a ", "ab"},
        {"<a > ! <b > 'x ! <c >", "c", 0, "<a >a <b > 'x <c >c ", "c"},  // a new root; a is not deleted
        {"<a <b > 't", "", 1, "<a <b >b 't ", "ab"},                     // b is hung under the open a
        {"<a <b", "", 2, "<a <b ", "ab"},                                // b is not a's: each deleted once
    };
    for (const auto& [script, tree, open, listened, destroyed] : cases) {
        for (bool dom : {true, false}) {
            SCOPED_TRACE(std::string(script) + (dom ? "" : " (DOM off)"));
            LISTENER listener;
            deleted.clear();
            auto handler = std::make_unique<COUNTING_HANDLER>();
            handler->DOM_mode = dom;
            handler->set_event_listener(&listener);
            feed(*handler, dom ? script : std::regex_replace(script, std::regex("! ?"), ""));
            EXPECT_EQ(dump_tree(handler->get_root_element()), dom ? tree : "");
            EXPECT_EQ(handler->element_stack->get_count(), dom ? open : 0);
            EXPECT_EQ(listener.log, dom ? listened : std::regex_replace(listened, std::regex(">\\w+"), ">"));
            EXPECT_EQ(deleted, "");
            handler.reset();
            EXPECT_EQ(deleted, dom ? destroyed : "");
            while (!live.empty())
                delete *live.begin();
        }
    }
}
