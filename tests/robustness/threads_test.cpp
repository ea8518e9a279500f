// Parsers at work on several threads at once, each with its own source.
// Parsers share no state (the file sources' read buffer aside, which is why
// no file source is read here), so every thread must get exactly the outcome
// that the same document gives on its own.  The threads stage builds this
// test with ThreadSanitizer, which reports any unsynchronised shared access.
#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "vorn_test_support.h"

namespace {

// The verdict, the messages, the tree and the tree written back, read
// through a string source, alone (`counted` false) or in a counting source;
// or pushed in pieces of 5 bytes (`pushed`: each push parser runs the parse
// on a stack of its own, switched to and from on this thread).
std::string parse(const std::string& document, bool counted, bool pushed = false)
{
    VORN_XML_STRING_INPUT_SOURCE inner(document);
    VORN_XML_COUNTING_INPUT_SOURCE outer(inner);
    VORN_XML_SAX_PARSER parser;
    std::string out;
    if (pushed) {
        VORN_XML_PUSH_PARSER push(parser, counted);
        for (std::size_t at = 0; at < document.size(); at += 5)
            push.feed(document.data() + at, std::min<std::size_t>(5, document.size() - at));
        out = push.finish() == VORN_XML_PUSH_PARSER::PUSH_ACCEPTED ? "ok" : "no";
    } else {
        out = parser.parse(counted ? static_cast<VORN_XML_SAX_INPUT_SOURCE*>(&outer) : &inner) ? "ok" : "no";
    }
    for (const std::string& message : vorn_test::error_messages(parser.get_error_handler()))
        out += "\n" + message;
    VORN_XML_ELEMENT* root = parser.get_tree_handler()->get_root_element();
    out += "\n" + vorn_test::dump_tree(root) + "\n";
    VORN_XML_WRITER(2).write(root, out);
    return out;
}

TEST(Threads, ParsersOnSeveralThreadsGetTheSingleThreadedOutcome)
{
    const std::string declaration = "<?xml version=\"1.0\"?>\n";
    const std::string item = "<item id=\"7\" Name=\"a &amp; b\"><!-- c --><v>x &lt; y</v>text</item>\n";
    std::vector<std::string> docs = {declaration + "<a><b></a>", declaration + "<a x 1/>",
                                     "<?xml version=\"2.0\"?><a/>",
                                     declaration + "<a>" + std::string(3000, 'z') + "</a>"};
    for (int i = 0; i < 6; ++i) {
        std::string body;
        for (int n = 0; n < 150 + 40 * i; ++n)
            body += item;
        docs.push_back(declaration + "<list n=\"" + std::to_string(i) + "\">" + body + "</list>");
    }
    std::vector<std::string> expected;
    for (const std::string& document : docs)
        for (const bool counted : {false, true})
            expected.push_back(parse(document, counted));

    constexpr std::size_t thread_count = 4;
    std::vector<int> mismatches(thread_count, 0);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < thread_count; ++t)
        threads.emplace_back([&, t] {
            // Each thread starts at a different document so that different
            // work overlaps.
            for (std::size_t k = 0; k < 2 * docs.size(); ++k) {
                const std::size_t d = (k + 3 * t) % docs.size();
                for (const bool counted : {false, true}) {
                    mismatches[t] += parse(docs[d], counted) == expected[2 * d + (counted ? 1 : 0)] ? 0 : 1;
                    mismatches[t] += parse(docs[d], counted, true) == expected[2 * d] ? 0 : 1;
                }
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches, std::vector<int>(thread_count, 0));
}

// Trees built on some threads and freed on others, while the threads that
// built them go on taking blocks from the same pages.
TEST(Threads, TreesFreedOnAnotherThreadThanTheOneThatBuiltThem)
{
    const std::string declaration = "<?xml version=\"1.0\"?>\n";
    std::vector<std::string> docs;
    for (int i = 0; i < 4; ++i) {
        std::string body;
        for (int n = 0; n < 100 + 60 * i; ++n)
            body += "<r id=\"" + std::to_string(n) + "\"><a>t" + std::to_string(i) + "</a><b/></r>";
        docs.push_back(declaration + "<list>" + body + "</list>");
    }
    std::vector<std::string> expected;
    for (const std::string& document : docs) {
        VORN_XML_STRING_INPUT_SOURCE source(document);
        VORN_XML_SAX_PARSER parser;
        EXPECT_TRUE(parser.parse(&source));
        expected.push_back(vorn_test::dump_tree(parser.get_tree_handler()->get_root_element()));
    }

    std::mutex mutex;
    std::condition_variable ready;
    std::deque<std::pair<std::size_t, VORN_XML_ELEMENT*>> queue;  // (document, tree)
    constexpr int builders = 2;
    constexpr int trees_each = 60;
    int building = builders;
    std::vector<int> mismatches(2, 0);
    std::vector<std::thread> threads;
    threads.reserve(builders + mismatches.size());
    for (int b = 0; b < builders; ++b)
        threads.emplace_back([&, b] {
            VORN_XML_SAX_PARSER parser;  // one parser for all its documents
            for (int k = 0; k < trees_each; ++k) {
                const std::size_t d = static_cast<std::size_t>(k + b) % docs.size();
                VORN_XML_STRING_INPUT_SOURCE source(docs[d]);
                parser.parse(&source);
                VORN_XML_ELEMENT* root = parser.get_tree_handler()->take_root_element();
                const std::lock_guard<std::mutex> hold(mutex);
                queue.emplace_back(d, root);
                ready.notify_one();
            }
            const std::lock_guard<std::mutex> hold(mutex);
            --building;
            ready.notify_all();
        });
    for (int& wrong : mismatches)
        threads.emplace_back([&] {
            for (;;) {
                std::unique_lock<std::mutex> hold(mutex);
                ready.wait(hold, [&] { return !queue.empty() || building == 0; });
                if (queue.empty())
                    return;
                const auto [d, root] = queue.front();
                queue.pop_front();
                hold.unlock();
                wrong += vorn_test::dump_tree(root) == expected[d] ? 0 : 1;
                delete root;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches, std::vector<int>(2, 0));
}

}  // namespace
