// What the fuzz targets share: the text form of an attribute list.
#ifndef VORN_FUZZ_TEXT_H
#define VORN_FUZZ_TEXT_H

#include <string>

#include <vorn_xml.h>

// "{name=value;...}" in the list's order; "{}" for no list.
inline std::string attributes_text(const VORN_XML_ATTRIB_LIST* list)
{
    std::string text = "{";
    if (list != nullptr)
        for (const auto& pair : list->attrib_map)
            text += pair.first + "=" + pair.second + ";";
    return text + "}";
}

#endif
