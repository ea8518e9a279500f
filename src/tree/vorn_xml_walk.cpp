#include "vorn_xml_walk.h"

#include <climits>

VORN_XML_TREE_WALK::VORN_XML_TREE_WALK(VORN_XML_ELEMENT* root) : root(root) {}

VORN_XML_TREE_WALK::~VORN_XML_TREE_WALK() = default;

bool VORN_XML_TREE_WALK::next()
{
    if (root != nullptr) {
        stack.push_back({root, 0});
        current = root;
        root = nullptr;
        entering = true;
        return true;
    }
    if (stack.empty()) {
        current = nullptr;
        entering = false;
        return false;
    }
    LEVEL& top = stack.back();
    const VORN_OBJ_LIST* list = top.element->subelement_list;
    VORN_OBJ* sub = list == nullptr ? nullptr : list->get_object_at(top.next);
    if (sub != nullptr) {
        auto* element = static_cast<VORN_XML_ELEMENT*>(sub);
        stack.push_back({element, 0});
        ++stack[stack.size() - 2].next;  // after the push: a failed push leaves the walk as it was
        current = element;
        entering = true;
        return true;
    }
    current = top.element;
    entering = false;
    stack.pop_back();
    return true;
}

long VORN_XML_TREE_WALK::get_index_at(std::size_t depth) const
{
    if (depth < 1 || depth > get_depth())
        return 0;
    return stack[depth - 1].next - 1;
}

void VORN_XML_TREE_WALK::skip_sub_elements()
{
    if (entering && !stack.empty())
        stack.back().next = LONG_MAX;
}

VORN_XML_ELEMENT* find_sub_element(const VORN_XML_ELEMENT* element, const std::string& name)
{
    for (VORN_XML_ELEMENT* sub : get_sub_elements(element))
        if (sub->element_name == name)
            return sub;
    return nullptr;
}
