// --quiet: the document is read and nothing is printed; the exit status
// alone tells whether it was accepted.  No tree is built.
#include "vornxml_tool.h"

namespace vornxml_tool {
namespace {

class QUIET_MODE : public DOCUMENT_MODE {
public:
    VORN_XML_SAX_TREE_HANDLER& handler() override { return plain; }
    bool builds_tree() const override { return false; }
    bool silent() const override { return true; }
    bool headed() const override { return false; }

private:
    VORN_XML_SAX_TREE_HANDLER plain;
};

}  // namespace

std::unique_ptr<DOCUMENT_MODE> make_quiet_mode()
{
    return std::make_unique<QUIET_MODE>();
}

}  // namespace vornxml_tool
