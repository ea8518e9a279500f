// libFuzzer target: a document pushed in pieces gives what the whole gives.
// Every input is parsed from a string source wrapped in a tracking source,
// then fed to a push parser cut at points drawn from a generator seeded by
// the input itself (so a crash reproduces), then fed byte by byte.  Each
// must agree on the result, the messages, every event with its arguments
// and the reading, token and failure positions at that event, the tree and
// the positions at the end.  A difference aborts.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <vorn_xml.h>

#include "fuzz_text.h"

namespace {

std::string place(const VORN_XML_POSITION& at)
{
    return std::to_string(at.line) + ":" + std::to_string(at.column) + "@" + std::to_string(at.offset);
}

// Records each event with the positions `where` gives at that moment.
class RECORDER : public VORN_XML_SAX_TREE_HANDLER {
public:
    std::function<std::string()> where;
    std::vector<std::string> events;

    void process_start_document() override { events.push_back("start-document " + where()); }
    void process_end_document(const char* text) override
    {
        events.push_back("end-document [" + std::string(text) + "] " + where());
    }
    void process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes) override
    {
        events.push_back("<" + name + attributes_text(attributes) + " " + where());
        VORN_XML_SAX_TREE_HANDLER::process_start_element(name, attributes);
    }
    void process_end_element(const std::string& name) override
    {
        events.push_back("/" + name + " " + where());
        VORN_XML_ELEMENT* before = root_element;
        VORN_XML_SAX_TREE_HANDLER::process_end_element(name);
        if (before != nullptr && root_element != before)
            delete before;  // an earlier top-level element, replaced
    }
    void process_characters(const std::string& text) override
    {
        events.push_back("#" + text + " " + where());
        VORN_XML_SAX_TREE_HANDLER::process_characters(text);
    }
};

std::string tree_of(VORN_XML_ELEMENT* root)
{
    std::string out;
    for (VORN_XML_TREE_WALK walk(root); walk.next();) {
        VORN_XML_ELEMENT* e = walk.get_element();
        out += walk.is_entering()
                   ? "<" + e->get_element_name() + attributes_text(e->attrib_list) + "#" + e->get_element_data()
                   : std::string("/");
    }
    return out;
}

struct RESULT {
    bool ok = false;
    std::vector<std::string> messages, events;
    std::string tree, end;

    bool operator!=(const RESULT& other) const
    {
        return ok != other.ok || messages != other.messages || events != other.events || tree != other.tree ||
               end != other.end;
    }
};

template <class POSITIONS> RESULT outcome(bool ok, VORN_XML_SAX_PARSER& parser, RECORDER& recorder, POSITIONS where)
{
    RESULT r;
    r.ok = ok;
    const VORN_XML_SAX_ERROR_HANDLER* errors = parser.get_error_handler();
    if (errors != nullptr)
        r.messages.assign(errors->error_message_list.begin(), errors->error_message_list.end());
    r.events = recorder.events;
    r.tree = tree_of(recorder.get_root_element());
    r.end = where();
    return r;
}

RESULT whole(const std::string& text)
{
    RECORDER recorder;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&recorder);
    VORN_XML_STRING_INPUT_SOURCE string(text);
    VORN_XML_TRACKING_INPUT_SOURCE source(string);
    const auto where = [&] {
        return place(source.get_reading_position()) + " " + place(source.get_token_position(parser)) + " " +
               place(source.get_failure_position(parser)) + " " + std::to_string(source.offset());
    };
    recorder.where = where;
    const bool ok = parser.parse(&source);
    return outcome(ok, parser, recorder, where);
}

// Pieces cut at the given sizes in turn; the last one runs to the end.
RESULT pushed(const std::string& text, const std::vector<std::size_t>& sizes)
{
    RECORDER recorder;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&recorder);
    VORN_XML_PUSH_PARSER push(parser);
    const auto where = [&] {
        return place(push.get_reading_position()) + " " + place(push.get_token_position()) + " " +
               place(push.get_failure_position()) + " " + std::to_string(push.offset());
    };
    recorder.where = where;
    auto status = VORN_XML_PUSH_PARSER::PUSH_MORE;
    std::size_t at = 0;
    for (std::size_t k = 0; at < text.size() && status == VORN_XML_PUSH_PARSER::PUSH_MORE; ++k) {
        const std::size_t size = k < sizes.size() ? std::min(sizes[k], text.size() - at) : text.size() - at;
        status = push.feed(text.data() + at, size);
        at += size;
    }
    if (status == VORN_XML_PUSH_PARSER::PUSH_MORE)
        status = push.finish();
    else if (push.feed("<", 1) != VORN_XML_PUSH_PARSER::PUSH_REFUSED || push.finish() != status)
        std::abort();
    return outcome(status == VORN_XML_PUSH_PARSER::PUSH_ACCEPTED, parser, recorder, where);
}

void expect_same(const RESULT& a, const RESULT& b, const char* what)
{
    if (a != b) {
        std::fprintf(stderr, "pushed %s differs from the whole\n", what);
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const RESULT expected = whole(text);

    std::minstd_rand draw(static_cast<std::uint_fast32_t>(std::hash<std::string_view>()(text)) | 1u);
    std::vector<std::size_t> sizes;
    for (std::size_t covered = 0; covered < size;) {
        // Mostly short pieces, now and then a long one.
        const std::size_t piece = draw() % 8 == 0 ? 1 + draw() % 512 : 1 + draw() % 8;
        sizes.push_back(piece);
        covered += piece;
    }
    expect_same(pushed(text, sizes), expected, "at random points");
    expect_same(pushed(text, std::vector<std::size_t>(size, 1)), expected, "byte by byte");
    return 0;
}
