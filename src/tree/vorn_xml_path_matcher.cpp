// Following a path along a walk.  Bit k of a set of steps stands for
// "steps 1 to k lead here"; bit 0 for the context.  Each level of the walk
// keeps two sets, as bits:
//   open:  the steps k after which step k+1 may be tried on a sub-element
//          (k reached at this element and step k+1 follows a "/", or k
//          reached at this element or above it and step k+1 follows "//");
//   above: the steps reached at this element or at any element above it.
// A sub-element then tries step k+1 for each bit k of its parent's `open`
// and for no other step, and below an element whose `open` is empty nothing
// can be selected.  `bits` starts with the path's two masks (bit k: step
// k+1 follows "/", then: follows "//"); level d (0: the context or the
// document) comes after them.  Every set is `words` words; a path of fewer
// than 64 steps, as nearly every path is, has one word per set, and then an
// element costs a shift, the test of the steps its parent leaves open, and a
// few masks, whatever the path's length or the walk's depth.
#include <algorithm>
#include <cstring>

#include "../internal/vorn_xml_chars.h"
#include "vorn_xml_path.h"
#include "vorn_xml_walk.h"

namespace {

void set_bit(std::uint64_t* set, std::size_t bit)
{
    set[bit / 64] |= std::uint64_t{1} << (bit % 64);
}

// Byte for byte.  Names are short: no call, and a few wide compares.
bool same_name(const std::string& a, const std::string& b)
{
    std::size_t size = a.size();
    if (size != b.size())
        return false;
    const char* p = a.data();
    const char* q = b.data();
    for (; size >= 8; size -= 8, p += 8, q += 8)
        if (std::memcmp(p, q, 8) != 0)
            return false;
    if (size >= 4) {
        if (std::memcmp(p, q, 4) != 0)
            return false;
        size -= 4, p += 4, q += 4;
    }
    if (size >= 2) {
        if (std::memcmp(p, q, 2) != 0)
            return false;
        size -= 2, p += 2, q += 2;
    }
    return size == 0 || *p == *q;
}

// Whether the attribute list takes `a` and `b` for one name: their C-string
// forms are equal once A-Z are folded to a-z.
bool same_attribute_name(const std::string& a, const std::string& b)
{
    for (const char *p = a.c_str(), *q = b.c_str();; ++p, ++q) {
        if (*p == *q) {
            if (*p == '\0')
                return true;
        } else if (vorn_xml_chars::fold_case(*p) != vorn_xml_chars::fold_case(*q)) {
            return false;
        }
    }
}

// The value of the attribute `name` in `attributes` (may be null); null
// when there is none.  A tag has few attributes, whose names mostly differ
// in their first byte: a walk along them costs less than a lookup.
const std::string* find_attribute(const VORN_XML_ATTRIB_LIST* attributes, const std::string& name)
{
    if (attributes != nullptr)
        for (const auto& pair : attributes->attrib_map)
            if (same_attribute_name(pair.first, name))
                return &pair.second;
    return nullptr;
}

bool passes(const VORN_XML_PATH::PREDICATE& predicate, const VORN_XML_ATTRIB_LIST* attributes, const std::string* text,
            long* counters)
{
    switch (predicate.test) {
    case VORN_XML_PATH::HAS_ATTRIBUTE: return find_attribute(attributes, predicate.name) != nullptr;
    case VORN_XML_PATH::ATTRIBUTE_IS: {
        const std::string* value = find_attribute(attributes, predicate.name);
        return value != nullptr && *value == predicate.value;
    }
    case VORN_XML_PATH::POSITION_IS: return ++counters[predicate.counter] == predicate.position;
    case VORN_XML_PATH::TEXT_IS: return text != nullptr && *text == predicate.value;
    }
    return false;
}

// Of the steps in `named` (bit b stands for step `first` + b), whose names
// the element has passed, those whose predicates it passes too.  Each step
// tests its predicates left to right: a position counts only the elements
// that the name and the predicates before it let through.
[[gnu::noinline]] std::uint64_t passing(const VORN_XML_PATH& path, std::size_t first, std::uint64_t named,
                                        const VORN_XML_ATTRIB_LIST* attributes, const std::string* text, long* counters)
{
    std::uint64_t reached = 0;
    for (; named != 0; named &= named - 1) {
        const auto bit = static_cast<unsigned>(__builtin_ctzll(named));
        bool ok = true;
        for (const VORN_XML_PATH::PREDICATE& predicate : path.steps[first + bit - 1].predicates)
            if (!passes(predicate, attributes, text, counters)) {
                ok = false;
                break;
            }
        if (ok)
            reached |= std::uint64_t{1} << bit;
    }
    return reached;
}

// Of the steps in `tried` (bit b stands for step `first` + b), those that
// the element passes, with its parent's position `counters`.  Names are
// compared here; the few steps with predicates are left to passing(), so
// that the loop holds no call.
inline std::uint64_t passed(const VORN_XML_PATH& path, std::size_t first, std::uint64_t tried, const std::string& name,
                            const VORN_XML_ATTRIB_LIST* attributes, const std::string* text, long* counters)
{
    std::uint64_t reached = 0;
    std::uint64_t named = 0;  // with predicates to test
    for (; tried != 0; tried &= tried - 1) {
        const auto bit = static_cast<unsigned>(__builtin_ctzll(tried));
        const VORN_XML_PATH::STEP& step = path.steps[first + bit - 1];
        if (!step.name.empty() && !same_name(step.name, name))
            continue;
        (step.predicates.empty() ? reached : named) |= std::uint64_t{1} << bit;
    }
    if (named != 0)
        reached |= passing(path, first, named, attributes, text, counters);
    return reached;
}

// Fills `level` (open, then above) for the context, which reaches bit 0
// only.
void fill_context(const std::uint64_t* masks, std::size_t words, std::uint64_t* level)
{
    std::fill(level, level + 2 * words, 0);
    level[0] = (masks[0] | masks[words]) & 1U;
    level[words] = 1;
}

// Makes room for `levels` words of bits and `counters` counters, the new
// ones zero.  The counters first: when only they grew, the next entry grows
// the bits again.
[[gnu::noinline]] void grow(std::vector<std::uint64_t>& bits, std::size_t size, std::vector<long>& counts,
                            std::size_t counters)
{
    counts.resize(counters);
    bits.resize(size);
}

// VORN_XML_PATH_MATCHER::enter_slowly() below a level of several words,
// `level` being the element's (its parent's before it).
[[gnu::noinline]] int enter_words(const VORN_XML_PATH& path, std::size_t words, const std::uint64_t* masks,
                                  std::uint64_t* level, const std::string& name, const VORN_XML_ATTRIB_LIST* attributes,
                                  const std::string* text, long* counters)
{
    const std::uint64_t* parent = level - 2 * words;
    const std::size_t last = path.steps.size();
    int selected = 0;
    std::uint64_t open_any = 0;
    std::uint64_t carry = 0;  // the top bit of the word before, shifted in
    for (std::size_t w = 0; w < words; ++w) {
        const std::uint64_t tried = (parent[w] << 1) | carry;
        carry = parent[w] >> 63;
        const std::uint64_t reached = passed(path, w * 64, tried, name, attributes, text, counters);
        const std::uint64_t above = parent[words + w] | reached;
        level[w] = (reached & masks[w]) | (above & masks[words + w]);
        level[words + w] = above;
        open_any |= level[w];
        if (w == last / 64)
            selected = static_cast<int>((reached >> (last % 64)) & 1U);
    }
    return selected | (open_any == 0 ? 2 : 0);
}

}  // namespace

