// --select PATH: the elements a path selects, each printed as the default
// mode prints a tree, written back (--format), or only counted (--count).
// When the path can be followed while the document is read, only the
// matches are built, one at a time; otherwise the whole tree is built and
// queried at the end.
#include <cstdio>
#include <iostream>

#include "vornxml_tool.h"

namespace vornxml_tool {
namespace {

// Shows the matches as they come.
class PRINTER {
public:
    explicit PRINTER(SELECT_OUTPUT how) : output(how), writer(2), standard_writer(2) {}

    void show(VORN_XML_ELEMENT* match)
    {
        ++count;
        if (output == SELECT_OUTPUT::TREE) {
            print_tree(match);
        } else if (output == SELECT_OUTPUT::FORMAT || output == SELECT_OUTPUT::STANDARD_FORMAT) {
            text.clear();
            const bool standard = output == SELECT_OUTPUT::STANDARD_FORMAT;
            if (!(standard ? standard_writer.write(match, text) : writer.write(match, text))) {
                problem = standard ? standard_writer.error_message : writer.error_message;
                return;
            }
            // The declaration once, before the first match.
            const std::size_t body = count == 1 ? 0 : text.find('\n') + 1;
            std::fwrite(text.data() + body, 1, text.size() - body, stdout);
        }
    }

    // Ends the document's output; `matches` is how many were found.
    int finish(const std::string& label, long matches) const
    {
        if (output == SELECT_OUTPUT::COUNT)
            std::printf("%ld\n", matches);
        std::fflush(stdout);
        if (problem.empty())
            return 0;
        std::cerr << label << ": " << problem << '\n';
        return 1;
    }

private:
    SELECT_OUTPUT output;
    VORN_XML_WRITER writer;
    VORN_XML_STANDARD_WRITER standard_writer;
    std::string text;
    std::string problem;  // the first match that could not be written back
    long count = 0;       // matches shown
};

class STREAMING_HANDLER : public VORN_XML_PATH_HANDLER {
public:
    STREAMING_HANDLER(const VORN_XML_PATH& path, PRINTER& printer, bool build)
        : VORN_XML_PATH_HANDLER(path, build), printer(printer)
    {
    }
    void process_match(VORN_XML_ELEMENT* match, bool nested) override
    {
        (void)nested;
        printer.show(match);
    }

private:
    PRINTER& printer;
};

class SELECT_MODE : public DOCUMENT_MODE {
public:
    SELECT_MODE(std::shared_ptr<const VORN_XML_PATH> path, SELECT_OUTPUT output)
        : path(std::move(path)), printer(output), streaming(this->path->get_streaming_problem().empty()),
          stream(*this->path, printer, output != SELECT_OUTPUT::COUNT)
    {
    }
    VORN_XML_SAX_TREE_HANDLER& handler() override
    {
        if (streaming)
            return stream;
        return collector;
    }
    bool builds_tree() const override { return !streaming; }
    int finish(const std::string& label) override
    {
        std::vector<VORN_XML_ELEMENT*> found;
        for (const auto& root : collector.roots)
            path->find_all(root.get(), found);
        for (VORN_XML_ELEMENT* match : found)
            printer.show(match);
        return printer.finish(label, streaming ? stream.get_match_count() : static_cast<long>(found.size()));
    }

private:
    std::shared_ptr<const VORN_XML_PATH> path;
    PRINTER printer;
    bool streaming;
    STREAMING_HANDLER stream;
    ROOT_COLLECTOR collector;
};

}  // namespace

std::unique_ptr<DOCUMENT_MODE> make_select_mode(std::shared_ptr<const VORN_XML_PATH> path, SELECT_OUTPUT output)
{
    if (!path->absolute) {
        // Read from the document, a relative path starts there too.
        auto from_document = std::make_shared<VORN_XML_PATH>(*path);
        from_document->absolute = true;
        path = from_document;
    }
    return std::make_unique<SELECT_MODE>(path, output);
}

}  // namespace vornxml_tool
