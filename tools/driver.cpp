// One file through the parser: open it, read it with the chosen mode, and
// report a refusal as FILE:LINE:COLUMN: message.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>

#include <sys/stat.h>
#include <unistd.h>

#include "vornxml_tool.h"

namespace vornxml_tool {
namespace {

constexpr uint64_t progress_step = uint64_t{64} << 20;

// A counting source that tells, on standard error, how far it has got
// through a large input: every 64 MiB once it is past that, out of `size`
// bytes when the size is known (not 0).
class PROGRESS_SOURCE : public VORN_XML_COUNTING_INPUT_SOURCE {
public:
    PROGRESS_SOURCE(VORN_XML_SAX_INPUT_SOURCE& source, const std::string& name, uint64_t size)
        : VORN_XML_COUNTING_INPUT_SOURCE(source), label(name), total(size),
          next_report(size != 0 && size <= progress_step ? UINT64_MAX : progress_step)
    {
    }

    int get_next_char() override
    {
        const int c = VORN_XML_COUNTING_INPUT_SOURCE::get_next_char();
        if (next.offset >= next_report) {
            std::string of;
            if (total != 0)
                of = " of " + std::to_string(total >> 20);
            std::fprintf(stderr, "vornxml: %s: %llu%s MiB read\n", label.c_str(),
                         static_cast<unsigned long long>(next.offset >> 20), of.c_str());
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

int read_document(const std::string& path, const MODE_MAKER& make_mode, bool several)
{
    const std::unique_ptr<DOCUMENT_MODE> mode = make_mode();
    const bool quiet = mode->silent();
    const bool from_stdin = path == "-";
    const std::string label = from_stdin ? "<stdin>" : path;
    // Every mode streams the input: the trees are all the memory it takes.
    VORN_XML_STREAM_INPUT_SOURCE input =
        from_stdin ? VORN_XML_STREAM_INPUT_SOURCE(STDIN_FILENO, false) : VORN_XML_STREAM_INPUT_SOURCE(path);
    struct stat info {};
    const bool known = input.is_open && ::fstat(input.fd, &info) == 0;
    const auto cannot_read = [&](const char* why) {
        if (!quiet)
            std::cerr << "vornxml: cannot read " << path << ": " << why << '\n';
        return 2;
    };
    if (!input.is_open)
        return cannot_read(std::strerror(input.get_error()));
    if (known && S_ISDIR(info.st_mode))
        return cannot_read("is a directory");
    if (several && mode->headed())
        std::printf("==> %s <==\n", label.c_str());

    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&mode->handler());
    parser.enable_DOM_mode(mode->builds_tree());
    bool ok;
    if (quiet) {
        // Nothing to report: the parser reads the source's buffer directly.
        ok = parser.parse(&input);
    } else {
        PROGRESS_SOURCE source(input, label, known && S_ISREG(info.st_mode) ? static_cast<uint64_t>(info.st_size) : 0);
        ok = parser.parse(&source);
        if (!ok)
            report_errors(label, parser, source);
    }
    if (input.get_error() != 0)
        return cannot_read(std::strerror(input.get_error()));
    return ok ? mode->finish(label) : 1;
}

}  // namespace vornxml_tool
