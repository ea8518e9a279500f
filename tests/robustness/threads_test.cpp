// Parsers at work on several threads at once, each with its own source.
// Parsers share no state (the file sources' read buffer aside, which is why
// no file source is read here), so every thread must get exactly the outcome
// that the same document gives on its own.  The threads stage builds this
// test with ThreadSanitizer, which reports any unsynchronised shared access.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "vorn_test_support.h"

namespace {

struct RESULT {
    bool ok = false;
    std::string tree;
    std::string written;
    std::vector<std::string> errors;
    bool operator==(const RESULT& other) const
    {
        return ok == other.ok && tree == other.tree && written == other.written && errors == other.errors;
    }
};

RESULT parse(VORN_XML_SAX_INPUT_SOURCE& source)
{
    VORN_XML_SAX_PARSER parser;
    RESULT result;
    result.ok = parser.parse(&source);
    result.errors = vorn_test::error_messages(parser.get_error_handler());
    VORN_XML_ELEMENT* root = parser.get_tree_handler()->get_root_element();
    result.tree = vorn_test::dump_tree(root);
    VORN_XML_WRITER writer;
    writer.indent_width = 2;
    if (root != nullptr)
        writer.write(root, result.written);
    return result;
}

// Every kind of source that a thread may read on its own: one row each.
const std::vector<std::function<RESULT(const std::string&)>> sources = {
    [](const std::string& document) {
        VORN_XML_STRING_INPUT_SOURCE source(document);
        return parse(source);
    },
    [](const std::string& document) {
        VORN_XML_STRING_INPUT_SOURCE inner(document);
        VORN_XML_COUNTING_INPUT_SOURCE source(inner);
        return parse(source);
    },
};

std::vector<std::string> documents()
{
    const std::string declaration = "<?xml version=\"1.0\"?>\n";
    const std::string item = "<item id=\"7\" Name=\"a &amp; b\"><!-- c --><v>x &lt; y</v>text</item>\n";
    std::vector<std::string> out;
    for (int i = 0; i < 6; ++i) {
        std::string body;
        for (int n = 0; n < 150 + 40 * i; ++n)
            body += item;
        out.push_back(declaration + "<list n=\"" + std::to_string(i) + "\">" + body + "</list>");
    }
    out.push_back(declaration + "<a><b></a>");     // mismatched end tag
    out.push_back(declaration + "<a x 1/>");       // no "=" in the attribute
    out.push_back("<?xml version=\"2.0\"?><a/>");  // unsupported version
    out.push_back(declaration + "<a>" + std::string(3000, 'z') + "</a>");
    return out;
}

TEST(Threads, ParsersOnSeveralThreadsGetTheSingleThreadedOutcome)
{
    const std::vector<std::string> docs = documents();
    std::vector<std::vector<RESULT>> expected(docs.size());
    for (const std::string& document : docs)
        for (const auto& source : sources)
            expected[&document - docs.data()].push_back(source(document));

    constexpr std::size_t thread_count = 4;
    std::vector<int> mismatches(thread_count, 0);
    std::vector<std::thread> threads;
    threads.reserve(thread_count);
    for (std::size_t t = 0; t < thread_count; ++t)
        threads.emplace_back([&, t] {
            // Each thread starts at a different document so that different
            // work overlaps.
            for (std::size_t k = 0; k < 2 * docs.size(); ++k) {
                const std::size_t d = (k + 3 * t) % docs.size();
                for (std::size_t s = 0; s < sources.size(); ++s)
                    mismatches[t] += sources[s](docs[d]) == expected[d][s] ? 0 : 1;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches, std::vector<int>(thread_count, 0));
}

}  // namespace
