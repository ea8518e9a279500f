// libFuzzer target: the parser reads the library's own sources in bulk, and
// that must change nothing a host can see.  Every input is parsed from a
// string source, a file source and a streaming source, and again from a class derived from
// each that only forwards get_next_char(), which the parser therefore reads
// one character at a time.  Then from each kind again wrapped in a counting
// source (read in bulk) and in a class derived from the counting source (one
// character at a time), copying the text or not as the input's length says.
// Then from each kind wrapped in a tracking source (read in bulk, counting
// only when asked), against the counting source read one character at a
// time: asked for its three positions at every event, and asked for them
// only at the end, so that its counting runs span single tags and whole
// chunks.
// Each pair must agree on everything recorded:
// the result, the messages, every event with the parser's reading state and
// the source's fields at that moment (for the file source also the contents
// of vorn_xml_buffer; for a counting source its positions and its inner
// source's fields), the tree, the text given to process_end_document, the
// source's fields at the end and, for a counting source, the failure and
// token positions.  For the tracking source the fields at each event are its
// offset, its inner source's fields and (when asked) its reading, token and
// failure positions, against the counting source's.  A difference aborts.
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

struct COUNTING_ONE_BY_ONE : VORN_XML_COUNTING_INPUT_SOURCE {
    using VORN_XML_COUNTING_INPUT_SOURCE::VORN_XML_COUNTING_INPUT_SOURCE;
    int get_next_char() override { return VORN_XML_COUNTING_INPUT_SOURCE::get_next_char(); }
};

std::string place(const VORN_XML_POSITION& at)
{
    return std::to_string(at.line) + ":" + std::to_string(at.column) + "@" + std::to_string(at.offset);
}

// The source's fields; long texts by their size and hash, so that an event
// costs little even in long inputs.
std::string fields_of(const VORN_XML_SAX_INPUT_SOURCE* source)
{
    const auto digest = [](const char* data, std::size_t size) {
        return std::to_string(size) + "#" + std::to_string(std::hash<std::string_view>()(std::string_view(data, size)));
    };
    std::string out = "text=" + digest(source->xml_text.data(), source->xml_text.size());
    if (const auto* c = dynamic_cast<const VORN_XML_COUNTING_INPUT_SOURCE*>(source))
        return out + " next=" + place(c->next) + " last=" + place(c->last) + " quotes=" + place(c->quotes[0]) + "," +
               place(c->quotes[1]) + "," + place(c->quotes[2]) + "/" + std::to_string(c->quote_count) +
               " end_tags=" + place(c->end_tag) + "," + place(c->end_tag_before) + "/" +
               std::to_string(c->end_tag_count) + " after_lt=" + std::to_string(c->after_lt) +
               " keep=" + std::to_string(c->keep_text) + " | inner " + fields_of(c->inner);
    if (const auto* m = dynamic_cast<const VORN_XML_STREAM_INPUT_SOURCE*>(source))
        return out + " pos=" + std::to_string(m->buffer_pos) + " count=" + std::to_string(m->buffer_count) +
               " last=" + std::to_string(m->last_char) + " error=" + std::to_string(m->error) +
               " buffer=" + (m->buffer ? digest(m->buffer.get(), static_cast<std::size_t>(m->buffer_count) + 1) : "");
    if (const auto* s = dynamic_cast<const VORN_XML_STRING_INPUT_SOURCE*>(source))
        return out + " string=" + digest(s->xml_string.data(), s->xml_string.size()) +
               " pos=" + std::to_string(s->string_pos) + " last=" + std::to_string(s->last_char);
    const auto* f = dynamic_cast<const VORN_XML_FILE_INPUT_SOURCE*>(source);
    return out + " pos=" + std::to_string(f->buffer_pos) + " count=" + std::to_string(f->buffer_count) +
           " last=" + std::to_string(f->last_char) + " buffer=" + digest(vorn_xml_buffer, sizeof vorn_xml_buffer);
}

// What is compared at each event: every field, or what a tracking source
// shows (its offset, with or without its three positions).
enum class RECORD { FIELDS, POSITIONS, OFFSETS };

// A tracking source, or a counting source standing in for one: the offset,
// the three positions when `ask`, and the inner source's fields.
std::string positions_of(const VORN_XML_SAX_INPUT_SOURCE* source, const VORN_XML_SAX_PARSER& parser, bool ask)
{
    std::string out;
    const VORN_XML_SAX_INPUT_SOURCE* inner;
    if (const auto* t = dynamic_cast<const VORN_XML_TRACKING_INPUT_SOURCE*>(source)) {
        out = "offset=" + std::to_string(t->offset());
        if (ask)
            out += " at " + place(t->get_reading_position()) + " " + place(t->get_token_position(parser)) + " " +
                   place(t->get_failure_position(parser));
        inner = &t->get_inner_source();
    } else {
        const auto* c = dynamic_cast<const VORN_XML_COUNTING_INPUT_SOURCE*>(source);
        out = "offset=" + std::to_string(c->next.offset);
        if (ask)
            out += " at " + place(c->get_reading_position()) + " " + place(c->get_token_position(parser)) + " " +
                   place(c->get_failure_position(parser));
        inner = c->inner;
    }
    return out + " | inner " + fields_of(inner);
}

