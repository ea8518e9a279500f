#include "vorn_xml_errors.h"

#include "../limits/vorn_xml_limited_errors.h"

namespace {

// Appending to a std::list leaves the list as it was when the allocation of
// the new node fails, and moves no iterator.
void append(std::list<std::string>& list, const std::string& message)
{
    list.push_back(message);
}

std::string read_next(std::list<std::string>& list, std::list<std::string>::iterator& cursor)
{
    if (cursor == list.end())
        return std::string();
    return *cursor++;
}

}  // namespace

VORN_XML_SAX_ERROR_HANDLER::VORN_XML_SAX_ERROR_HANDLER()
    : warning_message_cursor(warning_message_list.begin()), error_message_cursor(error_message_list.begin()),
      info_message_cursor(info_message_list.begin())
{
}

VORN_XML_SAX_ERROR_HANDLER::~VORN_XML_SAX_ERROR_HANDLER()
{
    info_message_list.clear();
    error_message_list.clear();
    warning_message_list.clear();
}

void VORN_XML_SAX_ERROR_HANDLER::handle_error(const std::string& message)
{
    // A limited parser's collector keeps only so many (handle_error() is
    // not virtual, and the class's layout is fixed).
    if (auto* const limited = dynamic_cast<VORN_XML_LIMITED_ERROR_HANDLER*>(this)) {
        limited->file(message);
        return;
    }
    append(error_message_list, message);
}

void VORN_XML_SAX_ERROR_HANDLER::reset_error_message_list()
{
    error_message_cursor = error_message_list.begin();
}

bool VORN_XML_SAX_ERROR_HANDLER::has_error_messages()
{
    return !error_message_list.empty();
}

std::string VORN_XML_SAX_ERROR_HANDLER::get_next_error_message()
{
    return read_next(error_message_list, error_message_cursor);
}

void VORN_XML_SAX_ERROR_HANDLER::handle_warning(const std::string& message)
{
    append(warning_message_list, message);
}

void VORN_XML_SAX_ERROR_HANDLER::reset_warning_message_list()
{
    warning_message_cursor = warning_message_list.begin();
}

bool VORN_XML_SAX_ERROR_HANDLER::has_warning_messages()
{
    return !warning_message_list.empty();
}

std::string VORN_XML_SAX_ERROR_HANDLER::get_next_warning_message()
{
    return read_next(warning_message_list, warning_message_cursor);
}

void VORN_XML_SAX_ERROR_HANDLER::handle_info(const std::string& message)
{
    append(info_message_list, message);
}

void VORN_XML_SAX_ERROR_HANDLER::reset_info_message_list()
{
    info_message_cursor = info_message_list.begin();
}

bool VORN_XML_SAX_ERROR_HANDLER::has_info_messages()
{
    return !info_message_list.empty();
}

std::string VORN_XML_SAX_ERROR_HANDLER::get_next_info_message()
{
    return read_next(info_message_list, info_message_cursor);
}
