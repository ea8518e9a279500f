// The tokenizer and the character data reader.
#include "vorn_xml_chars.h"
#include "vorn_xml_parser.h"

using namespace vorn_xml_chars;

namespace {

inline char fold(char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool equal_ignoring_case(const std::string& a, const std::string& b)
{
    if (a.size() != b.size())
        return false;
    for (std::string::size_type i = 0; i < a.size(); ++i) {
        if (fold(a[i]) != fold(b[i]))
            return false;
    }
    return true;
}

constexpr char end_of_input = -1;

// Long runs of characters are gathered in pieces of this size and appended
// to the token a piece at a time, not one push_back each.
constexpr std::size_t piece_size = 256;

// Appends current_char and the characters after it to current_token while
// `keep` holds for them, one get_next_char() each; the first character for
// which it fails is left in current_char.  For names and numbers, which are
// short: a character at a time.
template <class KEEP> inline void take_short_run(VORN_XML_SAX_PARSER& parser, KEEP keep)
{
    VORN_XML_SAX_INPUT_SOURCE* const source = parser.input_source;
    std::string& token = parser.current_token;
    char c = parser.current_char;
    do {
        token.push_back(c);
        c = static_cast<char>(source->get_next_char());
    } while (keep(c));
    parser.current_char = c;
}

// The same for runs that may be long (quoted strings), gathered in pieces
// and appended a piece at a time.
template <class KEEP> inline void take_run(VORN_XML_SAX_PARSER& parser, KEEP keep)
{
    VORN_XML_SAX_INPUT_SOURCE* const source = parser.input_source;
    char piece[piece_size];
    std::size_t length = 0;
    char c = parser.current_char;
    do {
        piece[length++] = c;
        c = static_cast<char>(source->get_next_char());
        if (length == piece_size) {
            parser.current_token.append(piece, length);
            length = 0;
        }
    } while (keep(c));
    parser.current_char = c;
    parser.current_token.append(piece, length);
}

}  // namespace

std::string VORN_XML_SAX_PARSER::get_next_token(bool text_mode, char stop)
{
    if (text_mode)
        gather_text(stop);
    else
        next_token();
    return current_token;
}

void VORN_XML_SAX_PARSER::next_token()
{
    current_token.clear();
    for (;;) {
        if (class_of(current_char) == CLASS_SPACE) {
            VORN_XML_SAX_INPUT_SOURCE* const source = input_source;
            char c;
            do
                c = static_cast<char>(source->get_next_char());
            while (class_of(c) == CLASS_SPACE);
            current_char = c;
        }
        if (current_char == end_of_input) {
            token_type = TOKEN_END_OF_INPUT;
            return;
        }
        switch (class_of(current_char)) {
        case CLASS_QUOTE: read_quoted_string(); return;
        case CLASS_LESS:
            read_char();
            if (current_char == '/') {
                read_char();
                current_token.push_back('<');
                current_token.push_back('/');
                token_type = TOKEN_END_TAG_OPEN;
                return;
            }
            if (current_char == '!') {
                skip_comment();
                continue;  // on as a fresh token: consecutive comments loop here
            }
            current_token.push_back('<');
            token_type = TOKEN_TAG_OPEN;
            return;
        case CLASS_GREATER:
            current_token.push_back('>');
            token_type = TOKEN_TAG_CLOSE;
            read_char();
            return;
        case CLASS_DIGIT:
            take_short_run(*this, is_digit);
            token_type = TOKEN_NUMBER;
            return;
        case CLASS_SYMBOL:
            current_token.push_back(current_char);
            token_type = TOKEN_SYMBOL;
            read_char();
            return;
        case CLASS_NAME_START:
            take_short_run(*this, is_name_char);
            token_type = TOKEN_IDENTIFIER;
            return;
        default:
            // Unknown: the character is not consumed and comes back as the
            // same token on the next call.
            current_token.push_back(current_char);
            token_type = TOKEN_UNKNOWN;
            return;
        }
    }
}

void VORN_XML_SAX_PARSER::read_quoted_string()
{
    read_char();  // past the opening quote
    if (current_char != '"' && current_char != end_of_input)
        take_run(*this, [](char c) { return c != '"' && c != end_of_input; });
    if (current_char == '"') {
        token_type = TOKEN_STRING;
        read_char();  // past the closing quote
        return;
    }
    file_error("Unexpected end of a quoted string encountered");
    token_type = TOKEN_UNKNOWN;
}

void VORN_XML_SAX_PARSER::skip_comment()
{
    // current_char is the "!" of "<!".  The two characters after it (the
    // hyphens of a well-formed comment) are not examined.
    read_char();
    read_char();
    // Scan for "-->".  A character that breaks the chain is dropped and the
    // scan starts over with a fresh read, so "--->" does not end a comment.
    for (;;) {
        read_char();
        if (current_char == end_of_input)
            return;
        if (current_char != '-')
            continue;
        read_char();
        if (current_char == end_of_input)
            return;
        if (current_char != '-')
            continue;
        read_char();
        if (current_char == end_of_input)
            return;
        if (current_char == '>')
            break;
    }
    read_char();  // past the ">"
}

void VORN_XML_SAX_PARSER::gather_text(char stop)
{
    current_token.clear();
    if (token_type != TOKEN_UNKNOWN && token_type != TOKEN_END_OF_INPUT) {
        // Plain characters are gathered here in pieces; a reference or the
        // end of input goes through get_xml_text(), one call each, as the
        // character data reader takes them in.
        VORN_XML_SAX_INPUT_SOURCE* const source = input_source;
        char piece[piece_size];
        std::size_t length = 0;
        char c = current_char;
        while (c != stop) {
            if (c == '&' || c == end_of_input) {
                current_token.append(piece, length);
                length = 0;
                current_char = c;
                get_xml_text();
                if (token_type == TOKEN_END_OF_INPUT)
                    break;
                c = current_char;
                continue;
            }
            piece[length++] = c;
            c = static_cast<char>(source->get_next_char());
            if (length == piece_size) {
                current_token.append(piece, length);
                length = 0;
            }
        }
        current_char = c;
        current_token.append(piece, length);
    }
    token_type = TOKEN_STRING;
}

void VORN_XML_SAX_PARSER::get_xml_text()
{
    if (current_char == end_of_input) {
        token_type = TOKEN_END_OF_INPUT;
        return;
    }
    if (current_char != '&') {
        current_token.push_back(current_char);
        read_char();
        return;
    }

    // A reference.  `pending` holds what has been read of it; it is replaced
    // by the character a complete reference yields, or kept as written.
    std::string pending(1, '&');
    read_char();
    const char* name = nullptr;  // the letters still to match
    char yields = 0;
    switch (current_char) {
    case 'l':
        name = "lt";
        yields = '<';
        break;
    case 'g':
        name = "gt";
        yields = '>';
        break;
    case 'q':
        name = "quot";
        yields = '"';
        break;
    case 'a':
        pending.push_back('a');
        read_char();
        if (current_char == 'm') {
            name = "mp";
            yields = '&';
        } else if (current_char == 'p') {
            name = "pos";
            yields = '\'';
        }
        break;
    default: break;
    }
    if (name != nullptr) {
        for (; *name != '\0' && current_char == *name; ++name) {
            pending.push_back(current_char);
            read_char();
        }
        if (*name == '\0' && current_char == ';')
            pending.assign(1, yields);
        else if (current_char != end_of_input)
            pending.push_back(current_char);
    } else if (current_char != end_of_input) {
        pending.push_back(current_char);
    }
    current_token.append(pending);
    read_char();  // past the ";" or the character that ended the match
}

bool VORN_XML_SAX_PARSER::need_token(const std::string& expected, bool case_sensitive)
{
    const bool match = case_sensitive ? current_token == expected : equal_ignoring_case(current_token, expected);
    if (match) {
        next_token();
        return true;
    }
    std::string message("Error: ");
    message += expected;
    message += " was needed but got ";
    message += case_sensitive ? current_token : to_lower_case(current_token);
    file_error(message);
    return false;
}

bool VORN_XML_SAX_PARSER::missing_text(const char* expected, std::size_t length)
{
    return need_token(std::string(expected, length), true);  // files the message
}

bool VORN_XML_SAX_PARSER::is_xml_identifier(std::string& name)
{
    if (token_type == TOKEN_IDENTIFIER) {
        name.assign(current_token);
        next_token();
        return true;
    }
    file_error("Expected identifier (" + name + " not found");
    return false;
}
