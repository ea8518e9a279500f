// The limits' values and names, and the limited parser's life; the reader
// (parser/) keeps to them.
#include "vorn_xml_limits.h"

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

VORN_XML_LIMITED_SAX_PARSER::VORN_XML_LIMITED_SAX_PARSER(const VORN_XML_LIMITS& limits) : limits(limits) {}

VORN_XML_LIMITED_SAX_PARSER::~VORN_XML_LIMITED_SAX_PARSER() = default;
