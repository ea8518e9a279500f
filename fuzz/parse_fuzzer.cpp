// libFuzzer target: every input is parsed from a string source twice, once
// building the tree and once with tree building off and a listener that
// takes each attribute list over, and then once more on the same parser to
// check that a parser reads a second document as it read the first.
//
// Invariants checked (a failed check aborts, which the fuzzer reports):
// - a parse that returns false has filed at least one new error message;
// - no message is empty;
// - both modes see the same result, the same events and the same messages;
// - after a successful parse the trees hold exactly the elements, attributes
//   and texts that the start, end and characters events described;
// - nothing leaks: each finished root is taken over as it ends and freed here,
//   so several top-level elements in one document leak nothing either.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <vorn_xml.h>

#include "fuzz_text.h"

namespace {

void check(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

// Records the events as lines ("<name{a=1;}", "/", "#text") and, when a tree
// is being built, takes each root over as soon as it has ended.
class RECORDER : public VORN_XML_SAX_EVENT_LISTENER {
public:
    VORN_XML_SAX_TREE_HANDLER* handler = nullptr;
    bool take_lists = false;
    std::vector<std::string> events;
    std::vector<VORN_XML_ELEMENT*> roots;
    int ends = 0;

    RECORDER() = default;
    RECORDER(const RECORDER&) = delete;
    RECORDER& operator=(const RECORDER&) = delete;
    ~RECORDER() override
    {
        for (VORN_XML_ELEMENT* root : roots)
            delete root;
    }

    void process_start_element(const char* name, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        check(attributes != nullptr, "start-element without an attribute list");
        events.push_back("<" + std::string(name) + attributes_text(attributes));
        if (take_lists) {
            delete attributes;
            attributes = nullptr;
        }
    }

    void process_end_element(VORN_XML_ELEMENT* element) override
    {
        events.emplace_back("/");
        ++ends;
        if (!handler->DOM_mode) {
            check(element == nullptr, "an element reported with tree building off");
            return;
        }
        check(element != nullptr, "no element at the end of an element");
        if (element == handler->get_root_element())
            roots.push_back(handler->take_root_element());
    }

    void process_characters(const char* text) override { events.push_back("#" + std::string(text)); }
};

// The events a tree stands for, without the characters events: each element
// as its start line, its sub-elements, then "/".  Texts are collected in the
// order the elements end.  Iterative, as documents may be very deep.
void describe(VORN_XML_ELEMENT* root, std::vector<std::string>& lines, std::vector<std::string>& texts)
{
    struct FRAME {
        VORN_XML_ELEMENT* element;
        bool entered;
    };
    std::vector<FRAME> stack{{root, false}};
    while (!stack.empty()) {
        FRAME& top = stack.back();
        VORN_XML_ELEMENT* element = top.element;
        VORN_XML_ELEMENT* next = nullptr;
        if (!top.entered) {
            top.entered = true;
            lines.push_back("<" + element->get_element_name() + attributes_text(element->attrib_list));
            next = element->get_first_sub_element();
        } else {
            next = element->get_next_sub_element();
        }
        if (next != nullptr) {
            stack.push_back({next, false});
        } else {
            lines.emplace_back("/");
            // The listener sees texts as C strings: compare up to a NUL.
            texts.emplace_back(element->get_element_data().c_str());
            stack.pop_back();
        }
    }
}

// What the events say the trees must be: the same lines without characters,
// and for each element the last text reported while it was innermost.
void expected_from_events(const std::vector<std::string>& events, std::vector<std::string>& lines,
                          std::vector<std::string>& texts)
{
    std::vector<std::string> open_texts;
    for (const std::string& event : events) {
        if (event[0] == '#') {
            if (!open_texts.empty())
                open_texts.back() = event.substr(1);
            continue;
        }
        lines.push_back(event);
        if (event[0] == '<') {
            open_texts.emplace_back();
        } else {
            texts.push_back(open_texts.back());
            open_texts.pop_back();
        }
    }
}

struct RESULT {
    bool ok;
    std::vector<std::string> messages;
    std::vector<std::string> events;
};

std::vector<std::string> new_messages(VORN_XML_SAX_PARSER& parser, std::size_t already)
{
    std::vector<std::string> messages;
    VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
    check(errors != nullptr, "no collector after a parse");
    errors->reset_error_message_list();
    for (std::size_t i = 0; i < errors->error_message_list.size(); ++i) {
        std::string message = errors->get_next_error_message();
        check(!message.empty(), "an empty message");
        if (i >= already)
            messages.push_back(message);
    }
    return messages;
}

RESULT parse_once(VORN_XML_SAX_PARSER& parser, RECORDER& recorder, const std::string& document)
{
    const VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
    const std::size_t before = errors == nullptr ? 0 : errors->error_message_list.size();
    recorder.events.clear();
    VORN_XML_STRING_INPUT_SOURCE source(document);
    const bool ok = parser.parse(&source);
    RESULT result{ok, new_messages(parser, before), recorder.events};
    check(ok || !result.messages.empty(), "a failed parse without a message");
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string document(reinterpret_cast<const char*>(data), size);

    // Tree building on.
    RECORDER dom;
    RESULT with_tree{};
    {
        VORN_XML_SAX_PARSER parser;
        dom.handler = parser.get_tree_handler();
        dom.handler->set_event_listener(&dom);
        with_tree = parse_once(parser, dom, document);
        check(dom.handler->get_root_element() == nullptr, "a root left in the handler");
        if (with_tree.ok) {
            std::vector<std::string> lines;
            std::vector<std::string> texts;
            for (VORN_XML_ELEMENT* root : dom.roots)
                describe(root, lines, texts);
            std::vector<std::string> want_lines;
            std::vector<std::string> want_texts;
            expected_from_events(with_tree.events, want_lines, want_texts);
            check(lines == want_lines, "the tree differs from the element events");
            check(texts == want_texts, "the texts differ from the characters events");
        }
    }

    // Tree building off; the listener takes every attribute list over.  Then
    // the same document once more on the same parser.
    RECORDER plain;
    plain.take_lists = true;
    VORN_XML_SAX_PARSER parser;
    plain.handler = parser.get_tree_handler();
    plain.handler->set_event_listener(&plain);
    parser.enable_DOM_mode(false);
    const RESULT first = parse_once(parser, plain, document);
    check(first.ok == with_tree.ok, "the result depends on tree building");
    check(first.events == with_tree.events, "the events depend on tree building");
    check(first.messages == with_tree.messages, "the messages depend on tree building");
    const RESULT second = parse_once(parser, plain, document);
    check(second.ok == first.ok && second.events == first.events && second.messages == first.messages,
          "a second parse on one parser reads differently");
    return 0;
}
