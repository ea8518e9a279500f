// Prints the size and alignment of every public class, one a line, for the
// binary-interface check (scripts/abi).
#include <cstdio>

#include <vorn_xml.h>

#define SHOW(type) std::printf("%s %zu %zu\n", #type, sizeof(type), alignof(type))

int main()
{
    SHOW(VORN_FILE);
    SHOW(VORN_OBJ);
    SHOW(VORN_OBJ_LIST);
    SHOW(VORN_XML_SAX_INPUT_SOURCE);
    SHOW(VORN_XML_FILE_INPUT_SOURCE);
    SHOW(VORN_XML_STRING_INPUT_SOURCE);
    SHOW(VORN_XML_COUNTING_INPUT_SOURCE);
    SHOW(VORN_XML_POSITION);
    SHOW(VORN_XML_SAX_ERROR_HANDLER);
    SHOW(LESS_C_STRING);
    SHOW(VORN_XML_ATTRIB_LIST);
    SHOW(VORN_XML_ELEMENT);
    SHOW(VORN_XML_SAX_EVENT_LISTENER);
    SHOW(VORN_XML_SAX_TREE_HANDLER);
    SHOW(VORN_XML_SAX_PARSER);
    SHOW(VORN_XML_WRITER);
    return 0;
}
