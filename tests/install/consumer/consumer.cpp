// Parses a document given on the command line, reports failures with their
// place, and writes the tree back.  Built against an installed vornxml.
#include <iostream>
#include <string>

#include <vorn_xml.h>

int main(int argc, char** argv)
{
    const std::string text = argc > 1 ? argv[1] : "<?xml version=\"1.0\"?><a x=\"1\"><b>t &amp; u</b></a>";
    VORN_XML_STRING_INPUT_SOURCE inner(text);
    VORN_XML_COUNTING_INPUT_SOURCE source(inner);
    VORN_XML_SAX_PARSER parser;
    if (!parser.parse(&source)) {
        const VORN_XML_POSITION at = source.get_failure_position(parser);
        VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
        if (errors == nullptr) {  // refused before reading: nothing to report
            std::cout << "not read\n";
            return 1;
        }
        errors->reset_error_message_list();
        for (std::string m = errors->get_next_error_message(); !m.empty(); m = errors->get_next_error_message())
            std::cout << at.line << ":" << at.column << ": " << m << "\n";
        return 1;
    }
    VORN_XML_WRITER writer;
    std::string out;
    if (!writer.write(parser.get_tree_handler()->get_root_element(), out)) {
        std::cout << writer.error_message << "\n";
        return 1;
    }
    std::cout << out;
    return 0;
}
