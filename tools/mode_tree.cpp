// The default mode: each element tree is printed, one element a line,
// indented by depth, with its attributes and its text.
#include <cstdio>

#include "vornxml_tool.h"

namespace vornxml_tool {

void ROOT_COLLECTOR::process_end_element(const std::string& name)
{
    VORN_XML_SAX_TREE_HANDLER::process_end_element(name);
    if (root_element != nullptr) {
        roots.emplace_back(nullptr);
        roots.back().reset(take_root_element());
    }
}

namespace {

void print_element(std::string& line, VORN_XML_ELEMENT* element, std::size_t depth)
{
    // Deep documents would make indentation quadratic; past a limit the
    // depth is written as a number instead.
    constexpr std::size_t max_indent = 32;
    line.clear();
    if (depth <= max_indent) {
        line.append(2 * depth, ' ');
    } else {
        line.append(2 * max_indent, ' ');
        line += "[" + std::to_string(depth) + "] ";
    }
    line += element->get_element_name();
    if (element->attrib_list != nullptr) {
        std::string name;
        std::string value;
        element->attrib_list->reset_attrib_list();
        while (element->attrib_list->get_next_attrib(name, value))
            line += " " + name + "=" + quoted(value);
    }
    if (!element->get_element_data().empty())
        line += ": " + quoted(element->get_element_data());
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stdout);
}

}  // namespace

void print_tree(VORN_XML_ELEMENT* root)
{
    std::string line;
    for (VORN_XML_TREE_WALK walk(root); walk.next();)
        if (walk.is_entering())
            print_element(line, walk.get_element(), walk.get_depth());
}

namespace {

class TREE_MODE : public DOCUMENT_MODE {
public:
    VORN_XML_SAX_TREE_HANDLER& handler() override { return collector; }
    bool builds_tree() const override { return true; }
    int finish(const std::string& label) override
    {
        (void)label;
        for (const auto& root : collector.roots)
            print_tree(root.get());
        return 0;
    }

private:
    ROOT_COLLECTOR collector;
};

}  // namespace

std::unique_ptr<DOCUMENT_MODE> make_tree_mode()
{
    return std::make_unique<TREE_MODE>();
}

}  // namespace vornxml_tool
