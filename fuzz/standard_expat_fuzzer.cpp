// libFuzzer target: the standard reader against expat.  Both read each
// input of the part of XML where they must agree; they must agree on
// whether it is well-formed and, when it is, on its events, compared as the
// canonical form each one's events give (elements, attributes with the
// defaults of the internal subset, character data, processing
// instructions; comments and the DOCTYPE leave no trace there).
//
// The part compared: inputs of ASCII bytes alone, without a DOCTYPE or
// with one whose internal subset is all there is and has no parameter
// entity.  Passed over are:
// - an input with a byte from 0x80 up: expat takes its name characters
//   from the tables of XML 1.0's earlier editions, which the fifth edition
//   widened (so `<cafÃ© â¬="1"/>` is well-formed now and
//   not to expat); the standard target covers encodings and UTF-8;
// - an input with a NUL byte among its first four: expat guesses UTF-16
//   from "<" and a NUL without a byte order mark, which XML 1.0 requires
//   of a UTF-16 document (so `<\0a\0/\0>\0` is refused here, rightly);
// - an input whose XML declaration gives a version other than "1." and
//   digits: expat takes any version;
// - an input holding "<!DOCTYPE" and any of "SYSTEM", "PUBLIC" or "%":
//   there, what is well-formed depends on entities outside the document
//   (which neither reads here) and the two rightly differ on what they
//   skip.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <expat.h>

#include <vorn_xml.h>

namespace {

struct EXPAT_FORM {
    std::string text;
};

void XMLCALL on_start(void* user, const XML_Char* name, const XML_Char** attributes)
{
    std::string& out = static_cast<EXPAT_FORM*>(user)->text;
    std::vector<std::pair<std::string, std::string>> sorted;
    for (const XML_Char** a = attributes; *a != nullptr; a += 2)
        sorted.emplace_back(a[0], a[1]);
    std::sort(sorted.begin(), sorted.end());
    out += '<';
    out += name;
    for (const auto& [key, value] : sorted) {
        out += ' ' + key + "=\"";
        VORN_XML_CANONICAL_HANDLER::escape(value, out);
        out += '"';
    }
    out += '>';
}

void XMLCALL on_end(void* user, const XML_Char* name)
{
    static_cast<EXPAT_FORM*>(user)->text += "</" + std::string(name) + ">";
}

void XMLCALL on_text(void* user, const XML_Char* text, int length)
{
    VORN_XML_CANONICAL_HANDLER::escape(std::string(text, static_cast<std::size_t>(length)),
                                       static_cast<EXPAT_FORM*>(user)->text);
}

void XMLCALL on_instruction(void* user, const XML_Char* target, const XML_Char* data)
{
    static_cast<EXPAT_FORM*>(user)->text += "<?" + std::string(target) + " " + data + "?>";
}

bool expat_reads(const std::string& document, std::string& form)
{
    EXPAT_FORM state;
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &state);
    XML_SetElementHandler(parser, on_start, on_end);
    XML_SetCharacterDataHandler(parser, on_text);
    XML_SetProcessingInstructionHandler(parser, on_instruction);
    const bool ok = XML_Parse(parser, document.data(), static_cast<int>(document.size()), 1) == XML_STATUS_OK;
    XML_ParserFree(parser);
    form = state.text;
    return ok;
}

// True unless `document` opens with an XML declaration whose version is
// not "1." and digits (or cannot be found).
bool version_is_one(const std::string& document)
{
    if (document.compare(0, 5, "<?xml") != 0)
        return true;
    const std::size_t version = document.find("version");
    const std::size_t open = document.find_first_of("\"'", version);
    if (version == std::string::npos || open == std::string::npos)
        return false;
    const std::size_t close = document.find(document[open], open + 1);
    if (close == std::string::npos || close - open < 4 || document.compare(open + 1, 2, "1.") != 0)
        return false;
    for (std::size_t i = open + 3; i < close; ++i)
        if (document[i] < '0' || document[i] > '9')
            return false;
    return true;
}

bool comparable(const std::string& document)
{
    if (!version_is_one(document))
        return false;
    for (const char c : document)
        if (static_cast<unsigned char>(c) >= 0x80)
            return false;
    if (document.substr(0, 4).find('\0') != std::string::npos)
        return false;
    if (document.find("<!DOCTYPE") == std::string::npos)
        return true;
    return document.find("SYSTEM") == std::string::npos && document.find("PUBLIC") == std::string::npos &&
           document.find('%') == std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string document(reinterpret_cast<const char*>(data), size);
    if (!comparable(document))
        return 0;

    std::ostringstream out;
    VORN_XML_CANONICAL_HANDLER handler(out);
    VORN_XML_STANDARD_PARSER parser;
    parser.set_tree_handler(&handler);
    VORN_XML_STRING_INPUT_SOURCE source(document);
    const bool ours = parser.parse(&source);

    std::string theirs_form;
    const bool theirs = expat_reads(document, theirs_form);
    if (ours != theirs) {
        std::string message;
        if (parser.get_error_handler() != nullptr) {
            parser.get_error_handler()->reset_error_message_list();
            message = parser.get_error_handler()->get_next_error_message();
        }
        std::fprintf(stderr, "well-formedness differs: vornxml %s (%s), expat %s\n", ours ? "accepts" : "refuses",
                     message.c_str(), theirs ? "accepts" : "refuses");
        std::abort();
    }
    if (ours && out.str() != theirs_form) {
        std::fprintf(stderr, "events differ:\nvornxml: %s\nexpat:   %s\n", out.str().c_str(), theirs_form.c_str());
        std::abort();
    }
    return 0;
}
