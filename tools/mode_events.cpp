// --events: each event is printed as it comes, one a line; no tree is built.
#include "vornxml_tool.h"

namespace vornxml_tool {
namespace {

// A standard handler, so that with --standard each run of text comes in
// document order, with comments and processing instructions among them.
class EVENT_PRINTER : public VORN_XML_STANDARD_HANDLER {
public:
    void process_start_document() override { put_line("start-document"); }
    void process_end_document(const char* text) override
    {
        (void)text;
        put_line("end-document");
    }
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        std::string line = "start " + name;
        if (attributes != nullptr) {
            std::string key;
            std::string value;
            attributes->reset_attrib_list();
            while (attributes->get_next_attrib(key, value))
                line += " " + key + "=" + quoted(value);
        }
        put_line(line);
    }
    void process_end_element(const std::string& name) override { put_line("end " + name); }
    void process_characters(const std::string& text) override { put_line("chars " + quoted(text)); }
    void process_comment(const std::string& text) override { put_line("comment " + quoted(text)); }
    void process_processing_instruction(const std::string& target, const std::string& data) override
    {
        put_line("pi " + target + " " + quoted(data));
    }
};

class EVENTS_MODE : public DOCUMENT_MODE {
public:
    VORN_XML_SAX_TREE_HANDLER& handler() override { return printer; }
    bool builds_tree() const override { return false; }

private:
    EVENT_PRINTER printer;
};

}  // namespace

std::unique_ptr<DOCUMENT_MODE> make_events_mode()
{
    return std::make_unique<EVENTS_MODE>();
}

}  // namespace vornxml_tool
