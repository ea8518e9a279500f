#include "vorn_xml_path.h"

VORN_XML_PATH_HANDLER::VORN_XML_PATH_HANDLER(const VORN_XML_PATH& path, bool build_matches)
    : matcher(path), usable(path.get_streaming_problem().empty()), building(build_matches)
{
    DOM_mode = false;
    matcher.start(false);
}

VORN_XML_PATH_HANDLER::~VORN_XML_PATH_HANDLER() = default;

void VORN_XML_PATH_HANDLER::process_match(VORN_XML_ELEMENT* match, bool nested)
{
    (void)match;
    (void)nested;
}

VORN_XML_ELEMENT* VORN_XML_PATH_HANDLER::take_match()
{
    VORN_XML_ELEMENT* taken = outer;
    outer = nullptr;
    return taken;
}

void VORN_XML_PATH_HANDLER::process_start_document()
{
    matcher.start(false);
    depth = 0;
    dead_from = 0;
    match_depth = 0;
    nested_matches.clear();
    DOM_mode = false;
    VORN_XML_SAX_TREE_HANDLER::process_start_document();
}

void VORN_XML_PATH_HANDLER::process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes)
{
    ++depth;
    bool hit = false;
    if (usable && dead_from == 0) {
        hit = matcher.enter(name, attributes, nullptr);
        if (matcher.is_dead_end())
            dead_from = depth;
    }
    if (hit && !building) {
        ++matches;
        hit = false;
    }
    const bool outermost = hit && match_depth == 0;
    if (outermost) {
        match_depth = depth;
        DOM_mode = true;
    }
    VORN_XML_SAX_TREE_HANDLER::process_start_element(name, attributes);
    if (hit && !outermost)
        nested_matches.push_back(static_cast<VORN_XML_ELEMENT*>(element_stack->get_last_object()));
}

void VORN_XML_PATH_HANDLER::process_end_element(const std::string& name)
{
    VORN_XML_SAX_TREE_HANDLER::process_end_element(name);
    if (usable && (dead_from == 0 || depth == dead_from)) {
        matcher.leave();
        if (depth == dead_from)
            dead_from = 0;
    }
    const bool match_ends = depth == match_depth;
    --depth;
    if (!match_ends)
        return;
    match_depth = 0;
    DOM_mode = false;
    outer = take_root_element();
    ++matches;
    process_match(outer, false);
    for (VORN_XML_ELEMENT* nested : nested_matches) {
        ++matches;
        process_match(nested, true);
    }
    nested_matches.clear();
    delete outer;
    outer = nullptr;
}
