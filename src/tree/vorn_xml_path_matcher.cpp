// Following a path along a walk.  Each level of the walk keeps two sets of
// steps, as bits: bit 0 stands for the context, bit k for "steps 1 to k
// lead here".  `reached` holds the element's own; `above` holds those of the
// element and of every element above it.  A sub-element then gets bit k
// when its parent has bit k-1 in `reached` (a "/" step) or in `above` (a
// "//" step) and it passes step k's test.  One pass over a level's words
// per step: the cost of an element does not depend on the walk's depth.
#include <algorithm>

#include "vorn_xml_path.h"
#include "vorn_xml_walk.h"

namespace {

bool has_bit(const std::uint64_t* set, std::size_t bit)
{
    return ((set[bit / 64] >> (bit % 64)) & 1U) != 0;
}

void set_bit(std::uint64_t* set, std::size_t bit)
{
    set[bit / 64] |= std::uint64_t{1} << (bit % 64);
}

bool passes(const VORN_XML_PATH::PREDICATE& predicate, const VORN_XML_ATTRIB_LIST* attributes, const std::string* text,
            long* counters)
{
    switch (predicate.test) {
    case VORN_XML_PATH::HAS_ATTRIBUTE:
        return attributes != nullptr && attributes->attrib_map.count(predicate.name) != 0;
    case VORN_XML_PATH::ATTRIBUTE_IS: {
        if (attributes == nullptr)
            return false;
        const auto found = attributes->attrib_map.find(predicate.name);
        return found != attributes->attrib_map.end() && found->second == predicate.value;
    }
    case VORN_XML_PATH::POSITION_IS: return ++counters[predicate.counter] == predicate.position;
    case VORN_XML_PATH::TEXT_IS: return text != nullptr && *text == predicate.value;
    }
    return false;
}

}  // namespace

VORN_XML_PATH_MATCHER::VORN_XML_PATH_MATCHER(const VORN_XML_PATH& path)
    : path(path), words((path.steps.size() + 1 + 63) / 64)
{
}

VORN_XML_PATH_MATCHER::~VORN_XML_PATH_MATCHER() = default;

void VORN_XML_PATH_MATCHER::start(bool relative_context)
{
    depth = 0;
    visits = 0;
    context_given = relative_context && !path.absolute;
    if (!context_given) {
        // The document above the top-level elements is the context.
        bits.assign(2 * words, 0);
        set_bit(bits.data(), 0);
        set_bit(bits.data() + words, 0);
        counts.assign(static_cast<std::size_t>(path.counters), 0);
        depth = 1;
    }
}

bool VORN_XML_PATH_MATCHER::enter(const std::string& name, const VORN_XML_ATTRIB_LIST* attributes,
                                  const std::string* text)
{
    ++visits;
    const std::size_t level = 2 * words;
    const auto n_counters = static_cast<std::size_t>(path.counters);
    if (bits.size() < (depth + 1) * level) {
        bits.resize((depth + 1) * level);
        counts.resize((depth + 1) * n_counters);
    }
    std::uint64_t* reached = bits.data() + depth * level;
    std::uint64_t* above = reached + words;
    std::fill(reached, reached + words, 0);
    std::fill(counts.data() + depth * n_counters, counts.data() + (depth + 1) * n_counters, 0);
    ++depth;
    if (context_given) {
        context_given = false;
        std::fill(above, above + words, 0);
        set_bit(reached, 0);
        set_bit(above, 0);
        return false;
    }
    if (!path.is_valid() || depth < 2)
        return false;
    const std::uint64_t* parent_reached = reached - level;
    const std::uint64_t* parent_above = parent_reached + words;
    long* parent_counts = counts.data() + (depth - 2) * n_counters;
    for (std::size_t k = 1; k <= path.steps.size(); ++k) {
        const VORN_XML_PATH::STEP& step = path.steps[k - 1];
        if (!has_bit(step.any_depth ? parent_above : parent_reached, k - 1))
            continue;
        if (!step.name.empty() && step.name != name)
            continue;
        bool ok = true;
        for (const VORN_XML_PATH::PREDICATE& predicate : step.predicates)
            if (!passes(predicate, attributes, text, parent_counts)) {
                ok = false;
                break;
            }
        if (ok)
            set_bit(reached, k);
    }
    for (std::size_t w = 0; w < words; ++w)
        above[w] = parent_above[w] | reached[w];
    return has_bit(reached, path.steps.size()) && !path.steps.empty();
}

void VORN_XML_PATH_MATCHER::leave()
{
    if (depth > 0)
        --depth;
}

bool VORN_XML_PATH_MATCHER::is_dead_end() const
{
    if (!path.is_valid() || depth == 0)
        return true;
    const std::uint64_t* reached = bits.data() + (depth - 1) * 2 * words;
    const std::uint64_t* above = reached + words;
    for (std::size_t k = 1; k <= path.steps.size(); ++k)
        if (has_bit(path.steps[k - 1].any_depth ? above : reached, k - 1))
            return false;
    return true;
}

VORN_XML_ELEMENT* VORN_XML_PATH_MATCHER::run(VORN_XML_ELEMENT* context, std::vector<VORN_XML_ELEMENT*>* found)
{
    start(true);
    for (VORN_XML_TREE_WALK walk(context); walk.next();) {
        VORN_XML_ELEMENT* element = walk.get_element();
        if (!walk.is_entering()) {
            leave();
            continue;
        }
        if (enter(element->element_name, element->attrib_list, &element->element_data)) {
            if (found == nullptr)
                return element;
            found->push_back(element);
        }
        if (is_dead_end())
            walk.skip_sub_elements();
    }
    return nullptr;
}

VORN_XML_ELEMENT* VORN_XML_PATH_MATCHER::find_first(VORN_XML_ELEMENT* context)
{
    return run(context, nullptr);
}

void VORN_XML_PATH_MATCHER::find_all(VORN_XML_ELEMENT* context, std::vector<VORN_XML_ELEMENT*>& found)
{
    const std::size_t before = found.size();
    try {
        run(context, &found);
    } catch (...) {
        found.resize(before);
        throw;
    }
}

VORN_XML_ELEMENT* VORN_XML_PATH::find_first(VORN_XML_ELEMENT* context) const
{
    VORN_XML_PATH_MATCHER matcher(*this);
    return matcher.find_first(context);
}

void VORN_XML_PATH::find_all(VORN_XML_ELEMENT* context, std::vector<VORN_XML_ELEMENT*>& found) const
{
    VORN_XML_PATH_MATCHER matcher(*this);
    matcher.find_all(context, found);
}
