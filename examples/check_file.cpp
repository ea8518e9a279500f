// Parses a file and reports every error with the line and column where
// reading stopped:  example_check_file examples/broken.xml
#include <iostream>
#include <string>

#include <vorn_xml.h>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: example_check_file FILE\n";
        return 2;
    }
    VORN_XML_FILE_INPUT_SOURCE file(argv[1]);
    if (!file.is_open) {
        std::cerr << argv[1] << ": cannot open\n";
        return 2;
    }
    VORN_XML_COUNTING_INPUT_SOURCE source(file);  // counts lines and columns
    VORN_XML_SAX_PARSER parser;
    if (parser.parse(&source)) {
        std::cout << argv[1] << ": ok\n";
        return 0;
    }
    const VORN_XML_POSITION at = source.get_failure_position(parser);
    VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
    if (errors == nullptr) {  // parse() refused before reading: no collector
        std::cerr << argv[1] << ": not read\n";
        return 2;
    }
    errors->reset_error_message_list();
    for (std::string m = errors->get_next_error_message(); !m.empty(); m = errors->get_next_error_message())
        std::cerr << argv[1] << ":" << at.line << ":" << at.column << ": " << m << "\n";
    return 1;
}
