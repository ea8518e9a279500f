#include "vorn_test_support.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <utility>

#include <ftw.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace vorn_test {

TEMP_DIR::TEMP_DIR()
{
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/vornxml-test-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("cannot make a temporary folder");
    dir = pattern;
}

TEMP_DIR::~TEMP_DIR()
{
    ::nftw(
        dir.c_str(), [](const char* p, const struct stat*, int, struct FTW*) { return std::remove(p); }, 16,
        FTW_DEPTH | FTW_PHYS);
}

std::string TEMP_DIR::write(const std::string& name, const std::string& bytes) const
{
    const std::string path = dir + "/" + name;
    std::ofstream out(path, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out)
        throw std::runtime_error("cannot write " + path);
    return path;
}

BYTE_SOURCE::BYTE_SOURCE(std::string text) : bytes(std::move(text))
{
    is_open = true;
}

int BYTE_SOURCE::get_next_char()
{
    ++calls;
    if (ended || pos >= bytes.size() || bytes[pos] == '\xFF') {
        ended = true;
        return -1;
    }
    const char c = bytes[pos++];
    xml_text.push_back(c);
    return c;
}

namespace {

std::string attribs_text(VORN_XML_ATTRIB_LIST* list)
{
    if (list == nullptr)
        return "null";
    std::string out = "{";
    std::string name;
    std::string value;
    list->reset_attrib_list();
    bool first = true;
    while (list->get_next_attrib(name, value)) {
        out += (first ? "" : ",") + name + "=" + value;
        first = false;
    }
    return out + "}";
}

}  // namespace

void RECORDING_HANDLER::process_start_document()
{
    events.emplace_back("start-document");
    VORN_XML_SAX_TREE_HANDLER::process_start_document();
}

void RECORDING_HANDLER::process_end_document(const char* text)
{
    events.emplace_back("end-document");
    end_document_text = text != nullptr ? text : "(null)";
    VORN_XML_SAX_TREE_HANDLER::process_end_document(text);
}

void RECORDING_HANDLER::process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes)
{
    events.push_back("start " + name + " " + attribs_text(attributes));
    VORN_XML_SAX_TREE_HANDLER::process_start_element(name, attributes);
}

void RECORDING_HANDLER::process_end_element(const std::string& name)
{
    events.push_back("end " + name);
    VORN_XML_ELEMENT* before = root_element;
    VORN_XML_SAX_TREE_HANDLER::process_end_element(name);
    if (before != nullptr && root_element != before)
        replaced_roots.emplace_back(before);
}

void RECORDING_HANDLER::process_characters(const std::string& text)
{
    events.push_back("chars " + text);
    VORN_XML_SAX_TREE_HANDLER::process_characters(text);
}

std::vector<std::string> error_messages(VORN_XML_SAX_ERROR_HANDLER* errors)
{
    std::vector<std::string> out;
    if (errors == nullptr)
        return out;
    errors->reset_error_message_list();
    for (auto it = errors->error_message_list.begin(); it != errors->error_message_list.end(); ++it)
        out.push_back(*it);
    return out;
}

std::string dump_tree(VORN_XML_ELEMENT* root)
{
    if (root == nullptr)
        return "";
    // Depth first without recursion, so deep trees can be dumped too.
    std::string out;
    std::vector<VORN_XML_ELEMENT*> open;
    auto emit = [&out](VORN_XML_ELEMENT* e) {
        out += e->get_element_name();
        if (e->attrib_list != nullptr && !e->attrib_list->attrib_map.empty()) {
            out += "{";
            bool first = true;
            for (const auto& pair : e->attrib_list->attrib_map) {
                out += (first ? "" : ",") + pair.first + "=" + pair.second;
                first = false;
            }
            out += "}";
        }
        if (!e->get_element_data().empty())
            out += "(\"" + e->get_element_data() + "\")";
    };
    emit(root);
    VORN_XML_ELEMENT* next = root->get_first_sub_element();
    if (next != nullptr) {
        out += "[";
        open.push_back(root);
    }
    while (!open.empty()) {
        if (next == nullptr) {
            out += "]";
            open.pop_back();
            if (!open.empty()) {
                next = open.back()->get_next_sub_element();
                if (next != nullptr)
                    out += ",";
            }
            continue;
        }
        emit(next);
        VORN_XML_ELEMENT* child = next->get_first_sub_element();
        if (child != nullptr) {
            out += "[";
            open.push_back(next);
            next = child;
        } else {
            next = open.back()->get_next_sub_element();
            if (next != nullptr)
                out += ",";
        }
    }
    return out;
}

OUTCOME parse_with(SOURCE_KIND kind, const std::string& document)
{
    OUTCOME outcome;
    RECORDING_HANDLER handler;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&handler);
    switch (kind) {
    case SOURCE_KIND::STRING: {
        VORN_XML_STRING_INPUT_SOURCE source(document);
        outcome.ok = parser.parse(&source);
        break;
    }
    case SOURCE_KIND::FILE: {
        TEMP_DIR dir;
        VORN_XML_FILE_INPUT_SOURCE source(dir.write("doc.xml", document));
        outcome.ok = parser.parse(&source);
        break;
    }
    case SOURCE_KIND::BYTES: {
        BYTE_SOURCE source(document);
        outcome.ok = parser.parse(&source);
        break;
    }
    }
    outcome.errors = error_messages(parser.get_error_handler());
    outcome.events = handler.events;
    outcome.tree = dump_tree(handler.get_root_element());
    outcome.end_document_text = handler.end_document_text;
    return outcome;
}

OUTCOME parse_all_ways(const std::string& document)
{
    OUTCOME from_string = parse_with(SOURCE_KIND::STRING, document);
    const OUTCOME from_file = parse_with(SOURCE_KIND::FILE, document);
    const OUTCOME from_bytes = parse_with(SOURCE_KIND::BYTES, document);
    for (const OUTCOME* other : {&from_file, &from_bytes}) {
        const char* which = other == &from_file ? "file source" : "byte source";
        EXPECT_EQ(from_string.ok, other->ok) << which;
        EXPECT_EQ(from_string.errors, other->errors) << which;
        EXPECT_EQ(from_string.events, other->events) << which;
        EXPECT_EQ(from_string.tree, other->tree) << which;
    }
    return from_string;
}

}  // namespace vorn_test
