// Every message the parser files, composed here and nowhere else in the
// tests.  The texts are typed out on purpose rather than taken from the
// library: a changed word in the library must fail a test.
#ifndef VORN_TEST_MESSAGES_H
#define VORN_TEST_MESSAGES_H

#include <string>

namespace vorn_test::msg {

inline const std::string unquoted = "Unexpected end of a quoted string encountered";
inline const std::string no_declaration = "XML signature header line not found";
inline const std::string bad_version = "Unknown XML version encountered";
inline const std::string extra = "Extra input found after the root end tag";

// `expected` was the token needed where `got` was read.
inline const auto needed = [](const std::string& expected, const std::string& got) {
    return "Error: " + expected + " was needed but got " + got;
};
inline const auto no_name = [](const std::string& got) { return "Expected identifier (" + got + " not found"; };
inline const auto no_equal = [](const std::string& attribute) {
    return "Attribute equal (\"=\") token is missing for attribute : " + attribute;
};
inline const auto no_value = [](const std::string& attribute) {
    return "Attribute value is missing for attribute : " + attribute;
};
inline const auto mismatch = [](const std::string& start, const std::string& end) {
    return "Start (" + start + ") and end tag (" + end + ") identifiers do not match";
};

}  // namespace vorn_test::msg

#endif
