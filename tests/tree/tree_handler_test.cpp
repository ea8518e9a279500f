#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <tuple>

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

}  // namespace

// In DOM mode: script, dump of the root, elements left open, what the listener
// gets.  With DOM mode off (and the switches "!" dropped) nothing is built and
// the listener gets null at each end.  The handler frees what is left open,
// and the recording handler a replaced root (which the base handler leaves):
// the sanitizer and memcheck stages see that each is freed once.
TEST(tree_handler, event_sequences_with_dom_mode_on_and_off)
{
    const std::tuple<const char*, const char*, long, const char*> cases[] = {
        {"[ <a <b > <c 't > > ]doc", "a[b,c(\"t\")]", 0, "[ <a <b >b <c 't >c >a ]doc "},
        {"<a 'x <b > 'y >", "a(\"y\")[b]", 0, "<a 'x <b >b 'y >a "},  // the last text wins
        {"'x > <a > > 'y", "a", 0, "'x > <a >a > 'y "},               // nothing open: no change
        {"<a ! 'x ! <b ! > ! 't > >", "a[b(\"t\")]", 0, "<a 'x <b > 't >b >a "},
        {"<a > ! <b > 'x ! <c >", "c", 0, "<a >a <b > 'x <c >c "},  // a new root
        {"<a <b > 't", "", 1, "<a <b >b 't "},                      // b is hung under the open a
        {"<a <b", "", 2, "<a <b "},                                 // b is not a's yet
    };
    for (const auto& [script, tree, open, listened] : cases) {
        for (bool dom : {true, false}) {
            SCOPED_TRACE(std::string(script) + (dom ? "" : " (DOM off)"));
            LISTENER listener;
            vorn_test::RECORDING_HANDLER handler;
            handler.DOM_mode = dom;
            handler.set_event_listener(&listener);
            feed(handler, dom ? script : std::regex_replace(script, std::regex("! ?"), ""));
            EXPECT_EQ(dump_tree(handler.get_root_element()), dom ? tree : "");
            EXPECT_EQ(handler.element_stack->get_count(), dom ? open : 0);
            EXPECT_EQ(listener.log, dom ? listened : std::regex_replace(listened, std::regex(">\\w+"), ">"));
        }
    }
}
