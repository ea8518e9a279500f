// vornxml -- the message collector.
#ifndef VORN_XML_ERRORS_H
#define VORN_XML_ERRORS_H

#include <list>
#include <string>

#include "vorn_xml_export.h"

// ---------------------------------------------------------------------------
// VORN_XML_SAX_ERROR_HANDLER collects text messages in three lists: errors,
// warnings and information.  The parser files every problem it finds as one
// error message; it never files warnings or information, which are there for
// the host's own use.
//
// Each list is read back through a cursor of its own.  A new collector's
// cursors stand at the end, and appending never moves a cursor, so every
// walk begins with a reset:
//
//     if (errors->has_error_messages()) {
//         errors->reset_error_message_list();
//         for (std::string m = errors->get_next_error_message(); !m.empty();
//              m = errors->get_next_error_message())
//             std::cerr << m << '\n';
//     }
//
// Messages are never changed or removed while the collector lives; messages
// of successive parses with one parser accumulate in order.
// ---------------------------------------------------------------------------
class VORN_XML_API VORN_XML_SAX_ERROR_HANDLER {
public:
    std::list<std::string> warning_message_list;
    std::list<std::string> error_message_list;
    std::list<std::string> info_message_list;
    std::list<std::string>::iterator warning_message_cursor;
    std::list<std::string>::iterator error_message_cursor;
    std::list<std::string>::iterator info_message_cursor;

    // Three empty lists, each cursor at its list's end.
    VORN_XML_SAX_ERROR_HANDLER();
    VORN_XML_SAX_ERROR_HANDLER(const VORN_XML_SAX_ERROR_HANDLER&) = delete;
    VORN_XML_SAX_ERROR_HANDLER& operator=(const VORN_XML_SAX_ERROR_HANDLER&) = delete;
    virtual ~VORN_XML_SAX_ERROR_HANDLER();

    // Appends a copy of `message`, unchanged, to the error list.  No cursor
    // moves.  On allocation failure the list is unchanged and
    // std::bad_alloc propagates.
    void handle_error(const std::string& message);
    // Puts the error cursor on the first message (at the end when none).
    void reset_error_message_list();
    // True when the error list holds a message, whatever the cursor.
    bool has_error_messages();
    // The message under the error cursor, moving the cursor on; the empty
    // string at the end, where the cursor stays.
    std::string get_next_error_message();

    // The same four operations for warnings.
    void handle_warning(const std::string& message);
    void reset_warning_message_list();
    bool has_warning_messages();
    std::string get_next_warning_message();

    // The same four operations for information messages.
    void handle_info(const std::string& message);
    void reset_info_message_list();
    bool has_info_messages();
    std::string get_next_info_message();
};

#endif
