// libFuzzer target: the parser reads the library's own sources in bulk, and
// that must change nothing a host can see.  Every input is parsed from a
// string source, a file source and a streaming source, and again from a class derived from
// each that only forwards get_next_char(), which the parser therefore reads
// one character at a time.  Each pair must agree on everything recorded:
// the result, the messages, every event with the parser's reading state and
// the source's fields at that moment (for the file source also the contents
// of vorn_xml_buffer), the tree, the text given to process_end_document and
// the source's fields at the end.  A difference aborts.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <vorn_xml.h>

#include "fuzz_text.h"

namespace {

struct STRING_ONE_BY_ONE : VORN_XML_STRING_INPUT_SOURCE {
    using VORN_XML_STRING_INPUT_SOURCE::VORN_XML_STRING_INPUT_SOURCE;
    int get_next_char() override { return VORN_XML_STRING_INPUT_SOURCE::get_next_char(); }
};

struct FILE_ONE_BY_ONE : VORN_XML_FILE_INPUT_SOURCE {
    using VORN_XML_FILE_INPUT_SOURCE::VORN_XML_FILE_INPUT_SOURCE;
    int get_next_char() override { return VORN_XML_FILE_INPUT_SOURCE::get_next_char(); }
};

struct STREAM_ONE_BY_ONE : VORN_XML_STREAM_INPUT_SOURCE {
    using VORN_XML_STREAM_INPUT_SOURCE::VORN_XML_STREAM_INPUT_SOURCE;
    int get_next_char() override { return VORN_XML_STREAM_INPUT_SOURCE::get_next_char(); }
};

// The source's fields; long texts by their size and hash, so that an event
// costs little even in long inputs.
std::string fields_of(const VORN_XML_SAX_INPUT_SOURCE* source)
{
    const auto digest = [](const char* data, std::size_t size) {
        return std::to_string(size) + "#" + std::to_string(std::hash<std::string_view>()(std::string_view(data, size)));
    };
    std::string out = "text=" + digest(source->xml_text.data(), source->xml_text.size());
    if (const auto* m = dynamic_cast<const VORN_XML_STREAM_INPUT_SOURCE*>(source))
        return out + " pos=" + std::to_string(m->buffer_pos) + " count=" + std::to_string(m->buffer_count) +
               " last=" + std::to_string(m->last_char) + " error=" + std::to_string(m->error) + " buffer=" +
               (m->buffer ? digest(m->buffer.get(), static_cast<std::size_t>(m->buffer_count) + 1) : "");
    if (const auto* s = dynamic_cast<const VORN_XML_STRING_INPUT_SOURCE*>(source))
        return out + " string=" + digest(s->xml_string.data(), s->xml_string.size()) +
               " pos=" + std::to_string(s->string_pos) + " last=" + std::to_string(s->last_char);
    const auto* f = dynamic_cast<const VORN_XML_FILE_INPUT_SOURCE*>(source);
    return out + " pos=" + std::to_string(f->buffer_pos) + " count=" + std::to_string(f->buffer_count) +
           " last=" + std::to_string(f->last_char) + " buffer=" + digest(vorn_xml_buffer, sizeof vorn_xml_buffer);
}

std::string tree_text(VORN_XML_ELEMENT* root)
{
    // Iterative: documents may be very deep.
    std::string out;
    std::vector<VORN_XML_ELEMENT*> stack;
    if (root != nullptr) {
        out += "<" + root->element_name + attributes_text(root->attrib_list) + "#" + root->element_data;
        stack.push_back(root);
        root->get_first_sub_element();
    }
    while (!stack.empty()) {
        // get_first_sub_element() was called when the element was entered;
        // its cursor now stands on the next sub-element.
        VORN_XML_ELEMENT* next = stack.back()->get_next_sub_element();
        if (next == nullptr) {
            out += "/";
            stack.pop_back();
            continue;
        }
        out += "<" + next->element_name + attributes_text(next->attrib_list) + "#" + next->element_data;
        stack.push_back(next);
        next->get_first_sub_element();
    }
    return out;
}

// Records every event with the reading state and the source's fields, and
// builds the tree; roots replaced by a later top-level element are kept here.
class RECORDER : public VORN_XML_SAX_TREE_HANDLER {
public:
    VORN_XML_SAX_PARSER* parser = nullptr;
    std::vector<std::string> lines;
    std::vector<std::unique_ptr<VORN_XML_ELEMENT>> replaced;