VORN_XML_PATH_MATCHER::VORN_XML_PATH_MATCHER(const VORN_XML_PATH& path)
    : path(path), words((path.steps.size() + 1 + 63) / 64)
{
}

VORN_XML_PATH_MATCHER::~VORN_XML_PATH_MATCHER() = default;

void VORN_XML_PATH_MATCHER::start(bool relative_context)
{
    words = (path.steps.size() + 1 + 63) / 64;
    bits.assign(2 * words, 0);
    if (path.is_valid())
        for (std::size_t k = 1; k <= path.steps.size(); ++k)
            set_bit(bits.data() + (path.steps[k - 1].any_depth ? words : 0), k - 1);
    counts.clear();
    depth = 0;
    visits = 0;
    context_given = relative_context && !path.absolute;
    if (!context_given) {
        // The document above the top-level elements is the context.
        bits.resize(4 * words);
        counts.assign(static_cast<std::size_t>(path.counters), 0);
        fill_context(bits.data(), words, bits.data() + 2 * words);
        depth = 1;
    }
}

// Most entries: sets of one word (paths of fewer than 64 steps), below an
// element, at a depth the walk has reached before (its memory is there),
// and every step the element tries is named, with a name that differs from
// the element's in length or in the first two bytes, so that it reaches no
// step.
// The rest is left to enter_slowly().  No call then, and no frame.
inline int VORN_XML_PATH_MATCHER::enter_quickly(const std::string& name)
{
    if (words != 1 || depth == 0 || bits.size() < 2 * depth + 4)
        return -1;
    std::uint64_t* level = bits.data() + 2 * depth + 2;  // the element's; its parent's before it
    const VORN_XML_PATH::STEP* steps = path.steps.data();
    for (std::uint64_t tried = level[-2] << 1; tried != 0; tried &= tried - 1) {
        const std::string& step_name = steps[__builtin_ctzll(tried) - 1].name;
        // Of two names of one length, the second byte is there (the end of a
        // name of one byte).
        if (step_name.empty() ||
            (step_name.size() == name.size() && step_name[0] == name[0] && step_name[1] == name[1]))
            return -1;
    }
    ++visits;
    ++depth;
    const std::uint64_t above = level[-1];
    const std::uint64_t open = above & bits[1];
    level[0] = open;
    level[1] = above;
    return open == 0 ? 2 : 0;
}

