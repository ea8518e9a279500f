// One file through the parser: open it, read it with the chosen mode, and
// report a refusal as FILE:LINE:COLUMN: message.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <iterator>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "vornxml_tool.h"

namespace vornxml_tool {
namespace {

constexpr uint64_t progress_step = uint64_t{64} << 20;

// Checks that `path` names a readable regular file; on failure says why.
bool check_readable(const std::string& path, std::string& why)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        why = std::strerror(errno);
        return false;
    }
    struct stat info {};
    const bool is_dir = ::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode);
    ::close(fd);
    if (is_dir) {
        why = "is a directory";
        return false;
    }
    return true;
}

// A counting source that tells, on standard error, how far it has got
// through a large input.
class PROGRESS_SOURCE : public VORN_XML_COUNTING_INPUT_SOURCE {
public:
    PROGRESS_SOURCE(VORN_XML_SAX_INPUT_SOURCE& source, const std::string& name, uint64_t size, bool silent)
        : VORN_XML_COUNTING_INPUT_SOURCE(source), label(name), total(size),
          next_report(silent || size <= progress_step ? UINT64_MAX : progress_step)
    {
    }

    int get_next_char() override
    {
        const int c = VORN_XML_COUNTING_INPUT_SOURCE::get_next_char();
        if (next.offset >= next_report) {
            std::fprintf(stderr, "vornxml: %s: %llu of %llu MiB read\n", label.c_str(),
                         static_cast<unsigned long long>(next.offset >> 20),
                         static_cast<unsigned long long>(total >> 20));
            next_report += progress_step;
        }
        return c;
    }

private:
    std::string label;
    uint64_t total;
    uint64_t next_report;
};

void report_errors(const std::string& label, VORN_XML_SAX_PARSER& parser, const VORN_XML_COUNTING_INPUT_SOURCE& source)
{
    const VORN_XML_POSITION at = source.get_failure_position(parser);
    const std::string prefix = label + ":" + std::to_string(at.line) + ":" + std::to_string(at.column) + ": ";
    VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
    if (errors == nullptr || !errors->has_error_messages())
        return;
    std::fflush(stdout);
    errors->reset_error_message_list();
    for (std::string m = errors->get_next_error_message(); !m.empty(); m = errors->get_next_error_message())
        std::cerr << prefix << m << '\n';
}

}  // namespace

int read_document(const std::string& path, std::unique_ptr<DOCUMENT_MODE> (*make_mode)(), bool several)
{
    const std::unique_ptr<DOCUMENT_MODE> mode = make_mode();
    const bool quiet = mode->silent();
    const std::string label = path == "-" ? "<stdin>" : path;
    std::string why;
    if (path != "-" && !check_readable(path, why)) {
        if (!quiet)
            std::cerr << "vornxml: cannot read " << path << ": " << why << '\n';
        return 2;
    }
    if (several && mode->headed())
        std::printf("==> %s <==\n", label.c_str());

    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&mode->handler());
    parser.enable_DOM_mode(mode->builds_tree());
    bool ok = false;
    auto run = [&](VORN_XML_SAX_INPUT_SOURCE& inner, uint64_t size) {
        PROGRESS_SOURCE source(inner, label, size, quiet);
        ok = parser.parse(&source);
        if (!ok && !quiet)
            report_errors(label, parser, source);
    };
    if (path == "-") {
        std::string text(std::istreambuf_iterator<char>(std::cin), {});
        const uint64_t size = text.size();
        VORN_XML_STRING_INPUT_SOURCE inner(std::move(text));
        run(inner, size);
    } else {
        struct stat info {};
        const uint64_t size = ::stat(path.c_str(), &info) == 0 ? static_cast<uint64_t>(info.st_size) : 0;
        VORN_XML_FILE_INPUT_SOURCE inner(path);
        if (!inner.is_open) {
            if (!quiet)
                std::cerr << "vornxml: cannot open " << path << '\n';
            return 2;
        }
        run(inner, size);
    }
    return ok ? mode->finish(label) : 1;
}

}  // namespace vornxml_tool
