// The vornxml tool end to end: output, error lines and exit status.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include <sys/wait.h>

#include "vorn_test_support.h"

namespace {

const char* const catalog = VORNXML_SOURCE_DIR "/examples/catalog.xml";
const char* const broken = VORNXML_SOURCE_DIR "/examples/broken.xml";
const std::string decl = "<?xml version=\"1.0\"?>";

std::string quoted(const char* path)
{
    return std::string("'") + path + "'";
}

struct RUN {
    int status = -1;
    std::string out, err;
};

std::string slurp(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Runs the tool with `args` (shell words) and `input` on standard input.
RUN tool(const std::string& args, const std::string& input = "")
{
    vorn_test::TEMP_DIR dir;
    const std::string command = std::string("'") + VORNXML_TOOL + "' " + args + " <'" + dir.write("in", input) +
                                "' >'" + dir.path + "/out' 2>'" + dir.path + "/err'";
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(dir.path + "/out"), slurp(dir.path + "/err")};
}

TEST(tool, exact_runs)
{
    using namespace vorn_test::msg;
    const std::string broken_err =
        std::string(broken) + ":3:32: " + needed("=", "42") + "\n" + broken + ":3:32: " + no_equal("stock") + "\n";
    const struct {
        std::string args, input;  // the input follows the declaration
        int status;
        std::string out, err;
    } cases[] = {
        {quoted(broken), "", 1, "", broken_err},
        {"-", "\n<a>\n  <b>x</c>\n</a>\n", 1, "", "<stdin>:3:7: " + mismatch("b", "c") + "\n"},
        {"-", "<a k=\"v\"><b x=\"1\">x\ny</b><!--\n--><c/></a>", 0, "a k=\"v\"\n  b x=\"1\": \"x\\ny\"\n  c\n", ""},
        {"--events -", "<a k=\"v\"><b/>x&amp;\x01</a>", 0,
         "start-document\nstart a k=\"v\"\nstart b\nend b\nchars \"x&\\x01\"\nend a\nend-document\n", ""},
        {"--events -", "<a><b></a>", 1, "start-document\nstart a\nstart b\n",
         "<stdin>:1:28: " + mismatch("b", "a") + "\n"},
        {"--format -", "<a>\" x\"</a>", 1, "",
         "<stdin>: cannot write element \"a\" at /: its text begins with white space, which a reader drops\n"},
        // Several files: each headed, the worst status wins.
        {quoted(broken) + " -", "<x/>", 1, std::string("==> ") + broken + " <==\n==> <stdin> <==\nx\n", broken_err},
        {"- /nonexistent " + quoted(broken), "<x/>", 2, std::string("==> <stdin> <==\nx\n==> ") + broken + " <==\n",
         "vornxml: cannot read /nonexistent: No such file or directory\n" + broken_err},
        {"--quiet " + quoted(catalog), "", 0, "", ""},
        {"--quiet -", "<a>\xFF</a>", 1, "", ""},  // 0xFF ends the input
        {"--quiet " + quoted(broken), "", 1, "", ""},
        {"--quiet /nonexistent", "", 2, "", ""},
        {"/", "", 2, "", "vornxml: cannot read /: is a directory\n"},
        {"--select '//b[@k]' -", "<a><b k=\"1\">x</b><c><b/></c><b K=\"2\"/></a>", 0, "b k=\"1\": \"x\"\nb K=\"2\"\n",
         ""},
        {"--select //b --count -", "<a><b/><b><b/></b></a>", 0, "3\n", ""},
        {"--select '//b[text()=\"x\"]' --count -", "<a><b>x</b><b>y</b></a>", 0, "1\n", ""},
        {"--select a/b --format -", "<a><b><c/></b></a>", 0, decl + "\n<b>\n  <c/>\n</b>\n", ""},
        {"--select //b --count -", "<a><b></a>", 1, "", "<stdin>:1:28: " + mismatch("b", "a") + "\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        const RUN run = tool(c.args, c.input.empty() ? "" : decl + c.input);
        EXPECT_EQ(run.status, c.status);
        EXPECT_EQ(run.out, c.out);
        EXPECT_EQ(run.err, c.err);
    }
}

// Standard XML written: the canonical form and --format.
TEST(tool, standard_output)
{
    const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    const struct {
        std::string args, input;
        int status;
        std::string out;
    } cases[] = {
        {"--canonical -",
         "<?xml version='1.0'?><!DOCTYPE a [<!ATTLIST a d CDATA 'x'>]><a z='&#9;' b='&lt;'>\r\n"
         "<e/><!--c--><?p  d?>&amp;\"</a>",
         0, "<a b=\"&lt;\" d=\"x\" z=\"&#9;\">&#10;<e></e><?p d?>&amp;&quot;</a>"},
        {"--canonical -", "<a>&undeclared;</a>", 1, ""},
        {"--canonical --select //a -", "<a/>", 2, ""},
        {"--standard --format -", "<r:x q='\"&amp;&lt;'>one<b>&#13;</b>two</r:x>", 0,
         head + "<r:x q=\"&quot;&amp;&lt;\">onetwo<b>&#13;</b></r:x>\n"},
        {"--standard --select //b --format -", "<a><b x='&apos;'>&lt;</b></a>", 0, head + "<b x=\"'\">&lt;</b>\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        const RUN run = tool(c.args, c.input);
        EXPECT_EQ(run.status, c.status);
        EXPECT_EQ(run.out, c.out);
        EXPECT_EQ(run.err.empty(), c.status == 0) << run.err;
    }
}

}  // namespace
