// --canonical: the document in canonical form, written as it is read (in
// standard mode; see vorn_xml_canonical.h for the form).
#include <iostream>

#include "vornxml_tool.h"

namespace vornxml_tool {
namespace {

class CANONICAL_MODE : public DOCUMENT_MODE {
public:
    VORN_XML_SAX_TREE_HANDLER& handler() override { return canonical; }
    bool builds_tree() const override { return false; }
    bool headed() const override { return false; }
    int finish(const std::string& label) override
    {
        std::cout.flush();
        if (!std::cout) {
            std::cerr << label << ": cannot write the canonical form\n";
            return 1;
        }
        return 0;
    }

private:
    VORN_XML_CANONICAL_HANDLER canonical{std::cout};
};

}  // namespace

std::unique_ptr<DOCUMENT_MODE> make_canonical_mode()
{
    return std::make_unique<CANONICAL_MODE>();
}

}  // namespace vornxml_tool
