// The parser: construction and ownership, and the document driver.
#include <memory>
#include <string>
#include <typeinfo>

#include "../internal/vorn_xml_failures.h"
#include "../limits/vorn_xml_limited_errors.h"
#include "vorn_xml_limits.h"
#include "vorn_xml_parser.h"

using vorn_xml::FAILURE;
using vorn_xml::failure_message;

VORN_XML_SAX_PARSER::VORN_XML_SAX_PARSER()
    : current_char(' '), token_type(TOKEN_UNKNOWN), owns_tree_handler(true), input_source(nullptr),
      tree_handler(nullptr), error_handler(nullptr), current_attrib_list(nullptr)
{
    tree_handler = new VORN_XML_SAX_TREE_HANDLER;
    tree_handler->DOM_mode = true;
}

VORN_XML_SAX_PARSER::~VORN_XML_SAX_PARSER()
{
    if (current_attrib_list != nullptr) {
        delete current_attrib_list;
        current_attrib_list = nullptr;
    }
    if (owns_tree_handler && tree_handler != nullptr) {
        delete tree_handler;
        tree_handler = nullptr;
    }
    if (error_handler != nullptr) {
        delete error_handler;
        error_handler = nullptr;
    }
}

void VORN_XML_SAX_PARSER::set_tree_handler(VORN_XML_SAX_TREE_HANDLER* handler)
{
    if (owns_tree_handler)
        delete tree_handler;
    tree_handler = handler;
    owns_tree_handler = false;
}

void VORN_XML_SAX_PARSER::enable_DOM_mode(bool on)
{
    if (tree_handler != nullptr)
        tree_handler->DOM_mode = on;
}

bool VORN_XML_SAX_PARSER::parse(VORN_XML_SAX_INPUT_SOURCE* source)
{
    if (source == nullptr || !source->is_open || tree_handler == nullptr)
        return false;
    if (error_handler == nullptr)
        error_handler = new VORN_XML_SAX_ERROR_HANDLER;
    input_source = source;
    // Every parse reads its source from the start, as a new parser would:
    // the look-ahead left by an earlier document must not leak into this one.
    current_char = ' ';
    current_token.clear();
    token_type = TOKEN_UNKNOWN;
    // The one place that finds out whether this parse reads with limits.
    auto* const limited = dynamic_cast<VORN_XML_LIMITED_SAX_PARSER*>(this);
    if (limited == nullptr)
        return parse_xml();
    limited->in_force = limited->limits;
    limited->limit_reached = VORN_XML_LIMITS::NONE;
    limited->messages_left_out = 0;
    auto* const collector = dynamic_cast<VORN_XML_LIMITED_ERROR_HANDLER*>(error_handler);
    if (collector != nullptr)
        collector->begin(limited->in_force.messages_kept);
    struct READING {  // the parse is under way until it returns or throws
        bool& flag;
        explicit READING(bool& flag) : flag(flag) { flag = true; }
        ~READING() { flag = false; }
        READING(const READING&) = delete;
        READING& operator=(const READING&) = delete;
    } reading(limited->reading);
    const bool accepted = parse_xml();
    if (collector != nullptr)
        limited->messages_left_out = collector->left_out;
    if (limited->limit_reached != VORN_XML_LIMITS::NONE)
        return false;  // a limit ended the parse; its message is filed
    if (limited->messages_left_out != 0)
        limited->limit_reached = VORN_XML_LIMITS::MESSAGES;
    return accepted;
}

VORN_XML_LIMITED_SAX_PARSER* VORN_XML_SAX_PARSER::limited_reading()
{
    if (typeid(*this) == typeid(VORN_XML_SAX_PARSER))
        return nullptr;  // the plain parser, at the cost of one comparison
    auto* const limited = dynamic_cast<VORN_XML_LIMITED_SAX_PARSER*>(this);
    return limited != nullptr && limited->reading ? limited : nullptr;
}

namespace {

// What reaching each limit that ends a parse says, before the limit's value.
const char* limit_reached_text(VORN_XML_LIMITS::KIND kind)
{
    switch (kind) {
    case VORN_XML_LIMITS::NAME: return "a name longer than ";
    case VORN_XML_LIMITS::TEXT: return "a run of text longer than ";
    case VORN_XML_LIMITS::TAG: return "a start tag longer than ";
    case VORN_XML_LIMITS::DEPTH: return "elements nested deeper than ";
    case VORN_XML_LIMITS::ATTRIBUTES: return "more attributes in one tag than ";
    case VORN_XML_LIMITS::MESSAGES:
    case VORN_XML_LIMITS::NONE: break;
    }
    return "";
}

}  // namespace

bool VORN_XML_SAX_PARSER::past_limit(VORN_XML_LIMITED_SAX_PARSER* limited, int kind, uint64_t size)
{
    if (limited == nullptr)
        return false;
    const auto which = static_cast<VORN_XML_LIMITS::KIND>(kind);
    const uint64_t most = limited->in_force.get(which);
    if (most == 0 || size <= most)
        return false;
    if (limited->limit_reached == VORN_XML_LIMITS::NONE) {
        limited->limit_reached = which;
        std::string message = std::string("limit: ") + limit_reached_text(which) + std::to_string(most);
        if (which == VORN_XML_LIMITS::NAME || which == VORN_XML_LIMITS::TEXT || which == VORN_XML_LIMITS::TAG)
            message += " bytes";
        message += std::string(" (") + VORN_XML_LIMITS::field_name(which) + ")";
        // Kept whatever messages_kept says: the collector takes it last.
        if (auto* const collector = dynamic_cast<VORN_XML_LIMITED_ERROR_HANDLER*>(error_handler))
            collector->file_last(message);
        else
            error_handler->handle_error(message);
    }
    // Nothing more is read: the grammar meets the end of input and unwinds.
    current_char = static_cast<char>(-1);
    current_token.clear();
    token_type = TOKEN_END_OF_INPUT;
    return true;
}

bool VORN_XML_SAX_PARSER::token_past_limit(int kind)
{
    VORN_XML_LIMITED_SAX_PARSER* const limited = limited_reading();
    return limited != nullptr && past_limit(limited, kind, current_token.size());
}

bool VORN_XML_SAX_PARSER::parse_xml()
{
    if (tree_handler == nullptr)
        return false;
    tree_handler->process_start_document();
    if (!parse_xml_signature_line()) {
        file_error(failure_message(FAILURE::SIGNATURE_NOT_FOUND));
        return false;
    }
    std::string version;
    if (current_attrib_list != nullptr)
        current_attrib_list->find_attrib("version", version);
    if (version != "1.0") {
        file_error(failure_message(FAILURE::UNKNOWN_VERSION));
        return false;
    }
    if (!parse_xml10_xml_body())
        return false;
    if (!current_token.empty()) {
        file_error(failure_message(FAILURE::EXTRA_INPUT));
        return false;
    }
    tree_handler->process_end_document(input_source->xml_text.c_str());
    return true;
}

void VORN_XML_SAX_PARSER::file_error(const std::string& message)
{
    if (VORN_XML_LIMITED_SAX_PARSER* const limited = limited_reading()) {
        if (limited->limit_reached != VORN_XML_LIMITS::NONE)
            return;  // the parse is over: the grammar unwinds without a word
    }
    error_handler->handle_error(message);
}
