#include "vorn_test_support.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <tuple>

#include <gtest/gtest.h>

namespace vorn_test {

TEMP_DIR::TEMP_DIR()
{
    // In memory where the system has it (and TMPDIR says nothing else): the
    // document tables write thousands of small files that need no disk.  A
    // /dev/shm that cannot be written falls back to the temporary folder.
    std::string pattern = "/dev/shm/vornxml-test-XXXXXX";
    if (std::getenv("TMPDIR") != nullptr || ::mkdtemp(pattern.data()) == nullptr) {
        pattern = std::filesystem::temp_directory_path().string() + "/vornxml-test-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("cannot make a temporary folder");
    }
    path = pattern;
}

TEMP_DIR::~TEMP_DIR()
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::string TEMP_DIR::write(const std::string& name, const std::string& bytes) const
{
    std::string file = path + "/" + name;
    std::ofstream(file, std::ios::binary) << bytes;
    return file;
}

int BYTE_SOURCE::get_next_char()
{
    ++calls;
    if (pos >= bytes.size() || bytes[pos] == '\xFF') {
        pos = bytes.size();
        return -1;
    }
    xml_text.push_back(bytes[pos]);
    return bytes[pos++];
}

std::string attribs_text(const VORN_XML_ATTRIB_LIST* list)
{
    std::string out;
    for (const auto& pair : list != nullptr ? list->attrib_map : VORN_XML_ATTRIB_LIST::MAP())
        out += (out.empty() ? "" : ",") + pair.first + "=" + pair.second;
    return out;
}

std::vector<std::string> error_messages(const VORN_XML_SAX_ERROR_HANDLER* errors)
{
    return errors == nullptr
               ? std::vector<std::string>()
               : std::vector<std::string>(errors->error_message_list.begin(), errors->error_message_list.end());
}

std::string dump_tree(VORN_XML_ELEMENT* root)
{
    if (root == nullptr)
        return "";
    std::string out = root->element_name;
    const std::string attributes = attribs_text(root->attrib_list);
    out += attributes.empty() ? "" : "{" + attributes + "}";
    if (!root->element_data.empty())
        out += "(\"" + root->element_data + "\")";
    std::string subs;
    for (VORN_XML_ELEMENT* e = root->get_first_sub_element(); e != nullptr; e = root->get_next_sub_element())
        subs += (subs.empty() ? "" : ",") + dump_tree(e);
    return subs.empty() ? out : out + "[" + subs + "]";
}

void expect_written_back(VORN_XML_ELEMENT* root, int indent)
{
    VORN_XML_WRITER writer(indent);
    std::string written;
    EXPECT_TRUE(writer.write(root, written)) << writer.error_message;
    VORN_XML_SAX_PARSER parser;
    VORN_XML_STRING_INPUT_SOURCE source(written);
    EXPECT_TRUE(parser.parse(&source)) << written;
    EXPECT_EQ(dump_tree(parser.get_tree_handler()->get_root_element()), dump_tree(root)) << written;
}

namespace {

std::string place(const VORN_XML_POSITION& at)
{
    return std::to_string(at.line) + ":" + std::to_string(at.column);
}

// One parse through `source` (a counting or tracking source); `places` gets
// its reading, token and failure positions at the end.
template <class WRAPPER> OUTCOME parse_through(WRAPPER& source, std::string& places, bool write_back)
{
    RECORDING_HANDLER handler;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&handler);
    OUTCOME out;
    out.ok = parser.parse(&source);
    out.errors = error_messages(parser.get_error_handler());
    out.events = handler.events;
    out.tree = dump_tree(handler.get_root_element());
    out.end_text = handler.end_document_text;
    if (!out.ok)
        out.at = place(source.get_failure_position(parser));
    const VORN_XML_POSITION reading = source.get_reading_position();
    places = place(reading) + "@" + std::to_string(reading.offset) + " " + place(source.get_token_position(parser)) +
             " " + place(source.get_failure_position(parser));
    if (write_back && out.ok && !out.tree.empty())
        expect_written_back(handler.get_root_element(), 2);
    return out;
}

// The document fed to a push parser in pieces whose sizes are taken from
// `sizes` in turn (none: the whole at once); `places` as parse_through()
// gives them.
OUTCOME parse_pushed(const std::string& document, const std::vector<std::size_t>& sizes, std::string& places)
{
    RECORDING_HANDLER handler;
    VORN_XML_SAX_PARSER parser;
    parser.set_tree_handler(&handler);
    VORN_XML_PUSH_PARSER push(parser);
    auto status = VORN_XML_PUSH_PARSER::PUSH_MORE;
    for (std::size_t at = 0, k = 0; at < document.size() && status == VORN_XML_PUSH_PARSER::PUSH_MORE;) {
        const std::size_t size =
            sizes.empty() ? document.size() : std::min(sizes[k++ % sizes.size()], document.size() - at);
        status = push.feed(document.data() + at, size);
        at += size;
    }
    if (status == VORN_XML_PUSH_PARSER::PUSH_MORE) {
        status = push.finish();
    } else {  // ended by a byte 0xFF or a failure: nothing more is read
        EXPECT_EQ(push.feed("<", 1), VORN_XML_PUSH_PARSER::PUSH_REFUSED);
        EXPECT_EQ(push.finish(), status);
    }
    EXPECT_EQ(push.get_status(), status);
    OUTCOME out;
    out.ok = status == VORN_XML_PUSH_PARSER::PUSH_ACCEPTED;
    out.errors = error_messages(parser.get_error_handler());
    out.events = handler.events;
    out.tree = dump_tree(handler.get_root_element());
    out.end_text = handler.end_document_text;
    if (!out.ok)
        out.at = place(push.get_failure_position());
    const VORN_XML_POSITION reading = push.get_reading_position();
    places = place(reading) + "@" + std::to_string(reading.offset) + " " + place(push.get_token_position()) + " " +
             place(push.get_failure_position());
    return out;
}

}  // namespace

