// The push parser's own behaviour: when events come, what each call returns
// once a document is over, abandoning and reusing, exceptions from the
// handler.  That any split gives the string source's results is checked on
// every document table (parse_all_ways) and by the split fuzzer.
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "vorn_test_support.h"

using namespace vorn_test::msg;

namespace {

const std::string DECL = "<?xml version=\"1.0\"?>";
using PUSH = VORN_XML_PUSH_PARSER;

struct PUSHED {
    vorn_test::RECORDING_HANDLER handler;
    VORN_XML_SAX_PARSER parser;
    PUSH push{parser};
    PUSHED() { parser.set_tree_handler(&handler); }
    PUSH::STATUS feed(const std::string& bytes) { return push.feed(bytes.data(), bytes.size()); }
    std::vector<std::string> errors() const { return vorn_test::error_messages(parser.get_error_handler()); }
};

// A handler that throws from the start tag named "boom".
class THROWING_HANDLER : public vorn_test::RECORDING_HANDLER {
public:
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        RECORDING_HANDLER::process_start_element(name, attributes);
        if (name == "boom")
            throw std::runtime_error("boom");
    }
};

}  // namespace

TEST(push, events_come_as_soon_as_their_bytes_have_arrived)
{
    // An event is sent once the token after the bytes that make it was read
    // (the parser's one token of look-ahead), as from any source.
    PUSHED p;
    EXPECT_EQ(p.feed(DECL + "<a x=\"1\"><b/>te"), PUSH::PUSH_MORE);
    EXPECT_EQ(p.handler.events, (std::vector<std::string>{"start-document", "start a {x=1}"}));
    EXPECT_EQ(p.push.get_reading_position().column, 36u);
    EXPECT_EQ(p.feed("xt</"), PUSH::PUSH_MORE);
    EXPECT_EQ(p.handler.events,
              (std::vector<std::string>{"start-document", "start a {x=1}", "start b {}", "end b", "chars text"}));
    EXPECT_EQ(p.feed("a>"), PUSH::PUSH_MORE);
    EXPECT_EQ(p.handler.events.size(), 5u);  // what follows the end tag is not known yet
    EXPECT_EQ(p.push.finish(), PUSH::PUSH_ACCEPTED);
    EXPECT_EQ(p.handler.events.back(), "end-document");
    EXPECT_EQ(vorn_test::dump_tree(p.handler.get_root_element()), "a{x=1}(\"text\")[b]");
}

TEST(push, a_document_once_over_takes_no_more_bytes)
{
    {  // rejected within a piece: the rest of it and later pieces are not read
        PUSHED p;
        EXPECT_EQ(p.feed(DECL + "<a></b><c>"), PUSH::PUSH_FAILED);
        const std::vector<std::string> events = p.handler.events;
        EXPECT_EQ(p.feed("</a>"), PUSH::PUSH_REFUSED);
        EXPECT_EQ(p.push.finish(), PUSH::PUSH_FAILED);
        EXPECT_EQ(p.push.get_status(), PUSH::PUSH_FAILED);
        EXPECT_EQ(p.handler.events, events);
        EXPECT_EQ(p.errors(), (std::vector<std::string>{mismatch("a", "b")}));
        EXPECT_EQ(p.push.get_failure_position().column, 25u);
    }
    {  // a byte 0xFF is the end of the input, and the document is accepted there
        PUSHED p;
        EXPECT_EQ(p.feed(DECL + "<a/>"), PUSH::PUSH_MORE);
        EXPECT_EQ(p.feed("\xFF<b/>"), PUSH::PUSH_ACCEPTED);
        EXPECT_EQ(p.feed("<c/>"), PUSH::PUSH_REFUSED);
        EXPECT_EQ(p.push.finish(), PUSH::PUSH_ACCEPTED);
        EXPECT_EQ(p.handler.events.back(), "end-document");
        EXPECT_EQ(p.handler.end_document_text, "");
    }
    {  // nothing fed: an empty document; an empty piece changes nothing
        PUSHED p;
        EXPECT_EQ(p.push.feed(nullptr, 0), PUSH::PUSH_MORE);
        EXPECT_TRUE(p.handler.events.empty());
        EXPECT_EQ(p.push.finish(), PUSH::PUSH_FAILED);
        EXPECT_EQ(p.errors(), (std::vector<std::string>{needed("<", ""), no_declaration}));
    }
}

