#include "parser_cases.h"

namespace {
const char* const NOT_FOUND = "XML signature header line not found";
const char* const BAD_VERSION = "Unknown XML version encountered";
}  // namespace

TEST(declaration, accepted_forms)
{
    const std::vector<std::string> a = {"start a {}", "end a"};
    parser_cases::check(
        {
            {"<?xml version=\"1.0\"?>", true, {}, {}},
            {" <!-- c --> <?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><a/>", true, {}, a},
            {"< ? XML version = \"1.0\"\n? ><a/>", true, {}, a},
            {"<?Xml VERSION=\"1.0\" encoding=\"x\"?><a/>", true, {}, a},
        },
        "");
}

TEST(declaration, rejected)
{
    parser_cases::check(
        {
            {"<?xml?><a/>", false, {BAD_VERSION}, {}},
            {"<?xml version=\"1.00\"?><a/>", false, {BAD_VERSION}, {}},
            {"<?xml version=\"1.0 \"?><a/>", false, {BAD_VERSION}, {}},
            {"<?xml encoding=\"x\"?><a/>", false, {BAD_VERSION}, {}},
            {"", false, {"Error: < was needed but got ", NOT_FOUND}, {}},
            {"text", false, {"Error: < was needed but got text", NOT_FOUND}, {}},
            {"\xEF\xBB\xBF<?xml version=\"1.0\"?>", false, {"Error: < was needed but got \xEF", NOT_FOUND}, {}},
            {"<root/>", false, {"Error: ? was needed but got root", NOT_FOUND}, {}},
            {"<?foo version=\"1.0\"?>", false, {"Error: xml was needed but got foo", NOT_FOUND}, {}},
            {"<?XMLversion=\"1.0\"?>", false, {"Error: xml was needed but got xmlversion", NOT_FOUND}, {}},
            {"<?xml-stylesheet href=\"a\"?>", false, {"Error: ? was needed but got -", NOT_FOUND}, {}},
            {"<?xml version='1.0'?>", false, {"Attribute value is missing for attribute : version", NOT_FOUND}, {}},
            {"<?xml version=\"1.0\">", false, {"Error: ? was needed but got >", NOT_FOUND}, {}},
            {"<?xml version=\"1.0\"?", false, {"Error: > was needed but got ", NOT_FOUND}, {}},
            {"<?xml version=\"1.0?>",
             false,
             {"Unexpected end of a quoted string encountered", "Attribute value is missing for attribute : version",
              NOT_FOUND},
             {}},
        },
        "");
}
