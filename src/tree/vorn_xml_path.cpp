// Compiling a path: one pass over the text, left to right, without
// recursion (the language has no nesting).
#include "vorn_xml_path.h"

#include <cstdio>

#include "../internal/vorn_xml_chars.h"

namespace {

constexpr long max_position = 999999999;

bool is_name_start(char c)
{
    return vorn_xml_chars::class_of(c) == vorn_xml_chars::CLASS_NAME_START;
}

using vorn_xml_chars::is_name_char;

// Reads a path's text; each read_* returns false after setting `error`.
class READER {
public:
    explicit READER(const std::string& text) : text(text) {}

    std::string error;

    bool at_end() const { return at >= text.size(); }
    bool looking_at(const char* word) const
    {
        return text.compare(at, std::char_traits<char>::length(word), word) == 0;
    }
    bool take(char c)
    {
        if (at_end() || text[at] != c)
            return false;
        ++at;
        return true;
    }
    bool need(char c, const char* what) { return take(c) || fail(what); }

    // Sets `error` to say that `what` was expected at the current position.
    bool fail(const char* what)
    {
        std::string found;
        if (at_end()) {
            found = "the end of the path";
        } else {
            const auto byte = static_cast<unsigned char>(text[at]);
            char shown[16];
            if (byte > 0x20 && byte < 0x7f)
                std::snprintf(shown, sizeof shown, "\"%c\"", text[at]);
            else
                std::snprintf(shown, sizeof shown, "byte 0x%02X", byte);
            found = shown;
        }
        error = "position " + std::to_string(at + 1) + ": expected " + what + ", found " + found;
        return false;
    }

    bool read_name(std::string& name, const char* what)
    {
        if (at_end() || !is_name_start(text[at]))
            return fail(what);
        const std::size_t from = at;
        while (!at_end() && is_name_char(text[at]))
            ++at;
        name = text.substr(from, at - from);
        return true;
    }

    bool read_string(std::string& value)
    {
        if (at_end() || (text[at] != '"' && text[at] != '\''))
            return fail("a quoted value");
        const char quote = text[at];
        const std::size_t close = text.find(quote, at + 1);
        if (close == std::string::npos) {
            at = text.size();
            return fail(quote == '"' ? "a closing \"" : "a closing '");
        }
        value = text.substr(at + 1, close - at - 1);
        at = close + 1;
        return true;
    }

    bool read_position(long& position)
    {
        position = 0;
        const std::size_t from = at;
        while (!at_end() && text[at] >= '0' && text[at] <= '9') {
            position = position * 10 + (text[at] - '0');
            if (position > max_position)
                break;
            ++at;
        }
        if (position < 1 || position > max_position) {
            at = from;
            return fail("a position from 1 to 999999999");
        }
        return true;
    }

    // One predicate, after its "[".
    bool read_predicate(VORN_XML_PATH::PREDICATE& predicate)
    {
        if (take('@')) {
            if (!read_name(predicate.name, "an attribute name"))
                return false;
            predicate.test = VORN_XML_PATH::HAS_ATTRIBUTE;
            if (take('=')) {
                predicate.test = VORN_XML_PATH::ATTRIBUTE_IS;
                if (!read_string(predicate.value))
                    return false;
            }
        } else if (!at_end() && text[at] >= '0' && text[at] <= '9') {
            predicate.test = VORN_XML_PATH::POSITION_IS;
            if (!read_position(predicate.position))
                return false;
        } else if (looking_at("text()")) {
            at += 6;
            predicate.test = VORN_XML_PATH::TEXT_IS;
            if (!need('=', "\"=\"") || !read_string(predicate.value))
                return false;
        } else {
            return fail("\"@\", a position or text()");
        }
        return need(']', "\"]\"");
    }

    bool read_step(VORN_XML_PATH::STEP& step)
    {
        if (!take('*') && !read_name(step.name, "a name or \"*\""))
            return false;
        while (take('[')) {
            step.predicates.emplace_back();
            if (!read_predicate(step.predicates.back()))
                return false;
        }
        return true;
    }

    // A separator: "/" or "//"; sets `any_depth` for the latter.
    bool read_separator(bool& any_depth)
    {
        if (!take('/'))
            return false;
        any_depth = take('/');
        return true;
    }

private:
    const std::string& text;
    std::size_t at = 0;
};

}  // namespace

VORN_XML_PATH::~VORN_XML_PATH() = default;

bool VORN_XML_PATH::compile(const std::string& path_text)
{
    READER reader(path_text);
    std::vector<STEP> read;
    bool any_depth = false;
    const bool is_absolute = reader.read_separator(any_depth);
    bool ok = true;
    for (;;) {
        read.emplace_back();
        read.back().any_depth = any_depth;
        if (!reader.read_step(read.back())) {
            ok = false;
            break;
        }
        if (reader.at_end())
            break;
        if (!reader.read_separator(any_depth)) {
            ok = reader.fail("\"/\", \"//\" or \"[\"");
            break;
        }
    }
    std::string message = reader.error;
    std::string kept_text = path_text;
    // Nothing below allocates: the path changes all at once.
    long positions = 0;
    for (STEP& step : read)
        for (PREDICATE& predicate : step.predicates)
            if (predicate.test == POSITION_IS)
                predicate.counter = positions++;
    valid = ok;
    absolute = is_absolute;
    steps.swap(read);
    if (!ok)
        steps.clear();
    counters = positions;
    text.swap(kept_text);
    error_message.swap(message);
    return ok;
}

std::string VORN_XML_PATH::get_streaming_problem() const
{
    if (!valid)
        return error_message;
    for (const STEP& step : steps)
        for (const PREDICATE& predicate : step.predicates)
            if (predicate.test == TEXT_IS)
                return "text() cannot be tested while a document is read";
    return {};
}
