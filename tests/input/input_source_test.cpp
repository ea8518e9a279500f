#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "vorn_test_support.h"

namespace {

// A file object that records the last path opened and what each read returned.
struct COUNTING_FILE : VORN_FILE {
    std::string opened = "(none)";
    std::vector<int> reads;
    bool open(const std::string& path, int flags) override { return VORN_FILE::open(opened = path, flags); }
    int read(char* buffer, int max) override { return reads.emplace_back(VORN_FILE::read(buffer, max)); }
};

// Gives `source` a counting file object (the source owns it) and opens `path`.
COUNTING_FILE* open_counted(VORN_XML_FILE_INPUT_SOURCE& source, const std::string& path)
{
    auto* file = new COUNTING_FILE;
    delete source.xml_file;
    source.xml_file = file;
    source.is_open = source.open_xml_file(path);
    return file;
}

}  // namespace

// What the sources deliver, and what they keep, is compared document by
// document in parse_all_ways; here what only the file source shows: chunks
// of 4095 bytes, each kept up to its first NUL, bytes delivered as signed
// chars, and after a byte 0xFF, which ends the input, no more reading.
TEST(input_source, file_is_read_in_chunks_of_4095_and_not_after_the_end)
{
    vorn_test::TEMP_DIR dir;
    std::string bytes(10000, 'x');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i == 100 ? 0xE9 : i == 5000 ? 0 : i == 9999 ? 0xFF : 'a' + i % 26);
    VORN_XML_FILE_INPUT_SOURCE source;
    const COUNTING_FILE* file = open_counted(source, dir.write("big.xml", bytes));
    std::vector<int> expected(bytes.begin(), bytes.end() - 1);
    expected.insert(expected.end(), {-1, -1, -1});
    std::vector<int> delivered{source.get_next_char()};  // up to the first -1, then two more calls
    while (delivered.back() != -1)
        delivered.push_back(source.get_next_char());
    delivered.insert(delivered.end(), {source.get_next_char(), source.get_next_char()});
    EXPECT_EQ(delivered, expected);
    EXPECT_EQ(file->reads, (std::vector<int>{4095, 4095, 1810}));
    EXPECT_EQ(source.xml_text, bytes.substr(0, 5000) + bytes.substr(8190));
}

// Room is taken for what was read, not for the size of the file: a huge
// sparse file that is no document costs one chunk.
TEST(input_source, file_paths_and_a_huge_file_read_as_far_as_needed)
{
    vorn_test::TEMP_DIR dir;
    const std::string path = dir.write("huge.xml", "x");
    std::filesystem::resize_file(path, 100ULL << 30);
    VORN_XML_FILE_INPUT_SOURCE source;
    const COUNTING_FILE* file = open_counted(source, path);
    VORN_XML_SAX_PARSER parser;
    EXPECT_FALSE(parser.parse(&source));
    EXPECT_EQ(vorn_test::error_messages(parser.get_error_handler()),
              (std::vector<std::string>{vorn_test::msg::needed("<", "x"), vorn_test::msg::no_declaration}));
    EXPECT_EQ(file->reads, std::vector<int>{4095});
    EXPECT_LT(source.xml_text.capacity(), 1u << 20);

    // Blank paths are not opened; trailing blanks belong to the name.
    for (const char* blank : {"", " \t\n"}) {
        VORN_XML_FILE_INPUT_SOURCE none;
        const COUNTING_FILE* unused = open_counted(none, blank);
        EXPECT_TRUE(!none.is_open && unused->opened == "(none)" && none.xml_file == unused) << blank;
    }
    const std::string blanks = dir.write("doc.xml  ", "<");
    VORN_XML_FILE_INPUT_SOURCE trailing;
    EXPECT_EQ(open_counted(trailing, blanks)->opened, blanks);
    EXPECT_EQ(trailing.get_next_char(), '<');
    VORN_XML_FILE_INPUT_SOURCE missing(dir.path + "/doc.xml");
    EXPECT_TRUE(!missing.is_open && missing.xml_file == nullptr);
}

// Streaming sources have buffers of their own: two read by turns each get
// their own bytes, across several chunks.  Failures are kept as errno (the
// tool reports a missing file from it).
TEST(input_source, stream_sources_read_by_turns_and_keep_their_errors)
{
    vorn_test::TEMP_DIR dir;
    std::string bytes(3 * VORN_XML_STREAM_INPUT_SOURCE::chunk_size + 7, 'x');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>('a' + i % 26);
    const std::string reversed(bytes.rbegin(), bytes.rend());
    VORN_XML_STREAM_INPUT_SOURCE forward(dir.write("f.xml", bytes));
    const int fd = ::open(dir.write("r.xml", reversed).c_str(), O_RDONLY);
    {
        VORN_XML_STREAM_INPUT_SOURCE backward(fd, false);
        std::string got_forward, got_backward;
        for (int c = 0; c != -1;) {
            if ((c = forward.get_next_char()) != -1)
                got_forward += static_cast<char>(c);
            if ((c = backward.get_next_char()) != -1)
                got_backward += static_cast<char>(c);
        }
        EXPECT_TRUE(got_forward == bytes && got_backward == reversed);
        EXPECT_EQ(forward.get_error() + backward.get_error(), 0);
    }
    EXPECT_EQ(::close(fd), 0);  // not owned: still open

    VORN_XML_STREAM_INPUT_SOURCE folder(dir.path);
    EXPECT_TRUE(folder.is_open && folder.get_next_char() == -1 && folder.get_error() == EISDIR);
}
