// --format: the document is written back to standard output, indented: for
// the dialect by VORN_XML_WRITER, in standard mode by
// VORN_XML_STANDARD_WRITER, whose output every XML reader reads.
#include <iostream>

#include "vornxml_tool.h"

namespace vornxml_tool {
namespace {

template <class WRITER> class FORMAT_MODE : public DOCUMENT_MODE {
public:
    VORN_XML_SAX_TREE_HANDLER& handler() override { return collector; }
    bool builds_tree() const override { return true; }
    bool headed() const override { return false; }
    int finish(const std::string& label) override
    {
        std::fflush(stdout);
        if (collector.roots.empty())
            std::cout << "<?xml version=\"1.0\"?>\n";
        WRITER writer(2);
        std::string text;
        for (std::size_t i = 0; i < collector.roots.size(); ++i) {
            text.clear();
            if (!writer.write(collector.roots[i].get(), text)) {
                std::cerr << label << ": " << writer.error_message << '\n';
                return 1;
            }
            // Further top-level elements follow the first without a
            // declaration of their own.
            const std::size_t body = i == 0 ? 0 : text.find('\n') + 1;
            std::cout.write(text.data() + body, static_cast<std::streamsize>(text.size() - body));
        }
        std::cout.flush();
        return 0;
    }

private:
    ROOT_COLLECTOR collector;
};

}  // namespace

std::unique_ptr<DOCUMENT_MODE> make_format_mode()
{
    return std::make_unique<FORMAT_MODE<VORN_XML_WRITER>>();
}

std::unique_ptr<DOCUMENT_MODE> make_standard_format_mode()
{
    return std::make_unique<FORMAT_MODE<VORN_XML_STANDARD_WRITER>>();
}

}  // namespace vornxml_tool