    void note(const std::string& event)
    {
        lines.push_back(event + " | char=" + std::to_string(parser->current_char) + " token=" + parser->current_token +
                        " type=" + std::to_string(parser->token_type) + " | " + fields_of(parser->input_source));
    }
    void process_start_document() override
    {
        note("start-document");
        VORN_XML_SAX_TREE_HANDLER::process_start_document();
    }
    void process_end_document(const char* text) override
    {
        note("end-document " + std::string(text));
        VORN_XML_SAX_TREE_HANDLER::process_end_document(text);
    }
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        note("start " + name + attributes_text(attributes));
        VORN_XML_SAX_TREE_HANDLER::process_start_element(name, attributes);
    }
    void process_end_element(const std::string& name) override
    {
        note("end " + name);
        VORN_XML_ELEMENT* before = root_element;
        VORN_XML_SAX_TREE_HANDLER::process_end_element(name);
        if (before != nullptr && root_element != before)
            replaced.emplace_back(before);
    }
    void process_characters(const std::string& text) override
    {
        note("chars " + text);
        VORN_XML_SAX_TREE_HANDLER::process_characters(text);
    }
};

std::vector<std::string> run(VORN_XML_SAX_INPUT_SOURCE& source)
{
    RECORDER recorder;
    VORN_XML_SAX_PARSER parser;
    recorder.parser = &parser;
    parser.set_tree_handler(&recorder);
    const bool ok = parser.parse(&source);
    std::vector<std::string> out = std::move(recorder.lines);
    out.push_back(ok ? "ok" : "failed");
    VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
    for (const std::string& message : errors->error_message_list)
        out.push_back("error " + message);
    out.push_back("end | char=" + std::to_string(parser.current_char) + " token=" + parser.current_token +
                  " type=" + std::to_string(parser.token_type) + " | " + fields_of(&source));
    for (const auto& root : recorder.replaced)
        out.push_back("tree " + tree_text(root.get()));
    out.push_back("tree " + tree_text(recorder.get_root_element()));
    return out;
}

void check_same(const std::vector<std::string>& bulk, const std::vector<std::string>& single, const char* what)
{
    if (bulk == single)
        return;
    std::fprintf(stderr, "%s: bulk and one-at-a-time reading differ\n", what);
    for (std::size_t i = 0; i < bulk.size() || i < single.size(); ++i) {
        const std::string a = i < bulk.size() ? bulk[i] : "(none)";
        const std::string b = i < single.size() ? single[i] : "(none)";
        if (a != b) {
            std::fprintf(stderr, "line %zu\n  bulk:   %.300s\n  single: %.300s\n", i, a.c_str(), b.c_str());
            break;
        }
    }
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string document(reinterpret_cast<const char*>(data), size);
    {
        VORN_XML_STRING_INPUT_SOURCE bulk(document);
        STRING_ONE_BY_ONE single(document);
        check_same(run(bulk), run(single), "string source");
    }
    static const std::string path = "/tmp/vornxml-equivalence-" + std::to_string(getpid()) + ".xml";
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr || std::fwrite(document.data(), 1, document.size(), file) != document.size() ||
        std::fclose(file) != 0)
        std::abort();
    {
        VORN_XML_FILE_INPUT_SOURCE bulk(path);
        FILE_ONE_BY_ONE single(path);
        // One file source at a time, as the shared buffer requires; each
        // begins with the buffer as it is at load time.
        std::memset(vorn_xml_buffer, 0, sizeof vorn_xml_buffer);
        const std::vector<std::string> first = run(bulk);
        std::memset(vorn_xml_buffer, 0, sizeof vorn_xml_buffer);
        check_same(first, run(single), "file source");
    }
    {
        VORN_XML_STREAM_INPUT_SOURCE bulk(path);
        STREAM_ONE_BY_ONE single(path);
        check_same(run(bulk), run(single), "streaming source");
    }
    std::remove(path.c_str());
    return 0;
}
