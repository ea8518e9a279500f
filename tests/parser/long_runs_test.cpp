// Names, values and text runs of every length around the sizes at which the
// reader changes gear: the 256-byte pieces in which long runs are gathered
// the 4095-byte chunks of the file source and the 64 KiB chunks of the
// streaming source.  Every document goes through the string, file, streaming
// and byte-at-a-time sources, which must agree.
#include <gtest/gtest.h>

#include <string>

#include "vorn_test_support.h"

using vorn_test::parse_all_ways;

namespace {

const std::string declaration = "<?xml version=\"1.0\"?>";
const std::size_t lengths[] = {1, 15, 16, 254, 255, 256, 257, 511, 512, 4094, 4095, 4096, 9000, 65535, 65536, 70000};

// The text a file source hands to process_end_document after a successful
// parse of `document`.
std::string text_read_from_file(const std::string& document)
{
    vorn_test::TEMP_DIR dir;
    VORN_XML_FILE_INPUT_SOURCE source(dir.write("doc.xml", document));
    vorn_test::RECORDING_HANDLER handler;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&handler);
    EXPECT_TRUE(parser.parse(&source));
    return handler.end_document_text;
}

}  // namespace

TEST(long_runs, names_values_and_text_keep_every_byte)
{
    for (const std::size_t n : lengths) {
        SCOPED_TRACE(n);
        const std::string name = "n" + std::string(n, 'm');
        const std::string value(n, 'v');
        const std::string doc =
            declaration + "<" + name + " a=\"" + value + "\">t" + std::string(n, 'x') + "&amp;y&lt z</" + name + ">";
        const auto out = parse_all_ways(doc);
        EXPECT_TRUE(out.ok);
        EXPECT_TRUE(out.errors.empty());
        EXPECT_EQ(out.tree, name + "{a=" + value + "}(\"t" + std::string(n, 'x') + "&y&lt z\")");
        EXPECT_EQ(text_read_from_file(doc), doc);
    }
}

TEST(long_runs, references_straddle_every_piece_boundary)
{
    // "&quot;" starting at each offset around a 256-byte boundary of the run.
    for (std::size_t lead = 248; lead <= 262; ++lead) {
        SCOPED_TRACE(lead);
        const std::string doc = declaration + "<a>t" + std::string(lead, 'x') + "&quot;&amp;lt;</a>";
        const auto out = parse_all_ways(doc);
        EXPECT_TRUE(out.ok);
        EXPECT_EQ(out.tree, "a(\"t" + std::string(lead, 'x') + "\"&lt;\")");
    }
}

TEST(long_runs, runs_cut_off_by_the_end_of_input)
{
    for (const std::size_t n : lengths) {
        SCOPED_TRACE(n);
        const auto tail = parse_all_ways(declaration + "<a/>" + std::string(n, 'x'));
        EXPECT_TRUE(tail.ok);
        EXPECT_EQ(tail.events.at(tail.events.size() - 2), "chars " + std::string(n, 'x'));

        const auto open_string = parse_all_ways(declaration + "<a b=\"" + std::string(n, 'v'));
        EXPECT_FALSE(open_string.ok);
        EXPECT_EQ(open_string.errors, (std::vector<std::string>{"Unexpected end of a quoted string encountered",
                                                                "Attribute value is missing for attribute : b"}));
    }
}
