// The vornxml tool end to end: output, error lines and exit status.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <sys/wait.h>

#include "vorn_test_support.h"

namespace {

std::string catalog()
{
    return VORNXML_SOURCE_DIR "/examples/catalog.xml";
}
std::string broken()
{
    return VORNXML_SOURCE_DIR "/examples/broken.xml";
}

struct RUN {
    int status = -1;
    std::string out;
    std::string err;
};

std::string slurp(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

bool starts_with(const std::string& text, const std::string& head)
{
    return text.compare(0, head.size(), head) == 0;
}

// Runs the tool with `args` (shell words) and `input` on standard input.
RUN tool(const std::string& args, const std::string& input = "")
{
    vorn_test::TEMP_DIR dir;
    const std::string in = dir.write("in", input);
    const std::string command = std::string("'") + VORNXML_TOOL + "' " + args + " <'" + in + "' >'" + dir.path() +
                                "/out' 2>'" + dir.path() + "/err'";
    const int raw = std::system(command.c_str());
    RUN run;
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = slurp(dir.path() + "/out");
    run.err = slurp(dir.path() + "/err");
    return run;
}

TEST(tool, prints_the_tree_of_the_catalog)
{
    const RUN run = tool("'" + catalog() + "'");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_PRED2(starts_with, run.out,
                 "catalog currency=\"EUR\" shop=\"Harbour Tools\" updated=\"2026-03-14\"\n"
                 "  category id=\"hand_tools\" name=\"Hand tools\"\n"
                 "    product sku=\"HT-1001\"");
    EXPECT_NE(
        run.out.find("      description: \"Forged steel head & fibreglass handle.\\nBalanced for all-day work.\"\n"),
        std::string::npos);
}

TEST(tool, reports_errors_with_their_place)
{
    const RUN run = tool("'" + broken() + "'");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, broken() + ":3:32: Error: = was needed but got 42\n" + broken() +
                           ":3:32: Attribute equal (\"=\") token is missing for attribute : stock\n");
    const RUN mismatch = tool("-", "<?xml version=\"1.0\"?>\n<a>\n  <b>x</c>\n</a>\n");
    EXPECT_EQ(mismatch.status, 1);
    EXPECT_EQ(mismatch.err, "<stdin>:3:7: Start (b) and end tag (c) identifiers do not match\n");
}

TEST(tool, exit_status_two_for_unreadable_files_and_bad_usage)
{
    const struct {
        std::string args;
        std::string err;
    } cases[] = {
        {"/nonexistent.xml", "vornxml: cannot read /nonexistent.xml: No such file or directory\n"},
        {"/", "vornxml: cannot read /: is a directory\n"},
        {"", "vornxml: expected at least one FILE (or - for standard input); try vornxml --help\n"},
        {"--frobnicate x.xml", "vornxml: unknown option --frobnicate; try vornxml --help\n"},
        {"--events --format x.xml", "vornxml: --events, --format and --quiet exclude each other; try vornxml --help\n"},
    };
    for (const auto& c : cases) {
        const RUN run = tool(c.args);
        EXPECT_EQ(run.status, 2) << c.args;
        EXPECT_EQ(run.err, c.err);
        EXPECT_EQ(run.out, "");
    }
}

TEST(tool, reads_standard_input_and_explains_itself)
{
    const RUN run = tool("-", "<?xml version=\"1.0\"?><a x=\"1\">t<!--\n--></a>");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "a x=\"1\": \"t\"\n");
    const RUN help = tool("--help");
    EXPECT_EQ(help.status, 0);
    for (const char* word : {"--events", "--format", "--quiet", "FILE:LINE:COLUMN", "64 MiB", "Exit status"})
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
}

TEST(tool, events_and_quiet)
{
    const RUN events = tool("--events -", "<?xml version=\"1.0\"?><a k=\"v\"><b/>x&amp;\x01</a>");
    EXPECT_EQ(events.status, 0);
    EXPECT_EQ(events.out, "start-document\nstart a k=\"v\"\nstart b\nend b\nchars \"x&\\x01\"\nend a\nend-document\n");
    const RUN failed = tool("--events -", "<?xml version=\"1.0\"?><a><b></a>");
    EXPECT_EQ(failed.status, 1);
    EXPECT_EQ(failed.out, "start-document\nstart a\nstart b\n");
    EXPECT_EQ(failed.err, "<stdin>:1:28: Start (b) and end tag (a) identifiers do not match\n");
    for (const std::string& file : {catalog(), broken(), std::string("/nonexistent")}) {
        const RUN quiet = tool("--quiet '" + file + "'");
        EXPECT_EQ(quiet.out + quiet.err, "");
        EXPECT_EQ(quiet.status, file == catalog() ? 0 : file == broken() ? 1 : 2);
    }
}

TEST(tool, format_round_trips)
{
    const RUN formatted = tool("--format '" + catalog() + "'");
    EXPECT_EQ(formatted.status, 0);
    const RUN again = tool("-", formatted.out);
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(again.out, tool("'" + catalog() + "'").out);
    const RUN refused = tool("--format -", "<?xml version=\"1.0\"?><a>\" x\"</a>");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err,
              "<stdin>: cannot write element \"a\" at /: its text begins with white space, which a reader drops\n");
}

TEST(tool, several_files_each_reported_worst_status_wins)
{
    const RUN run = tool("'" + catalog() + "' - '" + broken() + "'", "<?xml version=\"1.0\"?><x/>");
    EXPECT_EQ(run.status, 1);
    EXPECT_PRED2(starts_with, run.out, "==> " + catalog() + " <==\ncatalog ");
    EXPECT_NE(run.out.find("\n==> <stdin> <==\nx\n==> " + broken() + " <==\n"), std::string::npos);
    EXPECT_PRED2(starts_with, run.err, broken() + ":3:32: ");
    EXPECT_EQ(tool("'" + catalog() + "' /nonexistent '" + broken() + "'").status, 2);
}

}  // namespace