std::string tree_text(VORN_XML_ELEMENT* root)
{
    std::string out;
    for (VORN_XML_TREE_WALK walk(root); walk.next();) {
        const VORN_XML_ELEMENT* e = walk.get_element();
        out +=
            walk.is_entering() ? "<" + e->element_name + attributes_text(e->attrib_list) + "#" + e->element_data : "/";
    }
    return out;
}

// Records every event with the reading state and the source's fields, and
// builds the tree; roots replaced by a later top-level element are kept here.
class RECORDER : public VORN_XML_SAX_TREE_HANDLER {
public:
    VORN_XML_SAX_PARSER* parser = nullptr;
    RECORD record = RECORD::FIELDS;
    std::vector<std::string> lines;
    std::vector<std::unique_ptr<VORN_XML_ELEMENT>> replaced;

    void note(const std::string& event)
    {
        lines.push_back(event + " | char=" + std::to_string(parser->current_char) + " token=" + parser->current_token +
                        " type=" + std::to_string(parser->token_type) + " | " +
                        (record == RECORD::FIELDS
                             ? fields_of(parser->input_source)
                             : positions_of(parser->input_source, *parser, record == RECORD::POSITIONS)));
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

std::vector<std::string> run(VORN_XML_SAX_INPUT_SOURCE& source, RECORD record = RECORD::FIELDS)
{
    RECORDER recorder;
    VORN_XML_SAX_PARSER parser;
    recorder.parser = &parser;
    recorder.record = record;
    parser.set_tree_handler(&recorder);
    const bool ok = parser.parse(&source);
    std::vector<std::string> out = std::move(recorder.lines);
    out.push_back(ok ? "ok" : "failed");
    VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
    for (const std::string& message : errors->error_message_list)
        out.push_back("error " + message);
    out.push_back("end | char=" + std::to_string(parser.current_char) + " token=" + parser.current_token +
                  " type=" + std::to_string(parser.token_type) + " | " +
                  (record == RECORD::FIELDS ? fields_of(&source) : positions_of(&source, parser, true)));
    if (const auto* counting = dynamic_cast<const VORN_XML_COUNTING_INPUT_SOURCE*>(&source))
        out.push_back("at " + place(counting->get_failure_position(parser)) + " token " +
                      place(counting->get_token_position(parser)));
    else if (const auto* tracking = dynamic_cast<const VORN_XML_TRACKING_INPUT_SOURCE*>(&source))
        out.push_back("at " + place(tracking->get_failure_position(parser)) + " token " +
                      place(tracking->get_token_position(parser)));
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

// Reads a source made from `arg` in bulk and a ONE_BY_ONE made from it one
// character at a time, then again each wrapped in a counting source (the
// one-at-a-time one in COUNTING_ONE_BY_ONE over a SOURCE), and compares each
// pair.  `file`: each read begins with vorn_xml_buffer as at load time.
template <class SOURCE, class ONE_BY_ONE>
void compare(const std::string& arg, const std::string& what, bool keep_text, bool file)
{
    const auto reset = [file] {
        if (file)
            std::memset(vorn_xml_buffer, 0, sizeof vorn_xml_buffer);
    };
    {
        SOURCE bulk(arg);
        ONE_BY_ONE single(arg);
        reset();
        const std::vector<std::string> first = run(bulk);
        reset();
        check_same(first, run(single), what.c_str());
    }
    SOURCE inner_bulk(arg);
    SOURCE inner_single(arg);
    VORN_XML_COUNTING_INPUT_SOURCE bulk(inner_bulk, keep_text);
    COUNTING_ONE_BY_ONE single(inner_single, keep_text);
    reset();
    const std::vector<std::string> first = run(bulk);
    reset();
    check_same(first, run(single), ("counting " + what).c_str());
    for (const RECORD record : {RECORD::POSITIONS, RECORD::OFFSETS}) {
        SOURCE inner_tracked(arg);
        SOURCE inner_counted(arg);
        VORN_XML_TRACKING_INPUT_SOURCE tracked(inner_tracked);
        COUNTING_ONE_BY_ONE counted(inner_counted, false);
        reset();
        const std::vector<std::string> told = run(tracked, record);
        reset();
        check_same(told, run(counted, record), ("tracking " + what).c_str());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string document(reinterpret_cast<const char*>(data), size);
    const bool keep_text = size % 2 == 1;
    compare<VORN_XML_STRING_INPUT_SOURCE, STRING_ONE_BY_ONE>(document, "string source", keep_text, false);
    static const std::string path = "/tmp/vornxml-equivalence-" + std::to_string(getpid()) + ".xml";
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr || std::fwrite(document.data(), 1, document.size(), file) != document.size() ||
        std::fclose(file) != 0)
        std::abort();
    // One file source at a time is read, as the shared buffer requires.
    compare<VORN_XML_FILE_INPUT_SOURCE, FILE_ONE_BY_ONE>(path, "file source", keep_text, true);
    compare<VORN_XML_STREAM_INPUT_SOURCE, STREAM_ONE_BY_ONE>(path, "streaming source", keep_text, false);
    std::remove(path.c_str());
    return 0;
}
