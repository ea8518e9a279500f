// Parses a file, walks its tree, marks every element that has text with an
// attribute, and writes the document back, indented:
//   example_walk_and_write examples/catalog.xml
#include <iostream>
#include <vector>

#include <vorn_xml.h>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: example_walk_and_write FILE\n";
        return 2;
    }
    VORN_XML_FILE_INPUT_SOURCE source(argv[1]);
    VORN_XML_SAX_PARSER parser;
    if (!source.is_open || !parser.parse(&source)) {
        std::cerr << argv[1] << ": not read\n";
        return 1;
    }
    VORN_XML_ELEMENT* root = parser.get_tree_handler()->get_root_element();
    if (root == nullptr)
        return 0;

    // The walk keeps its own stack: documents can be very deep.
    for (VORN_XML_TREE_WALK walk(root); walk.next();) {
        VORN_XML_ELEMENT* element = walk.get_element();
        if (walk.is_entering() && !element->element_data.empty()) {
            if (element->attrib_list == nullptr)
                element->attrib_list = new VORN_XML_ATTRIB_LIST;
            element->attrib_list->set_attrib("length", std::to_string(element->element_data.size()));
        }
    }

    VORN_XML_WRITER writer(2);
    if (!writer.write(root, std::cout)) {
        std::cerr << writer.error_message << "\n";
        return 1;
    }
    return 0;
}
