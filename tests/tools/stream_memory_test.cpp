// The tool checks a document of several hundred MB that arrives through a
// pipe (it never touches the disk) in the same few MB as a small one.  The
// peak is the child's own accounting (getrusage); nothing is timed.  Under
// the sanitizers, whose shadow memory has a peak of its own, the document
// is small and the peak is not checked; VORNXML_STREAM_MB sets the size.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <string>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
constexpr bool sanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif
#else
constexpr bool sanitized = false;
#endif

namespace {

// Writes all of `bytes` to `fd`; false once the reader has gone.
bool write_all(int fd, const std::string& bytes)
{
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0)
            return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

}  // namespace

TEST(stream_memory, quiet_checks_hundreds_of_mb_from_a_pipe_in_constant_memory)
{
    const char* size = std::getenv("VORNXML_STREAM_MB");
    const std::size_t megabytes = size != nullptr ? std::stoul(size) : sanitized ? 16 : 256;
    std::string records;
    for (int i = 0; i < 16; ++i)
        records += "  <record id=\"" + std::to_string(i) +
                   "\" kind=\"station\">\n    <city>Lake &amp; North</city>\n"
                   "    <!-- c --><note>harbour market</note><empty/>\n  </record>\n";

    int pipe_fds[2];
    ASSERT_EQ(::pipe(pipe_fds), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::dup2(pipe_fds[0], STDIN_FILENO);
        ::close(pipe_fds[0]);
        ::close(pipe_fds[1]);
        ::execl(VORNXML_TOOL, "vornxml", "--quiet", "-", static_cast<char*>(nullptr));
        ::_exit(127);
    }
    ::close(pipe_fds[0]);
    const auto old_handler = std::signal(SIGPIPE, SIG_IGN);  // a reader that quits early fails below
    bool written = write_all(pipe_fds[1], "<?xml version=\"1.0\"?>\n<records>\n");
    for (std::size_t total = 0; written && total < (megabytes << 20); total += records.size())
        written = write_all(pipe_fds[1], records);
    written = written && write_all(pipe_fds[1], "</records>\n");
    ::close(pipe_fds[1]);
    std::signal(SIGPIPE, old_handler);

    int status = 0;
    struct rusage usage {};
    ASSERT_EQ(::wait4(child, &status, 0, &usage), child);
    EXPECT_TRUE(written);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    if (!sanitized) {
        EXPECT_LT(usage.ru_maxrss, 16 * 1024) << "peak KiB for " << megabytes << " MB";
    }
}
