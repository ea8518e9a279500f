// One file through the parser: open it, read it with the chosen mode, and
// report a refusal as FILE:LINE:COLUMN: message.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "vornxml_tool.h"

namespace vornxml_tool {
namespace {

constexpr uint64_t progress_step = uint64_t{64} << 20;

// Tells, on standard error, how far reading has got through a large input:
// every 64 MiB once it is past that, out of `size` bytes when the size is
// known (not 0).  It stands between the parser and the mode's handler and
// looks at the tracking source's offset at each event (one compare, the
// source counts nothing for it), so that the source is still read in bulk;
// report() looks once more after the parse.  A report comes out at the
// first event after its 64 MiB were read, before that event's output: in
// the same order and with the same text as if the offset were watched byte
// by byte.
class PROGRESS final : public VORN_XML_SAX_TREE_HANDLER {
public:
    PROGRESS(VORN_XML_SAX_TREE_HANDLER& events, const VORN_XML_TRACKING_INPUT_SOURCE& source, std::string name,
             uint64_t size)
        : events(events), source(source), label(std::move(name)), total(size),
          next_report(size != 0 && size <= progress_step ? UINT64_MAX : progress_step)
    {
        DOM_mode = false;  // the mode's handler builds what it builds
    }

    void process_start_document() override
    {
        report();
        events.process_start_document();
    }
    void process_end_document(const char* text) override
    {
        report();
        events.process_end_document(text);
    }
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        report();
        events.process_start_element(name, attributes);
    }
    void process_end_element(const std::string& name) override
    {
        report();
        events.process_end_element(name);
    }
    void process_characters(const std::string& text) override
    {
        report();
        events.process_characters(text);
    }

    // Reports each step of 64 MiB that was read and not reported yet.
    void report()
    {
        if (source.offset() >= next_report)
            report_steps();
    }

private:
    __attribute__((noinline)) void report_steps()
    {
        while (source.offset() >= next_report) {
            std::string of;
            if (total != 0)
                of = " of " + std::to_string(total >> 20);
            std::fprintf(stderr, "vornxml: %s: %llu%s MiB read\n", label.c_str(),
                         static_cast<unsigned long long>(next_report >> 20), of.c_str());
            next_report += progress_step;
        }
    }

    VORN_XML_SAX_TREE_HANDLER& events;
    const VORN_XML_TRACKING_INPUT_SOURCE& source;
    std::string label;
    uint64_t total;
    uint64_t next_report;
};

void report_errors(const std::string& label, VORN_XML_SAX_PARSER& parser, const VORN_XML_TRACKING_INPUT_SOURCE& source)
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

// The option that lifts a limit that ends a document; null for the others.
const char* limit_option(VORN_XML_LIMITS::KIND kind)
{
    switch (kind) {
    case VORN_XML_LIMITS::NAME: return "--max-name=BYTES";
    case VORN_XML_LIMITS::TEXT: return "--max-text=BYTES";
    case VORN_XML_LIMITS::TAG: return "--max-tag=BYTES";
    case VORN_XML_LIMITS::DEPTH: return "--max-depth=N";
    case VORN_XML_LIMITS::ATTRIBUTES: return "--max-attributes=N";
    case VORN_XML_LIMITS::MESSAGES:
    case VORN_XML_LIMITS::NONE: break;
    }
    return nullptr;
}

// The collector's message without its "line L, column C: " head: the tool
// puts the place first.
std::string without_place(const std::string& message)
{
    const std::size_t colon = message.find(": ");
    return message.compare(0, 5, "line ") == 0 && colon != std::string::npos ? message.substr(colon + 2) : message;
}

int read_standard(const std::string& label, VORN_XML_STREAM_INPUT_SOURCE& input, DOCUMENT_MODE& mode, bool quiet)
{
    VORN_XML_STANDARD_PARSER parser;
    parser.set_tree_handler(&mode.handler());
    if (parser.parse(&input))
        return -1;
    VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
    if (!quiet && errors != nullptr && errors->has_error_messages()) {
        std::fflush(stdout);
        errors->reset_error_message_list();
        std::cerr << label << ":" << parser.get_error_line() << ":" << parser.get_error_column() << ": "
                  << without_place(errors->get_next_error_message()) << '\n';
    }
    return 1;
}

// After the dialect refused the file at `path`: tells when standard XML
// reads it.
void hint_standard(const std::string& path)
{
    VORN_XML_STREAM_INPUT_SOURCE again(path);
    if (!again.is_open)
        return;
    VORN_XML_STANDARD_HANDLER nothing;
    nothing.DOM_mode = false;
    VORN_XML_STANDARD_PARSER parser;
    parser.set_tree_handler(&nothing);
    if (parser.parse(&again))
        std::cerr << "vornxml: " << path
                  << " is well-formed standard XML, which the default dialect does not read; try --standard\n";
}

}  // namespace

int read_document(const std::string& path, const MODE_MAKER& make_mode, bool several, bool standard,
                  const VORN_XML_LIMITS& limits)
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

    VORN_XML_SAX_TREE_HANDLER& events = mode->handler();
    events.DOM_mode = mode->builds_tree();
    if (standard) {
        const int refused = read_standard(label, input, *mode, quiet);
        if (input.get_error() != 0)
            return cannot_read(std::strerror(input.get_error()));
        return refused >= 0 ? refused : mode->finish(label);
    }
    VORN_XML_LIMITED_SAX_PARSER parser(limits);
    bool ok;
    if (quiet) {
        // Nothing to report: the parser reads the source's buffer directly.
        parser.set_tree_handler(&events);
        ok = parser.parse(&input);
    } else {
        // Read in bulk as well: the parser reads the tracking source straight
        // from the streaming source's buffer, and the tracking source counts
        // lines only per chunk and for the failure's position.
        VORN_XML_TRACKING_INPUT_SOURCE source(input);
        PROGRESS progress(events, source, label,
                          known && S_ISREG(info.st_mode) ? static_cast<uint64_t>(info.st_size) : 0);
        parser.set_tree_handler(&progress);
        ok = parser.parse(&source);
        progress.report();
        if (!ok) {
            report_errors(label, parser, source);
            if (!from_stdin && input.get_error() == 0)
                hint_standard(path);
        }
        if (const char* option = limit_option(parser.get_limit_reached()))
            std::cerr << label << ": the limit is lifted by " << option << " (or --huge)\n";
    }
    if (input.get_error() != 0)
        return cannot_read(std::strerror(input.get_error()));
    return ok ? mode->finish(label) : 1;
}

}  // namespace vornxml_tool
