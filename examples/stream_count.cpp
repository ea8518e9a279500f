// Counts the elements of each name in a file or on standard input (-)
// without building a tree: a handler of its own with DOM mode off and the
// streaming source, so memory stays the same for documents of any size:
//   example_stream_count examples/catalog.xml
//   some_command | example_stream_count -
#include <cstring>
#include <iostream>
#include <map>
#include <string>

#include <unistd.h>

#include <vorn_xml.h>

class COUNTER : public VORN_XML_SAX_TREE_HANDLER {
public:
    std::map<std::string, long> count;
    long text_bytes = 0;

    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        ++count[name];
        VORN_XML_SAX_TREE_HANDLER::process_start_element(name, attributes);
    }
    void process_characters(const std::string& text) override
    {
        text_bytes += static_cast<long>(text.size());
        VORN_XML_SAX_TREE_HANDLER::process_characters(text);
    }
};

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: example_stream_count FILE|-\n";
        return 2;
    }
    COUNTER counter;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&counter);  // ours: the parser never deletes it
    parser.enable_DOM_mode(false);      // events only
    const std::string path = argv[1];
    VORN_XML_STREAM_INPUT_SOURCE source =
        path == "-" ? VORN_XML_STREAM_INPUT_SOURCE(STDIN_FILENO, false) : VORN_XML_STREAM_INPUT_SOURCE(path);
    const bool ok = parser.parse(&source);
    if (source.get_error() != 0) {
        std::cerr << path << ": " << std::strerror(source.get_error()) << "\n";
        return 2;
    }
    if (!ok) {
        std::cerr << path << ": not accepted\n";
        return 1;
    }
    for (const auto& entry : counter.count)
        std::cout << entry.first << " " << entry.second << "\n";
    std::cout << "text bytes " << counter.text_bytes << "\n";
    return 0;
}
