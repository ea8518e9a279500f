// Names, values and text runs of every length around the sizes at which the
// reader changes gear: the 256-byte pieces in which long runs are gathered
// the 4095-byte chunks of the file source and the 64 KiB chunks of the
// streaming source.
#include <gtest/gtest.h>

#include <string>

#include "vorn_test_support.h"

using vorn_test::parse_all_ways;

namespace {

const std::string declaration = "<?xml version=\"1.0\"?>";

}  // namespace

TEST(long_runs, names_values_and_text_keep_every_byte)
{
    for (const std::size_t n : {1, 15, 16, 254, 255, 256, 257, 511, 512, 4094, 4095, 4096, 9000, 65535, 65536, 70000}) {
        SCOPED_TRACE(n);
        const std::string name = "n" + std::string(n, 'm'), value(n, 'v'), text(n, 'x');
        const auto out = parse_all_ways(declaration + "<" + name + " a=\"" + value + "\">t" + text + "&amp;y&lt z</" +
                                        name + ">" + text);
        EXPECT_TRUE(out.ok && out.errors.empty());
        EXPECT_EQ(out.tree, name + "{a=" + value + "}(\"t" + text + "&y&lt z\")");
        EXPECT_EQ(out.events.at(out.events.size() - 2), "chars " + text);  // cut off by the end of input

        const auto open_string = parse_all_ways(declaration + "<a b=\"" + value);
        EXPECT_EQ(open_string.errors,
                  (std::vector<std::string>{vorn_test::msg::unquoted, vorn_test::msg::no_value("b")}));
    }
    // "&quot;" starting at each offset around a 256-byte boundary of the run.
    for (std::size_t lead = 248; lead <= 262; ++lead) {
        SCOPED_TRACE(lead);
        const auto out = parse_all_ways(declaration + "<a>t" + std::string(lead, 'x') + "&quot;&amp;lt;</a>");
        EXPECT_EQ(out.tree, "a(\"t" + std::string(lead, 'x') + "\"&lt;\")");
    }
}
