// The byte classes of the reader, shared by the tokenizer, the writer (which
// must know what the reader will make of each byte), the path compiler and
// the string helpers, and the library's one case folding.  Internal: not
// installed.
#ifndef VORN_XML_CHARS_H
#define VORN_XML_CHARS_H

namespace vorn_xml_chars {

enum CHAR_CLASS : unsigned char {
    CLASS_UNKNOWN,
    CLASS_SPACE,
    CLASS_SYMBOL,
    CLASS_QUOTE,
    CLASS_LESS,
    CLASS_GREATER,
    CLASS_DIGIT,
    CLASS_NAME_START,  // letters and "_"
};

// The class of every byte, as the "C" locale classifies it.
struct CHAR_TABLE {
    unsigned char of[256];

    constexpr CHAR_TABLE() : of()
    {
        for (int c = 0; c < 256; ++c)
            of[c] = CLASS_UNKNOWN;
        const char* spaces = " \t\n\v\f\r";
        for (const char* p = spaces; *p != '\0'; ++p)
            of[static_cast<unsigned char>(*p)] = CLASS_SPACE;
        const char* symbols = "!#$%&'()*+,-./;=?@[]^{|}~`";
        for (const char* p = symbols; *p != '\0'; ++p)
            of[static_cast<unsigned char>(*p)] = CLASS_SYMBOL;
        of[static_cast<unsigned char>('"')] = CLASS_QUOTE;
        of[static_cast<unsigned char>('<')] = CLASS_LESS;
        of[static_cast<unsigned char>('>')] = CLASS_GREATER;
        for (int c = '0'; c <= '9'; ++c)
            of[c] = CLASS_DIGIT;
        for (int c = 'a'; c <= 'z'; ++c)
            of[c] = CLASS_NAME_START;
        for (int c = 'A'; c <= 'Z'; ++c)
            of[c] = CLASS_NAME_START;
        of[static_cast<unsigned char>('_')] = CLASS_NAME_START;
    }
};

constexpr CHAR_TABLE char_table;

inline unsigned char class_of(char c)
{
    return char_table.of[static_cast<unsigned char>(c)];
}

// Which bytes continue a name (letters, digits and "_"): one load and one
// test in the scanning loops, where the class table needs two comparisons.
struct NAME_TABLE {
    bool of[256];

    constexpr NAME_TABLE() : of()
    {
        for (int c = 0; c < 256; ++c)
            of[c] = char_table.of[c] == CLASS_NAME_START || char_table.of[c] == CLASS_DIGIT;
    }
};

constexpr NAME_TABLE name_table;

inline bool is_name_char(char c)
{
    return name_table.of[static_cast<unsigned char>(c)];
}

inline bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

inline bool is_space(char c)
{
    return class_of(c) == CLASS_SPACE;
}

// The library's one case folding: A-Z to a-z, every other byte as it is
// (names compare this way in need_token, attribute lists and the string
// helpers alike).
constexpr char fold_case(char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + ('a' - 'A')) : c;
}

}  // namespace vorn_xml_chars

#endif