bool VORN_XML_PATH_MATCHER::enter(const std::string& name, const VORN_XML_ATTRIB_LIST* attributes,
                                  const std::string* text)
{
    int entered = enter_quickly(name);
    if (entered < 0)
        entered = enter_slowly(name, attributes, text);
    return (entered & 1) != 0;
}

int VORN_XML_PATH_MATCHER::enter_slowly(const std::string& name, const VORN_XML_ATTRIB_LIST* attributes,
                                        const std::string* text)
{
    ++visits;
    const std::size_t level_size = 2 * words;
    const auto n_counters = static_cast<std::size_t>(path.counters);
    if (bits.size() < (depth + 2) * level_size)
        grow(bits, (depth + 2) * level_size, counts, (depth + 1) * n_counters);
    std::uint64_t* level = bits.data() + (depth + 1) * level_size;
    if (depth++ == 0) {
        // No level above: the context a relative path starts from (never
        // selected), or an entry before any start().
        std::fill(level, level + level_size, 0);
        if (context_given)
            fill_context(bits.data(), words, level);
        context_given = false;
        return is_dead_end() ? 2 : 0;
    }
    long* counters = counts.data() + (depth - 2) * n_counters;
    if (words != 1)
        return enter_words(path, words, bits.data(), level, name, attributes, text, counters);
    const std::uint64_t reached = passed(path, 0, level[-2] << 1, name, attributes, text, counters);
    const std::uint64_t above = level[-1] | reached;
    const std::uint64_t open = (reached & bits[0]) | (above & bits[1]);
    level[0] = open;
    level[1] = above;
    return static_cast<int>((reached >> path.steps.size()) & 1U) | (open == 0 ? 2 : 0);
}

void VORN_XML_PATH_MATCHER::leave()
{
    if (depth == 0)
        return;
    --depth;
    // The element's counters go back to zero for the next element at its
    // depth (they are zero when a walk reaches a depth first).
    const auto n_counters = static_cast<std::size_t>(path.counters);
    if (n_counters != 0)
        std::fill_n(counts.data() + depth * n_counters, n_counters, 0);
}

bool VORN_XML_PATH_MATCHER::is_dead_end() const
{
    if (depth == 0)
        return true;
    const std::uint64_t* open = bits.data() + depth * 2 * words;
    if (words == 1)
        return open[0] == 0;
    return std::all_of(open, open + words, [](std::uint64_t word) { return word == 0; });
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

// ---------------------------------------------------------------------------
// VORN_XML_PATH_HANDLER.  It lives with the matcher so that the matcher's
// entries and exits, called once per element of the document, are compiled
// into its own.
// ---------------------------------------------------------------------------

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
    if (dead_from == 0 && usable) {
        const int entered = matcher.enter_quickly(name);
        if (entered < 0) {
            start_element_slowly(name, attributes);
            return;
        }
        if (entered != 0)
            dead_from = depth;
    }
    // Between matches DOM mode is off: unless a listener is set, the tree
    // handler then has nothing to do.
    if (DOM_mode || event_listener != nullptr)
        VORN_XML_SAX_TREE_HANDLER::process_start_element(name, attributes);
}

void VORN_XML_PATH_HANDLER::start_element_slowly(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes)
{
    const int entered = matcher.enter_slowly(name, attributes, nullptr);
    if ((entered & 2) != 0)
        dead_from = depth;
    bool nested = false;
    if ((entered & 1) == 0) {
    } else if (!building) {
        ++matches;
    } else if (match_depth == 0) {
        match_depth = depth;
        DOM_mode = true;
    } else {
        nested = true;
    }
    if (DOM_mode || event_listener != nullptr)
        VORN_XML_SAX_TREE_HANDLER::process_start_element(name, attributes);
    if (nested)
        nested_matches.push_back(static_cast<VORN_XML_ELEMENT*>(element_stack->get_last_object()));
}

void VORN_XML_PATH_HANDLER::process_end_element(const std::string& name)
{
    if (DOM_mode || event_listener != nullptr)
        VORN_XML_SAX_TREE_HANDLER::process_end_element(name);
    if (dead_from == 0) {
        if (usable)
            matcher.leave();
    } else if (depth == dead_from) {
        matcher.leave();
        dead_from = 0;
    }
    if (depth-- == match_depth)
        hand_over();
}

void VORN_XML_PATH_HANDLER::hand_over()
{
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
