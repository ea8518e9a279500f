// The tokenizer and the character data reader.
#include "../input/vorn_xml_window.h"
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

// Takes the run of characters after current_char for which `keep` holds,
// appending them to `token` unless it is null, and returns the first
// character for which it fails (delivered, so it is the new current_char).
// `keep` must fail for end of input.  A source with a window has its runs
// scanned in memory and consumed at once; the character that stops a run,
// the first byte after a window and any other source's characters come
// through get_next_char().
template <class KEEP> inline char take_run(VORN_XML_SAX_INPUT_SOURCE* source, std::string* token, KEEP keep)
{
    VORN_XML_WINDOW window;
    window.open(source);
    for (;;) {
        const char* p = window.next;
        const char* const end = window.end;
        while (p != end && keep(*p))
            ++p;
        if (p != window.next) {
            if (token != nullptr)
                token->append(window.next, p);
            window.consume(p);
        }
        const char c = static_cast<char>(source->get_next_char());
        if (!keep(c))
            return c;
        if (token != nullptr)
            token->push_back(c);
        window.refill();
    }
}

inline bool is_space(char c)
{
    return class_of(c) == CLASS_SPACE;
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
        if (is_space(current_char))
            current_char = take_run(input_source, nullptr, is_space);
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
            current_token.push_back(current_char);
            current_char = take_run(input_source, &current_token, is_digit);
            token_type = TOKEN_NUMBER;
            return;
        case CLASS_SYMBOL:
            current_token.push_back(current_char);
            token_type = TOKEN_SYMBOL;
            read_char();
            return;
        case CLASS_NAME_START:
            current_token.push_back(current_char);
            current_char = take_run(input_source, &current_token, is_name_char);
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
    if (current_char != '"') {
        // Taken before it is tested: an end of input right after the
        // opening quote goes into the token once, as the byte 0xFF.
        current_token.push_back(current_char);
        current_char = take_run(input_source, &current_token, [](char c) { return c != '"' && c != end_of_input; });
    }
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
    // Scan for "-->", `matched` counting its characters found so far.  A
    // character that breaks the chain is dropped and the scan starts over
    // with a fresh read, so "--->" does not end a comment.
    const auto step = [](int matched, char c) {
        if (matched == 2)
            return c == '>' ? 3 : 0;
        return c == '-' ? matched + 1 : 0;
    };
    int matched = 0;
    VORN_XML_WINDOW window;
    window.open(input_source);
    for (;;) {
        const char* p = window.next;
        const char* const end = window.end;
        while (p != end && *p != end_of_input && matched != 3)
            matched = step(matched, *p++);
        window.consume(p);
        if (matched == 3)
            break;
        read_char();
        if (current_char == end_of_input)
            return;
        matched = step(matched, current_char);
        if (matched == 3)
            break;
        window.refill();
    }
    read_char();  // past the ">"
}

void VORN_XML_SAX_PARSER::gather_text(char stop)
{
    current_token.clear();
    if (token_type != TOKEN_UNKNOWN && token_type != TOKEN_END_OF_INPUT) {
        // Runs of plain characters are taken at once; a reference or the end
        // of input goes through get_xml_text(), one call each, as the
        // character data reader takes them in.
        VORN_XML_SAX_INPUT_SOURCE* const source = input_source;
        VORN_XML_WINDOW window;
        window.open(source);
        char c = current_char;
        while (c != stop) {
            if (c == '&' || c == end_of_input) {
                current_char = c;
                get_xml_text();
                if (token_type == TOKEN_END_OF_INPUT)
                    break;
                c = current_char;
                window.refill();
                continue;
            }
            current_token.push_back(c);
            const char* p = window.next;
            const char* const end = window.end;
            while (p != end && *p != stop && *p != '&' && *p != end_of_input)
                ++p;
            if (p != window.next) {
                current_token.append(window.next, p);
                window.consume(p);
            }
            c = static_cast<char>(source->get_next_char());
            window.refill();
        }
        current_char = c;
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