OUTCOME parse_all_ways(const std::string& document)
{
    SCOPED_TRACE(document.size() < 4096 ? document : std::to_string(document.size()) + " bytes");
    const TEMP_DIR dir;
    const std::string path = dir.write("doc.xml", document);
    // Each kind twice: in a counting source, then in a tracking source.
    VORN_XML_STRING_INPUT_SOURCE from_string(document), string_tracked(document);
    VORN_XML_FILE_INPUT_SOURCE from_file(path), file_tracked(path);
    VORN_XML_STREAM_INPUT_SOURCE from_stream(path), stream_tracked(path);
    BYTE_SOURCE from_bytes(document), bytes_tracked(document);
    const std::tuple<const char*, VORN_XML_SAX_INPUT_SOURCE*, VORN_XML_SAX_INPUT_SOURCE*> sources[] = {
        {"string source", &from_string, &string_tracked},
        {"file source", &from_file, &file_tracked},
        {"stream source", &from_stream, &stream_tracked},
        {"byte source", &from_bytes, &bytes_tracked}};
    OUTCOME first;
    for (const auto& [name, inner, tracked_inner] : sources) {
        SCOPED_TRACE(name);
        VORN_XML_COUNTING_INPUT_SOURCE source(*inner, true);
        std::string places, tracked_places;
        OUTCOME out = parse_through(source, places, inner == &from_string);
        // The tracking source tells the same, though it counts only when asked.
        VORN_XML_TRACKING_INPUT_SOURCE tracking(*tracked_inner);
        const OUTCOME tracked = parse_through(tracking, tracked_places, false);
        EXPECT_EQ(std::tie(tracked.ok, tracked.errors, tracked.events, tracked.tree, tracked_places),
                  std::tie(out.ok, out.errors, out.events, out.tree, places));
        EXPECT_EQ(tracked.end_text, "");
        if (inner == &from_string) {
            // Pushed whole, byte by byte and in pieces of 2 to 7 bytes: the
            // same again, and nothing kept for process_end_document.
            // Long documents (the hostile ones) in pieces of 4093 bytes and
            // of 7 and 65521 in turn: the cost per byte is the same, but a
            // stack switch per byte is slow under the sanitizers.
            const bool long_one = document.size() > 16384;
            const std::vector<std::vector<std::size_t>> splits =
                long_one ? std::vector<std::vector<std::size_t>>{{}, {4093}, {7, 65521}}
                         : std::vector<std::vector<std::size_t>>{{}, {1}, {2, 3, 4, 5, 6, 7}};
            for (const std::vector<std::size_t>& sizes : splits) {
                SCOPED_TRACE("pushed in pieces of " + std::to_string(sizes.empty() ? document.size() : sizes[0]) +
                             (sizes.size() > 1 ? " and more" : ""));
                std::string pushed_places;
                const OUTCOME pushed = parse_pushed(document, sizes, pushed_places);
                EXPECT_EQ(std::tie(pushed.ok, pushed.errors, pushed.events, pushed.tree, pushed.at, pushed_places),
                          std::tie(out.ok, out.errors, out.events, out.tree, out.at, places));
                EXPECT_EQ(pushed.end_text, "");
            }
        }
        if (inner != &from_string) {
            // Once the string source has handed over the whole document, the
            // file and byte sources hand over the same (the streaming source
            // keeps nothing).
            if (first.end_text == document && document.find('\0') == std::string::npos) {
                EXPECT_EQ(out.end_text, inner == &from_stream ? "" : document);
            }
            EXPECT_EQ(std::tie(out.ok, out.errors, out.events, out.tree, out.at),
                      std::tie(first.ok, first.errors, first.events, first.tree, first.at));
            continue;
        }
        // A refusal says why, and no message is empty.
        EXPECT_TRUE(out.ok || !out.errors.empty());
        EXPECT_EQ(std::count(out.errors.begin(), out.errors.end(), ""), 0);
        // Read to the end: the reading position is past the last byte.
        EXPECT_TRUE(out.end_text != document || source.get_reading_position().offset == document.size());
        first = out;
    }
    // Each character is read once, the end of input a few times.
    EXPECT_LE(from_bytes.calls, static_cast<long>(document.size()) + 4);
    EXPECT_LE(bytes_tracked.calls, static_cast<long>(document.size()) + 4);
    return first;
}

}  // namespace vorn_test
