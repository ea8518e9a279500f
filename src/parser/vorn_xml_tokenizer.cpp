// The tokenizer and the character data reader.
#include <cstdint>

#include "../internal/vorn_xml_counting_window.h"
#include "../internal/vorn_xml_failures.h"
#include "../internal/vorn_xml_window.h"
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "../internal/vorn_xml_chars.h"
#include "vorn_xml_limits.h"
#include "vorn_xml_parser.h"

using vorn_xml::FAILURE;
using vorn_xml::failure_message;

using namespace vorn_xml_chars;

namespace {

bool equal_ignoring_case(const std::string& a, const std::string& b)
{
    if (a.size() != b.size())
        return false;
    for (std::string::size_type i = 0; i < a.size(); ++i) {
        if (fold_case(a[i]) != fold_case(b[i]))
            return false;
    }
    return true;
}

constexpr char end_of_input = -1;

// Takes the run of characters after the current one for which `keep` holds,
// appending them to `token` unless it is null, and returns the first
// character for which it fails (delivered: it becomes the current
// character).  `keep` must fail for end of input.  The part of a run in the
// source's window is scanned in memory and consumed at once.  When the run
// goes on past the window, `cut()` is asked whether the token is past its
// limit; if so the run ends there, as at the end of input.
template <class WINDOW, class KEEP, class CUT>
inline char take_run(WINDOW& window, std::string* token, KEEP keep, CUT cut)
{
    for (;;) {
        const char* const begin = window.next;
        const char* p = begin;
        const char* const end = window.end;
        while (p != end && keep(*p))
            ++p;
        if (p != begin) {
            if (token != nullptr)
                token->append(begin, static_cast<std::size_t>(p - begin));
            window.consume(p);
        }
        if (p == end && token != nullptr && cut())
            return end_of_input;
        const char c = window.get();
        if (!keep(c))
            return c;
        if (token != nullptr)
            token->push_back(c);
    }
}

// The first byte of [p, end) that is `stop`, "&" or 0xFF, or end: where a
// run of plain character data ends.  Sixteen bytes at a time where the
// processor allows.
inline const char* end_of_plain_text(const char* p, const char* end, char stop)
{
#ifdef __SSE2__
    const __m128i stops = _mm_set1_epi8(stop);
    const __m128i ampersands = _mm_set1_epi8('&');
    const __m128i ends = _mm_set1_epi8(end_of_input);
    while (end - p >= 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i found = _mm_or_si128(
            _mm_or_si128(_mm_cmpeq_epi8(bytes, stops), _mm_cmpeq_epi8(bytes, ampersands)), _mm_cmpeq_epi8(bytes, ends));
        const int mask = _mm_movemask_epi8(found);
        if (mask != 0)
            return p + __builtin_ctz(static_cast<unsigned>(mask));
        p += 16;
    }
#endif
    while (p != end && *p != stop && *p != '&' && *p != end_of_input)
        ++p;
    return p;
}

inline bool in_string(char c)
{
    return c != '"' && c != end_of_input;
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
    vorn_xml_with_window(*input_source, [this](auto& window) { read_token(window); });
}

template <class WINDOW> void VORN_XML_SAX_PARSER::read_token(WINDOW& window)
{
    // A token that goes on past the window is held to its limit.
    const auto name_cut = [this] { return token_past_limit(VORN_XML_LIMITS::NAME); };
    const auto text_cut = [this] { return token_past_limit(VORN_XML_LIMITS::TEXT); };
    current_token.clear();
    char c = current_char;
    for (;;) {
        if (is_space(c))
            c = take_run(window, nullptr, is_space, [] { return false; });
        if (c == end_of_input) {
            current_char = c;
            token_type = TOKEN_END_OF_INPUT;
            return;
        }
        switch (class_of(c)) {
        case CLASS_QUOTE:
            c = window.get();  // past the opening quote
            if (c != '"') {
                // Taken before it is tested: an end of input right after
                // the opening quote goes into the token once, as the byte
                // 0xFF.
                current_token.push_back(c);
                c = take_run(window, &current_token, in_string, text_cut);
            }
            if (c == end_of_input) {
                current_char = c;
                file_error(failure_message(FAILURE::QUOTED_STRING_CUT));
                token_type = TOKEN_UNKNOWN;
                return;
            }
            token_type = TOKEN_STRING;
            current_char = window.get();  // past the closing quote
            return;
        case CLASS_LESS:
            c = window.get();
            if (c == '/') {
                current_char = window.get();
                current_token.assign("</", 2);
                token_type = TOKEN_END_TAG_OPEN;
                return;
            }
            if (c == '!') {
                c = skip_comment(window);
                continue;  // on as a fresh token: consecutive comments loop here
            }
            current_char = c;
            current_token.push_back('<');
            token_type = TOKEN_TAG_OPEN;
            return;
        case CLASS_GREATER:
            current_token.push_back('>');
            token_type = TOKEN_TAG_CLOSE;
            current_char = window.get();
            return;
        case CLASS_DIGIT:
            // (The type is set first: a token cut at its limit ends the
            // input, and says so in the type.)
            current_token.push_back(c);
            token_type = TOKEN_NUMBER;
            current_char = take_run(window, &current_token, is_digit, name_cut);
            return;
        case CLASS_SYMBOL:
            current_token.push_back(c);
            token_type = TOKEN_SYMBOL;
            current_char = window.get();
            return;
        case CLASS_NAME_START:
            current_token.push_back(c);
            token_type = TOKEN_IDENTIFIER;
            current_char = take_run(window, &current_token, is_name_char, name_cut);
            return;
        default:
            // Unknown: the character is not consumed and comes back as the
            // same token on the next call.
            current_char = c;
            current_token.push_back(c);
            token_type = TOKEN_UNKNOWN;
            return;
        }
    }
}

// The grammar's whole-tag reading goes on with the token after a tag's ">".
template void VORN_XML_SAX_PARSER::read_token(VORN_XML_WINDOW<VORN_XML_STRING_INPUT_SOURCE>&);
template void VORN_XML_SAX_PARSER::read_token(VORN_XML_WINDOW<VORN_XML_FILE_INPUT_SOURCE>&);
template void VORN_XML_SAX_PARSER::read_token(VORN_XML_WINDOW<VORN_XML_STREAM_INPUT_SOURCE>&);
template void VORN_XML_SAX_PARSER::read_token(VORN_XML_WINDOW<VORN_XML_PUSH_INPUT_SOURCE>&);

// From the "!" of "<!" to the character after the comment's end, which it
// returns (end of input when the comment is not closed).
template <class WINDOW> char VORN_XML_SAX_PARSER::skip_comment(WINDOW& window)
{
    // The two characters after "!" (the hyphens of a well-formed comment)
    // are not examined.
    window.get();
    window.get();
    // Scan for "-->", `matched` counting its characters found so far.  A
    // character that breaks the chain is dropped and the scan starts over
    // with a fresh read, so "--->" does not end a comment.
    const auto step = [](int matched, char c) {
        if (matched == 2)
            return c == '>' ? 3 : 0;
        return c == '-' ? matched + 1 : 0;
    };
    int matched = 0;
    uint64_t skipped = 0;  // held to the limit of a run of text
    for (;;) {
        const char* p = window.next;
        const char* const end = window.end;
        while (p != end && *p != end_of_input && matched != 3)
            matched = step(matched, *p++);
        skipped += static_cast<uint64_t>(p - window.next);
        window.consume(p);
        if (matched == 3)
            break;
        if (p == end && past_limit(limited_reading(), VORN_XML_LIMITS::TEXT, skipped))
            return end_of_input;
        const char c = window.get();
        if (c == end_of_input)
            return c;
        matched = step(matched, c);
        if (matched == 3)
            break;
    }
    if (past_limit(limited_reading(), VORN_XML_LIMITS::TEXT, skipped))
        return end_of_input;
    return window.get();  // past the ">"
}

void VORN_XML_SAX_PARSER::gather_text(char stop)
{
    current_token.clear();
    if (token_type != TOKEN_UNKNOWN && token_type != TOKEN_END_OF_INPUT)
        vorn_xml_with_window(*input_source, [this, stop](auto& window) { read_text(window, stop); });
    token_type = TOKEN_STRING;
}

namespace {

// The five references, chosen by the letter after the "&" and, after "a", by
// the next one: the letters that must follow the choosing ones, and in
// `stands_for` the character the reference stands for.  Null when no name
// begins so.  `second` is looked at only when `first` is "a".
inline const char* reference_name(char first, char second, char& stands_for)
{
    switch (first) {
    case 'l': stands_for = '<'; return "t";
    case 'g': stands_for = '>'; return "t";
    case 'q': stands_for = '"'; return "uot";
    case 'a':
        if (second == 'm') {
            stands_for = '&';
            return "p";
        }
        if (second == 'p') {
            stands_for = '\'';
            return "os";
        }
        return nullptr;
    default: return nullptr;
    }
}

// A reference whose "&" stands just before `q`, as get_xml_text() takes it
// in: after the "&", the letters that match one of the five names and one
// byte more (the ";" of a complete reference, or the byte that ended the
// match).  Returns one past those bytes, with `yields` the character a
// complete reference stands for, or 0 when the bytes stay in the text as
// written.  Null when they do not all lie in [q, end) or one of them is
// 0xFF: the character data reader then takes the reference.
inline const char* reference_after(const char* q, const char* end, char& yields)
{
    yields = 0;
    if (q == end || *q == end_of_input)
        return nullptr;
    const char first = *q;
    if (first == 'a' && (++q == end || *q == end_of_input))
        return nullptr;
    char stands_for = 0;
    const char* name = reference_name(first, *q, stands_for);  // the letters still to match
    if (name == nullptr)
        return q + 1;  // the byte that chose no name stays in the text
    for (++q; q != end && *name != '\0' && *q == *name; ++q)
        ++name;
    if (q == end || *q == end_of_input)
        return nullptr;
    if (*name == '\0' && *q == ';')
        yields = stands_for;
    return q + 1;
}

}  // namespace

// Runs of plain characters are taken at once, and references that lie in
// the window; any other reference, and the end of input, go through
// get_xml_text(), one call each, as the character data reader takes them in.
template <class WINDOW> void VORN_XML_SAX_PARSER::read_text(WINDOW& window, char stop)
{
    char c = current_char;
    while (c != stop) {
        if (c == '&') {
            // A reference that lies whole in the window is taken in here,
            // as get_xml_text() would take it.
            char yields = 0;
            const char* const after = reference_after(window.next, window.end, yields);
            if (after != nullptr) {
                if (yields != 0) {
                    current_token.push_back(yields);
                } else {
                    current_token.push_back('&');
                    current_token.append(window.next, static_cast<std::size_t>(after - window.next));
                }
                window.consume(after);
                if (after == window.end && token_past_limit(VORN_XML_LIMITS::TEXT))
                    return;
                c = window.get();
                continue;
            }
        }
        if (c == '&' || c == end_of_input) {
            current_char = c;
            get_xml_text();
            if (token_type == TOKEN_END_OF_INPUT)
                return;
            c = current_char;
            window.refill();
            continue;
        }
        current_token.push_back(c);
        const char* const begin = window.next;
        const char* const p = end_of_plain_text(begin, window.end, stop);
        if (p != begin) {
            current_token.append(begin, static_cast<std::size_t>(p - begin));
            window.consume(p);
        }
        if (p == window.end && token_past_limit(VORN_XML_LIMITS::TEXT))
            return;
        c = window.get();
    }
    current_char = c;
}

bool VORN_XML_SAX_PARSER::read_run_in_window(std::string& run)
{
    bool read = false;
    vorn_xml_with_window(*input_source, [&](auto& window) { read = run_in(window, run); });
    return read;
}

template <class WINDOW>
inline __attribute__((always_inline)) bool VORN_XML_SAX_PARSER::run_in(WINDOW& window, std::string& run)
{
    // What gather_text('<') would take: the current character and the
    // text after it, up to a "<" in the window, with its references.
    const char c = current_char;
    if (c == '&' || c == end_of_input || token_type == TOKEN_UNKNOWN || token_type == TOKEN_END_OF_INPUT)
        return false;
    if (c == '<') {  // the run is its first token: nothing to gather
        run.assign(current_token);
        current_token.clear();
        token_type = TOKEN_STRING;
        return true;
    }
    const char* const end = window.end;
    const char* segment = window.next;  // plain text not yet taken into `run`
    const char* p = segment;
    run.clear();
    run.append(current_token);
    const std::size_t first = run.size();
    run.push_back(c);
    for (;;) {
        p = end_of_plain_text(p, end, '<');
        if (p == end || *p == end_of_input)
            break;
        if (*p == '<')
            break;
        char yields = 0;
        const char* const after = reference_after(p + 1, end, yields);
        if (after == nullptr)
            break;
        if (yields != 0) {
            run.append(segment, static_cast<std::size_t>(p - segment));
            run.push_back(yields);
            segment = after;
        }
        p = after;
    }
    run.append(segment, static_cast<std::size_t>(p - segment));
    current_token.clear();
    current_token.append(run, first, std::string::npos);
    if (p != end && *p == '<') {
        window.consume(p + 1);  // the "<" is delivered, and stays current
        current_char = '<';
    } else {
        // The run goes on past the window (or a reference, or a byte 0xFF,
        // is not whole in it): what lies before is taken, and the text
        // reader goes on from there, so that no byte is read twice.
        window.consume(p);
        current_char = window.get();
        const std::size_t taken = current_token.size();
        read_text(window, '<');
        if (current_token.size() > taken)  // (a limit reached there empties the token)
            run.append(current_token, taken, std::string::npos);
    }
    token_type = TOKEN_STRING;
    return true;
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
    const char first = current_char;
    if (first == 'a') {
        pending.push_back('a');
        read_char();
    }
    char yields = 0;
    const char* name = reference_name(first, current_char, yields);  // the letters still to match
    if (name != nullptr) {
        pending.push_back(current_char);  // the letter that chose the name
        read_char();
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
    file_error(failure_message(FAILURE::TOKEN_NEEDED, expected,
                               case_sensitive ? current_token : to_lower_case(current_token)));
    return false;
}

bool VORN_XML_SAX_PARSER::missing_literal(const char* expected, std::size_t length)
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
    file_error(failure_message(FAILURE::IDENTIFIER_NEEDED, name));
    return false;
}
