// vornxml --standard in each mode, from a pipe and from a file, and the
// hint the dialect's refusal gives for a standard document.
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "vorn_test_support.h"

namespace {

struct RUN {
    int status = -1;
    std::string out, err;
};

std::string slurp(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The tool with `args`, where FILE stands for a file holding `input`, which
// also comes on standard input.
RUN tool(std::string args, const std::string& input)
{
    vorn_test::TEMP_DIR dir;
    const std::string file = dir.write("doc.xml", input);
    const std::size_t at = args.find("FILE");
    if (at != std::string::npos)
        args.replace(at, 4, "'" + file + "'");
    const std::string command = std::string("'") + VORNXML_TOOL + "' " + args + " <'" + file + "' >'" + dir.path +
                                "/out' 2>'" + dir.path + "/err'";
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(dir.path + "/out"), slurp(dir.path + "/err")};
}

TEST(standard_tool, every_mode_reads_standard_xml)
{
    const std::string doc = "<!DOCTYPE r [<!ENTITY e 'yes'>]>\n<r a-b='1'>\n  <i>x &e;</i><!--c-->\n  <i/>\n</r>\n";
    const struct {
        std::string args;
        int status;
        std::string out;
    } cases[] = {
        {"--standard -", 0, "r a-b=\"1\"\n  i: \"x yes\"\n  i\n"},
        {"--standard --quiet FILE", 0, ""},
        {"--standard --events -", 0,
         "start-document\nstart r a-b=\"1\"\nchars \"\\n  \"\nstart i\nchars \"x yes\"\nend i\ncomment \"c\"\n"
         "chars \"\\n  \"\nstart i\nend i\nchars \"\\n\"\nend r\nend-document\n"},
        {"--standard --select //i --count FILE", 0, "2\n"},
        {"--standard --select '//i[text()=\"x yes\"]' -", 0, "i: \"x yes\"\n"},
    };
    for (const auto& c : cases) {
        const RUN run = tool(c.args, doc);
        EXPECT_EQ(run.status, c.status) << c.args;
        EXPECT_EQ(run.out, c.out) << c.args;
        EXPECT_EQ(run.err, "") << c.args;
    }

    const RUN refused = tool("--standard -", "<a>\n <b></a>");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err, "<stdin>:2:5: end tag </a> does not match <b>\n");

    // The dialect refuses it; the file is standard XML, so a hint follows.
    const RUN hinted = tool("FILE", "<a-b/>");
    EXPECT_EQ(hinted.status, 1);
    EXPECT_NE(hinted.err.find("is well-formed standard XML, which the default dialect does not read; try --standard"),
              std::string::npos);
    EXPECT_EQ(tool("FILE", "<a-b>").err.find("--standard"), std::string::npos);
}

}  // namespace
