// Every failure the parser can file, and the one place that spells out the
// message each one files.  Internal: not installed.
//
// A message is the kind's fixed pieces with up to two pieces of input text
// between them: before + first + between + second + after.  Code that files
// a failure names its kind; code that must know what was filed last (the
// counting source, to place a mismatched end tag) asks failure_kind_of().
// The texts are the library's interface: hosts match on them, so they
// change only on purpose.
#ifndef VORN_XML_FAILURES_H
#define VORN_XML_FAILURES_H

#include <string>

namespace vorn_xml {

enum class FAILURE : unsigned char {
    QUOTED_STRING_CUT,        // a quoted string meets the end of input
    TOKEN_NEEDED,             // first: the token required, second: the token found
    IDENTIFIER_NEEDED,        // first: the name passed in (empty from the grammar)
    ATTRIBUTE_EQUAL_MISSING,  // first: the attribute's name
    ATTRIBUTE_VALUE_MISSING,  // first: the attribute's name
    END_TAG_MISMATCH,         // first: the start tag's name, second: the end tag's
    SIGNATURE_NOT_FOUND,      // the declaration is missing or malformed
    UNKNOWN_VERSION,          // the declaration's version is not "1.0"
    EXTRA_INPUT,              // something follows the top-level content
};

// The message of `kind` with `first` and `second` put in place; a kind that
// takes fewer pieces of input ignores the rest.
std::string failure_message(FAILURE kind, const std::string& first = std::string(),
                            const std::string& second = std::string());

// True, with the kind in `kind`, when `message` has the shape of one of the
// messages above; false (and the outputs untouched) for any other text.
// For a kind with two pieces of input, `second` (when given) receives the
// second piece, taken after the first occurrence of the fixed text between
// them: the first piece never contains it (a required token, a name).
bool failure_kind_of(const std::string& message, FAILURE& kind, std::string* second = nullptr);

}  // namespace vorn_xml

#endif