TEST(push, reset_abandons_the_open_document_silently_and_reads_the_next)
{
    PUSHED p;
    EXPECT_EQ(p.feed(DECL + "<a><b>text"), PUSH::PUSH_MORE);
    const std::vector<std::string> events = p.handler.events;
    p.push.reset();
    EXPECT_EQ(p.handler.events, events);  // no end of input reported to anyone
    EXPECT_TRUE(p.errors().empty());
    EXPECT_EQ(p.push.get_status(), PUSH::PUSH_MORE);
    EXPECT_EQ(p.push.offset(), 0u);

    // What the handler built stays as a failed parse leaves it; a fresh one
    // reads the next document as if nothing came before.
    vorn_test::RECORDING_HANDLER fresh;
    p.parser.set_tree_handler(&fresh);
    EXPECT_EQ(p.feed(DECL + "\n<c>"), PUSH::PUSH_MORE);
    EXPECT_EQ(p.feed("</c>"), PUSH::PUSH_MORE);
    EXPECT_EQ(p.push.finish(), PUSH::PUSH_ACCEPTED);
    EXPECT_EQ(fresh.events, (std::vector<std::string>{"start-document", "start c {}", "end c", "end-document"}));
    EXPECT_EQ(p.push.get_reading_position().line, 2u);

    // reset() after a finished document, then the same document again.
    p.push.reset();
    fresh.events.clear();
    EXPECT_EQ(p.feed(DECL + "<c></c>"), PUSH::PUSH_MORE);
    EXPECT_EQ(p.push.finish(), PUSH::PUSH_ACCEPTED);
    EXPECT_EQ(fresh.events.size(), 4u);
}

TEST(push, destroying_an_open_document_releases_what_it_made)
{
    // Deep, with a long token half read: the sanitizers and valgrind see
    // that every string and element made on the parser's stack is freed.
    vorn_test::RECORDING_HANDLER handler;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&handler);
    {
        PUSH push(parser);
        std::string deep = DECL;
        for (int i = 0; i < 1000; ++i)
            deep += "<e a=\"" + std::string(100, 'v') + "\">";
        EXPECT_EQ(push.feed(deep.data(), deep.size()), PUSH::PUSH_MORE);
        const std::string half = "<f name=\"" + std::string(5000, 'x');
        EXPECT_EQ(push.feed(half.data(), half.size()), PUSH::PUSH_MORE);
    }
    EXPECT_EQ(handler.events.size(), 1001u);
    EXPECT_TRUE(vorn_test::error_messages(parser.get_error_handler()).empty());
    // The parser is free for a pull parse again.
    VORN_XML_STRING_INPUT_SOURCE source(DECL + "<a/>");
    EXPECT_TRUE(parser.parse(&source));
}

TEST(push, an_exception_from_the_handler_comes_out_of_feed_and_ends_the_document)
{
    THROWING_HANDLER handler;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&handler);
    PUSH push(parser);
    const std::string head = DECL + "<a><bo";
    EXPECT_EQ(push.feed(head.data(), head.size()), PUSH::PUSH_MORE);
    EXPECT_THROW(push.feed("om/><c/>", 8), std::runtime_error);
    EXPECT_EQ(push.get_status(), PUSH::PUSH_FAILED);
    EXPECT_EQ(push.feed("</a>", 4), PUSH::PUSH_REFUSED);
    EXPECT_EQ(handler.events.back(), "start boom {}");
    // The thrown exception was caught on the parser's stack and its parse is
    // over: the next document runs on the same stack.
    push.reset();
    const std::string next = DECL + "<boo/>";
    EXPECT_EQ(push.feed(next.data(), next.size()), PUSH::PUSH_MORE);
    EXPECT_EQ(push.finish(), PUSH::PUSH_ACCEPTED);
}

TEST(push, calls_from_the_handler_are_refused)
{
    class REENTERING : public vorn_test::RECORDING_HANDLER {
    public:
        PUSH* push = nullptr;
        std::vector<PUSH::STATUS> answers;
        void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override
        {
            RECORDING_HANDLER::process_start_element(name, attributes);
            answers.push_back(push->feed("<x/>", 4));
            answers.push_back(push->finish());
            push->reset();
            // Positions are there at every event.
            answers.push_back(static_cast<PUSH::STATUS>(push->get_token_position().column));
        }
    };
    REENTERING handler;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&handler);
    PUSH push(parser);
    handler.push = &push;
    const std::string doc = DECL + "<a/>";
    EXPECT_EQ(push.feed(doc.data(), doc.size()), PUSH::PUSH_MORE);
    EXPECT_EQ(push.finish(), PUSH::PUSH_ACCEPTED);
    EXPECT_EQ(handler.answers,
              (std::vector<PUSH::STATUS>{PUSH::PUSH_REFUSED, PUSH::PUSH_REFUSED, static_cast<PUSH::STATUS>(26)}));
}

TEST(push, a_path_handler_counts_matches_of_a_document_fed_in_pieces)
{
    const VORN_XML_PATH path("//item[@id]");
    VORN_XML_PATH_HANDLER counter(path, false);
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&counter);
    PUSH push(parser);
    std::string doc = DECL + "<list>";
    for (int i = 0; i < 300; ++i)
        doc += i % 3 == 0 ? "<item/>" : "<item id=\"" + std::to_string(i) + "\">t</item>";
    doc += "</list>";
    for (std::size_t at = 0; at < doc.size(); at += 13)
        ASSERT_EQ(push.feed(doc.data() + at, std::min<std::size_t>(13, doc.size() - at)), PUSH::PUSH_MORE);
    EXPECT_EQ(push.finish(), PUSH::PUSH_ACCEPTED);
    EXPECT_EQ(counter.get_match_count(), 200);
}
