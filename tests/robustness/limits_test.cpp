// Limits against hostile input: every hostile shape, read from a pipe under
// the tool's defaults, ends at the limit it reaches within 64 MiB, measured
// as the reading process's own peak (getrusage in a child made for the one
// document).  Documents within the limits read exactly as without them.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "vorn_test_support.h"
#include "vorn_xml_limits.h"

namespace {

constexpr char declaration[] = "<?xml version=\"1.0\"?>";

// A document of `head`, then `piece` again and again up to `bytes` in all,
// then `tail`.
struct SHAPE {
    const char* name;
    std::string head;
    std::string piece;
    std::string tail;
    uint64_t bytes;
    VORN_XML_LIMITS::KIND limit;  // the limit that must end it
};

struct OUTCOME {
    long peak_kib = 0;
    bool accepted = false;
    int limit = -1;
    uint64_t messages = 0;
    uint64_t left_out = 0;
};

// Writes the shape into a pipe from a thread while a limited parser reads it
// through a streaming source, in a child process; returns what came of it,
// with the child's peak memory.
OUTCOME read_in_child(const SHAPE& shape, const VORN_XML_LIMITS& limits)
{
    int report[2];
    if (::pipe(report) != 0)
        return {};
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(report[0]);
        std::signal(SIGPIPE, SIG_IGN);  // the reader may stop long before the writer
        int document[2];
        if (::pipe(document) != 0)
            ::_exit(3);
        std::thread writer([&] {
            std::string block;
            while (block.size() < 65536)
                block += shape.piece;
            auto put = [&](const std::string& text) {
                return ::write(document[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
            };
            bool ok = put(shape.head);
            for (uint64_t written = shape.head.size(); ok && written + block.size() <= shape.bytes;
                 written += block.size())
                ok = put(block);
            if (ok)
                put(shape.tail);
            ::close(document[1]);
        });
        OUTCOME out;
        {
            VORN_XML_STREAM_INPUT_SOURCE source("/dev/fd/" + std::to_string(document[0]));
            VORN_XML_LIMITED_SAX_PARSER parser(limits);
            parser.enable_DOM_mode(false);
            out.accepted = parser.parse(&source);
            out.limit = parser.get_limit_reached();
            out.left_out = parser.get_messages_left_out();
            if (parser.get_error_handler() != nullptr)
                out.messages = parser.get_error_handler()->error_message_list.size();
            ::close(document[0]);  // the writer stops at the closed pipe
        }
        writer.join();
        struct rusage usage {};
        ::getrusage(RUSAGE_SELF, &usage);
        out.peak_kib = usage.ru_maxrss;
        (void)!::write(report[1], &out, sizeof out);
        ::_exit(0);
    }
    ::close(report[1]);
    OUTCOME out;
    if (::read(report[0], &out, sizeof out) != static_cast<ssize_t>(sizeof out))
        out = {};
    ::close(report[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    return out;
}

const uint64_t mib = 1 << 20;

TEST(limits, every_hostile_shape_ends_at_its_limit_within_64_mib_under_the_tools_defaults)
{
    const std::string open = declaration + std::string("<r>");
    const std::vector<SHAPE> shapes = {
        // one malformed pair early, then every pair adds messages
        {"malformed pairs", open + "<a b", " b", "/></r>", 2 * mib, VORN_XML_LIMITS::ATTRIBUTES},
        {"well-formed pairs", open + "<a", " b=\"\"", "/></r>", 2 * mib, VORN_XML_LIMITS::ATTRIBUTES},
        {"text without end", open, "text ", "", 256 * mib, VORN_XML_LIMITS::TEXT},
        {"references without end", open, "&amp;", "", 256 * mib, VORN_XML_LIMITS::TEXT},
        {"comment without end", open + "<!--", "text ", "", 256 * mib, VORN_XML_LIMITS::TEXT},
        {"value without end", open + "<a b=\"", "text ", "", 256 * mib, VORN_XML_LIMITS::TEXT},
        {"name without end", open + "<", "name", "", 256 * mib, VORN_XML_LIMITS::NAME},
        {"end name without end", open + "</", "name", "", 256 * mib, VORN_XML_LIMITS::NAME},
        {"attribute name without end", open + "<a ", "name", "", 256 * mib, VORN_XML_LIMITS::NAME},
        {"long tag", open + "<a", " b=\"" + std::string(16000, 'v') + "\"", "/></r>", 64 * mib, VORN_XML_LIMITS::TAG},
        {"deep nesting", declaration, "<a>", "", 64 * mib, VORN_XML_LIMITS::DEPTH},
        {"deep nesting of long names", declaration, "<" + std::string(4000, 'n') + ">", "", 256 * mib,
         VORN_XML_LIMITS::DEPTH},
    };
    for (const SHAPE& shape : shapes) {
        SCOPED_TRACE(shape.name);
        const OUTCOME out = read_in_child(shape, VORN_XML_LIMITS::tool_defaults());
        EXPECT_FALSE(out.accepted);
        EXPECT_EQ(out.limit, shape.limit);
        EXPECT_GT(out.peak_kib, 0);
        EXPECT_LE(out.peak_kib, 64 * 1024);
        EXPECT_LE(out.messages, VORN_XML_LIMITS::tool_defaults().messages_kept + 1);
    }
}

// Many messages within every other limit: the first ones kept, the rest
// counted, one message more says how many.
TEST(limits, messages_beyond_the_limit_are_counted_not_kept)
{
    std::string document = declaration + std::string("<a x");
    for (int i = 0; i < 500; ++i)
        document += " b";
    document += "/>";
    VORN_XML_SAX_PARSER plain;
    VORN_XML_STRING_INPUT_SOURCE plain_source(document);
    const bool plain_result = plain.parse(&plain_source);
    const std::vector<std::string> all = vorn_test::error_messages(plain.get_error_handler());
    ASSERT_GT(all.size(), 100U);

    VORN_XML_LIMITS limits;
    limits.messages_kept = 100;
    VORN_XML_LIMITED_SAX_PARSER limited(limits);
    VORN_XML_STRING_INPUT_SOURCE source(document);
    EXPECT_EQ(limited.parse(&source), plain_result);
    EXPECT_EQ(limited.get_limit_reached(), VORN_XML_LIMITS::MESSAGES);
    EXPECT_EQ(limited.get_messages_left_out(), all.size() - 100);
    const std::vector<std::string> kept = vorn_test::error_messages(limited.get_error_handler());
    ASSERT_EQ(kept.size(), 101U);
    EXPECT_EQ(std::vector<std::string>(kept.begin(), kept.begin() + 100),
              std::vector<std::string>(all.begin(), all.begin() + 100));
    EXPECT_NE(kept.back().find(std::to_string(all.size() - 100)), std::string::npos) << kept.back();
    EXPECT_NE(kept.back().find("messages_kept"), std::string::npos) << kept.back();

    // The next parse keeps as many of its own, after these.
    VORN_XML_STRING_INPUT_SOURCE again(document);
    EXPECT_EQ(limited.parse(&again), plain_result);
    EXPECT_EQ(limited.get_messages_left_out(), all.size() - 100);
    EXPECT_EQ(vorn_test::error_messages(limited.get_error_handler()).size(), 202U);
}

// Within every limit, the tool's defaults change nothing: the same result,
// tree and messages as a plain parser, for accepted and refused documents.
TEST(limits, documents_within_the_limits_read_as_without_them)
{
    const std::string d = declaration;
    const std::vector<std::string> documents = {
        d + "<a x=\"1\" y=\"&lt;\"><b>t &amp; u</b><!-- c --><c/>tail</a>",
        d + "<a>" + std::string(100000, 't') + "</a>",
        d + "<a " + std::string(4000, 'n') + "=\"v\"/>",
        d + "<a><b></c></a>",
        d + "<a x y z/>",
        "<a/>",
    };
    for (const std::string& document : documents) {
        SCOPED_TRACE(document.substr(0, 60));
        VORN_XML_SAX_PARSER plain;
        VORN_XML_LIMITED_SAX_PARSER limited(VORN_XML_LIMITS::tool_defaults());
        VORN_XML_STRING_INPUT_SOURCE plain_source(document);
        VORN_XML_STRING_INPUT_SOURCE limited_source(document);
        EXPECT_EQ(limited.parse(&limited_source), plain.parse(&plain_source));
        EXPECT_EQ(limited.get_limit_reached(), VORN_XML_LIMITS::NONE);
        EXPECT_EQ(vorn_test::dump_tree(limited.get_tree_handler()->get_root_element()),
                  vorn_test::dump_tree(plain.get_tree_handler()->get_root_element()));
        EXPECT_EQ(vorn_test::error_messages(limited.get_error_handler()),
                  vorn_test::error_messages(plain.get_error_handler()));
    }
}

}  // namespace
