#include <gtest/gtest.h>

#include "vorn_test_support.h"

namespace {

// A parser whose tokenizer is driven directly over `text`.
struct TOKENIZER {
    VORN_XML_STRING_INPUT_SOURCE source;
    VORN_XML_SAX_PARSER parser;

    explicit TOKENIZER(const std::string& text) : source(text)
    {
        parser.input_source = &source;
        parser.error_handler = new VORN_XML_SAX_ERROR_HANDLER;
    }
    // The current token as "KIND text".
    std::string token() const
    {
        static const char* const kinds[] = {"?", "EOF", "SYM", "", "OPEN", "ENDOPEN", "CLOSE", "NUM", "STR", "ID"};
        return std::string(kinds[parser.token_type]) + " " + parser.current_token;
    }
    std::string next()
    {
        EXPECT_EQ(parser.get_next_token(false, 0), parser.current_token);
        return token();
    }
    std::string text()
    {
        EXPECT_EQ(parser.get_next_token(true, '<'), parser.current_token);
        return token();
    }
    std::vector<std::string> errors() { return vorn_test::error_messages(parser.error_handler); }
};

}  // namespace

TEST(tokens, sequences)
{
    const struct {
        const char* input;
        std::vector<std::string> tokens;  // up to the end of input
        std::vector<std::string> errors;
    } cases[] = {
        {" \t\n\v\f\r", {}, {}},
        {"  <a", {"OPEN <", "ID a"}, {}},
        {"</x>", {"ENDOPEN </", "ID x", "CLOSE >"}, {}},
        {"< a/ >?>", {"OPEN <", "ID a", "SYM /", "CLOSE >", "SYM ?", "CLOSE >"}, {}},
        {"\"a b\" c", {"STR a b", "ID c"}, {}},
        {"\"\"\"<x>&amp;\n\"", {"STR ", "STR <x>&amp;\n"}, {}},
        {"'x'", {"SYM '", "ID x", "SYM '"}, {}},
        {"123abc 1.5", {"NUM 123", "ID abc", "NUM 1", "SYM .", "NUM 5"}, {}},
        {"_a1-b Zz", {"ID _a1", "SYM -", "ID b", "ID Zz"}, {}},
        {"\"abc", {"? abc"}, {"Unexpected end of a quoted string encountered"}},
        // "<!" opens a comment that runs to the first "-->" found by a scan
        // that never reuses the hyphen that broke a near miss.
        {"<!-- c --> <b", {"OPEN <", "ID b"}, {}},
        {"<!-- a --->x-->y", {"ID y"}, {}},
        {"<!-- a ----->y", {"ID y"}, {}},
        {"<!---->y <!-->x-->z", {"ID y", "ID z"}, {}},
        {"<!DOCTYPE d [<!ELEMENT d ANY>]>y-->z", {"ID z"}, {}},
        {"x<!-- open", {"ID x"}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.input);
        TOKENIZER t(c.input);
        std::vector<std::string> tokens;
        for (std::string token = t.next(); token != "EOF " && tokens.size() < 20; token = t.next())
            tokens.push_back(token);
        EXPECT_EQ(tokens, c.tokens);
        EXPECT_EQ(t.next(), "EOF ");  // and again, as often as asked
        EXPECT_EQ(t.errors(), c.errors);
    }
}

TEST(tokens, every_symbol_and_unknown_byte)
{
    for (char c : std::string("!#$%&'()*+,-./;=?@[]^{|}~`")) {
        TOKENIZER t(std::string(1, c) + "x");
        EXPECT_EQ(t.next(), std::string("SYM ") + c);
        EXPECT_EQ(t.next(), "ID x");
    }
    // An unknown byte is not consumed: it comes back on every call, and text
    // mode gathers nothing after it.
    for (char c : std::string(":\\\x7F\x01\x1F\x80\xEF\xFE")) {
        SCOPED_TRACE(static_cast<int>(c));
        TOKENIZER t(std::string(1, c) + "x<");
        EXPECT_EQ(t.next(), std::string("? ") + c);
        EXPECT_EQ(t.next(), std::string("? ") + c);
        EXPECT_EQ(t.text(), "STR ");
        EXPECT_EQ(t.parser.current_char, c);
        EXPECT_TRUE(t.errors().empty());
    }
}
