// The limits' values and names, and the limited parser's life; the reader
// (parser/) keeps to them.
#include "vorn_xml_limits.h"

#include <string>

#include "vorn_xml_limited_errors.h"

VORN_XML_LIMITS VORN_XML_LIMITS::tool_defaults()
{
    VORN_XML_LIMITS limits;
    limits.longest_name = 4096;
    limits.longest_text = 8 << 20;
    limits.longest_tag = 8 << 20;
    limits.deepest_nesting = 4096;
    limits.attributes_per_tag = 1024;
    limits.messages_kept = 100;
    return limits;
}

uint64_t VORN_XML_LIMITS::get(KIND kind) const
{
    switch (kind) {
    case NAME: return longest_name;
    case TEXT: return longest_text;
    case TAG: return longest_tag;
    case DEPTH: return deepest_nesting;
    case ATTRIBUTES: return attributes_per_tag;
    case MESSAGES: return messages_kept;
    case NONE: break;
    }
    return 0;
}

const char* VORN_XML_LIMITS::field_name(KIND kind)
{
    switch (kind) {
    case NAME: return "longest_name";
    case TEXT: return "longest_text";
    case TAG: return "longest_tag";
    case DEPTH: return "deepest_nesting";
    case ATTRIBUTES: return "attributes_per_tag";
    case MESSAGES: return "messages_kept";
    case NONE: break;
    }
    return "";
}

// The collector is made at once, so that parse() finds it and does not make
// a plain one.  The base class deletes it.
VORN_XML_LIMITED_SAX_PARSER::VORN_XML_LIMITED_SAX_PARSER(const VORN_XML_LIMITS& limits) : limits(limits)
{
    error_handler = new VORN_XML_LIMITED_ERROR_HANDLER;
}

VORN_XML_LIMITED_SAX_PARSER::~VORN_XML_LIMITED_SAX_PARSER() = default;

VORN_XML_LIMITED_ERROR_HANDLER::~VORN_XML_LIMITED_ERROR_HANDLER() = default;

void VORN_XML_LIMITED_ERROR_HANDLER::file(const std::string& message)
{
    if (keep == 0 || filed < keep) {
        error_message_list.push_back(message);
        ++filed;
        return;
    }
    const uint64_t count = left_out + 1;
    const std::string closing = "limit: " + std::to_string(count) + " more error message" + (count == 1 ? "" : "s") +
                                " left out (" + VORN_XML_LIMITS::field_name(VORN_XML_LIMITS::MESSAGES) + ")";
    if (count == 1)
        error_message_list.push_back(closing);
    else
        error_message_list.back() = closing;  // same length or one digit more: rarely a new buffer
    left_out = count;
}

void VORN_XML_LIMITED_ERROR_HANDLER::file_last(const std::string& message)
{
    if (left_out == 0) {
        error_message_list.push_back(message);
        return;
    }
    static const std::string opening = "limit: ";
    const std::string& closing = error_message_list.back();
    error_message_list.back() = message + "; " + closing.substr(opening.size());
}

bool VORN_XML_LIMITED_SAX_PARSER::parse(VORN_XML_SAX_INPUT_SOURCE* source)
{
    auto* const collector = static_cast<VORN_XML_LIMITED_ERROR_HANDLER*>(error_handler);
    collector->begin(limits.messages_kept);
    limit_reached = VORN_XML_LIMITS::NONE;
    messages_left_out = 0;
    const bool result = VORN_XML_SAX_PARSER::parse(source);
    messages_left_out = collector->left_out;
    if (messages_left_out > 0 && limit_reached == VORN_XML_LIMITS::NONE)
        limit_reached = VORN_XML_LIMITS::MESSAGES;
    return result;
}
