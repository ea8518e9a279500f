// The tool checks a document of several hundred MB that arrives through a
// pipe (it is never written to disk) in the same few MB as a small one.  The
// peak is the child's own accounting (getrusage); nothing is timed.  Under
// the sanitizers, whose shadow memory has a peak of its own, the document
// is small and the peak is not checked; VORNXML_STREAM_MB sets the size.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <sys/resource.h>
#include <sys/wait.h>

#ifdef __SANITIZE_ADDRESS__
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

TEST(stream_memory, quiet_checks_hundreds_of_mb_from_a_pipe_in_constant_memory)
{
    const char* size = std::getenv("VORNXML_STREAM_MB");
    const std::size_t megabytes = size != nullptr ? std::stoul(size) : sanitized ? 16 : 256;
    std::string records;
    for (int i = 0; i < 16; ++i)
        records += "  <record id=\"" + std::to_string(i) +
                   "\" kind=\"station\">\n    <city>Lake &amp; North</city>\n"
                   "    <!-- c --><note>harbour market</note><empty/>\n  </record>\n";

    const std::string command = std::string("'") + VORNXML_TOOL + "' --quiet -";
    const auto old_handler = std::signal(SIGPIPE, SIG_IGN);  // a reader that quits early fails below
    FILE* tool = ::popen(command.c_str(), "w");
    ASSERT_NE(tool, nullptr);
    bool written = std::fputs("<?xml version=\"1.0\"?>\n<records>\n", tool) >= 0;
    for (std::size_t total = 0; written && total < (megabytes << 20); total += records.size())
        written = std::fwrite(records.data(), 1, records.size(), tool) == records.size();
    written = written && std::fputs("</records>\n", tool) >= 0;
    const int status = ::pclose(tool);
    std::signal(SIGPIPE, old_handler);
    EXPECT_TRUE(written);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    struct rusage usage {};  // the children's largest peak: the shell's or the tool's
    ASSERT_EQ(::getrusage(RUSAGE_CHILDREN, &usage), 0);
    if (!sanitized) {
        EXPECT_LT(usage.ru_maxrss, 16 * 1024) << "peak KiB for " << megabytes << " MB";
    }
}
