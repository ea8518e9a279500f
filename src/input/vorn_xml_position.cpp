#include "vorn_xml_position.h"

#include <string>

#include "../internal/vorn_xml_failures.h"

namespace {

// The position `count` bytes before `at` on the same line.
VORN_XML_POSITION back_on_line(VORN_XML_POSITION at, uint64_t count)
{
    if (count >= at.column)
        count = at.column - 1;
    at.column -= count;
    at.offset -= count;
    return at;
}

// True when `message` is an end tag's name that differs from its start
// tag's (not a missing end tag, whose name is empty).
bool is_named_mismatch(const std::string& message)
{
    vorn_xml::FAILURE kind;
    std::string end_name;
    return vorn_xml::failure_kind_of(message, kind, &end_name) && kind == vorn_xml::FAILURE::END_TAG_MISMATCH &&
           !end_name.empty();
}

}  // namespace

VORN_XML_COUNTING_INPUT_SOURCE::VORN_XML_COUNTING_INPUT_SOURCE(VORN_XML_SAX_INPUT_SOURCE& source, bool copy_text)
    : inner(&source), quote_count(0), end_tag_count(0), after_lt(false), keep_text(copy_text)
{
    is_open = source.is_open;
    if (keep_text)
        xml_text = source.xml_text;
}

VORN_XML_COUNTING_INPUT_SOURCE::VORN_XML_COUNTING_INPUT_SOURCE(VORN_XML_SAX_INPUT_SOURCE& source)
    : VORN_XML_COUNTING_INPUT_SOURCE(source, false)
{
}

VORN_XML_COUNTING_INPUT_SOURCE::~VORN_XML_COUNTING_INPUT_SOURCE() = default;

int VORN_XML_COUNTING_INPUT_SOURCE::get_next_char()
{
    const int c = inner->get_next_char();
    if (keep_text) {
        const std::string& text = inner->xml_text;
        if (text.size() > xml_text.size())
            xml_text.append(text, xml_text.size(), std::string::npos);
        else if (text.size() < xml_text.size())
            xml_text = text;
    }

    last = next;
    if (c == -1) {
        after_lt = false;
        return c;
    }
    if (c == '"') {
        quotes[2] = quotes[1];
        quotes[1] = quotes[0];
        quotes[0] = last;
        if (quote_count < 3)
            ++quote_count;
    } else if (c == '/' && after_lt) {
        end_tag_before = end_tag;
        end_tag = back_on_line(last, 1);
        if (end_tag_count < 2)
            ++end_tag_count;
    }
    after_lt = c == '<';
    ++next.offset;
    if (c == '\n') {
        ++next.line;
        next.column = 1;
    } else {
        ++next.column;
    }
    return c;
}

VORN_XML_POSITION VORN_XML_COUNTING_INPUT_SOURCE::get_token_position(const VORN_XML_SAX_PARSER& parser) const
{
    switch (parser.token_type) {
    case VORN_XML_SAX_PARSER::TOKEN_END_OF_INPUT: return last;
    case VORN_XML_SAX_PARSER::TOKEN_UNKNOWN:
        // Either a character the tokenizer does not know, still the
        // look-ahead, or a quoted string cut off by the end of input.
        if (parser.current_char != -1 || quote_count < 1)
            return last;
        return quotes[0];
    case VORN_XML_SAX_PARSER::TOKEN_STRING: {
        // The look-ahead lies past the closing quote; when it is itself a
        // quote, the opening one is a step further back.
        const int back = parser.current_char == '"' ? 2 : 1;
        return quote_count > back ? quotes[back] : last;
    }
    default:
        // "<", "</", ">", symbols, numbers and names stand on one line just
        // before the look-ahead, byte for byte as their text.
        return back_on_line(last, parser.current_token.size());
    }
}

VORN_XML_POSITION VORN_XML_COUNTING_INPUT_SOURCE::get_failure_position(const VORN_XML_SAX_PARSER& parser) const
{
    const VORN_XML_POSITION token = get_token_position(parser);
    const VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
    if (errors == nullptr || errors->error_message_list.empty() ||
        !is_named_mismatch(errors->error_message_list.back()))
        return token;
    // The end tag was read whole and the token after it too: its "<" is the
    // last "</" delivered before that token.
    if (end_tag_count >= 1 && end_tag.offset < token.offset)
        return end_tag;
    if (end_tag_count >= 2 && end_tag_before.offset < token.offset)
        return end_tag_before;
    return token;
}
