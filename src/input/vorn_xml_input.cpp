#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "vorn_xml_input.h"

char vorn_xml_buffer[4096];

namespace {
// A chunk fills at most this much of vorn_xml_buffer; a NUL follows it.
constexpr int chunk_size = 4095;
}  // namespace

VORN_XML_SAX_INPUT_SOURCE::~VORN_XML_SAX_INPUT_SOURCE() = default;

// --- file source ------------------------------------------------------------

VORN_XML_FILE_INPUT_SOURCE::VORN_XML_FILE_INPUT_SOURCE()
    : xml_file(new VORN_FILE), last_char(0), buffer_pos(0), buffer_count(0)
{
}

VORN_XML_FILE_INPUT_SOURCE::VORN_XML_FILE_INPUT_SOURCE(const std::string& path) : VORN_XML_FILE_INPUT_SOURCE()
{
    is_open = open_xml_file(path);
}

VORN_XML_FILE_INPUT_SOURCE::~VORN_XML_FILE_INPUT_SOURCE()
{
    if (xml_file != nullptr) {
        close_xml_file();
        delete xml_file;
        xml_file = nullptr;
    }
}

bool VORN_XML_FILE_INPUT_SOURCE::open_xml_file(const std::string& path)
{
    if (trim_right(path).empty())
        return false;
    const bool opened = xml_file->open(path, VORN_FILE::OPEN_READ_ONLY | VORN_FILE::OPEN_TEXT_MODE);
    if (!opened) {
        delete xml_file;
        xml_file = nullptr;
    }
    return opened;
}

bool VORN_XML_FILE_INPUT_SOURCE::close_xml_file()
{
    xml_file->close();
    return true;
}

int VORN_XML_FILE_INPUT_SOURCE::get_next_char()
{
    if (buffer_pos < 0 || last_char == -1)
        return last_char;
    if (buffer_pos < buffer_count) {
        last_char = vorn_xml_buffer[buffer_pos];
        ++buffer_pos;
        return last_char;
    }
    return read_next_chunk();
}

// Kept out of line so that the per-character path above stays a handful of
// instructions without a stack frame.
__attribute__((noinline)) int VORN_XML_FILE_INPUT_SOURCE::read_next_chunk()
{
    buffer_count = xml_file->read(vorn_xml_buffer, chunk_size);
    if (buffer_count >= 1) {
        vorn_xml_buffer[buffer_count] = '\0';
        // The chunk goes in as a C string: an embedded NUL ends what is kept.
        const std::size_t length = std::strlen(vorn_xml_buffer);
        make_room(length);
        xml_text.append(vorn_xml_buffer, length);
        last_char = vorn_xml_buffer[0];
        buffer_pos = 1;
    } else {
        vorn_xml_buffer[0] = '\0';
        last_char = -1;
    }
    return last_char;
}

// Room in xml_text for `length` more bytes.  A regular file of up to
// whole_file_room bytes gets room for all of it with its first chunk: the
// text is then never moved, and no grown-out buffer is left behind in the
// heap (its pages stay resident and the tree's strings fill it unevenly); the
// pages of the room that are not read yet are not touched.  Otherwise the
// text grows with what was read, four times over at each step (fewer copies
// of a long text than the string's own doubling), and never beyond the size
// of the file while what was read fits in it, so that a huge file of which
// little is read costs little.
void VORN_XML_FILE_INPUT_SOURCE::make_room(std::size_t length)
{
    constexpr unsigned long long whole_file_room = 256ULL << 20;
    const std::size_t needed = xml_text.size() + length;
    if (needed <= xml_text.capacity())
        return;
    std::size_t room = std::max(needed, 4 * xml_text.capacity());
    const long long size = xml_file->get_size();
    if (size > 0 && static_cast<unsigned long long>(size) >= needed &&
        (room > static_cast<unsigned long long>(size) || static_cast<unsigned long long>(size) <= whole_file_room))
        room = static_cast<std::size_t>(size);
    xml_text.reserve(room);
}

// --- string source ----------------------------------------------------------

VORN_XML_STRING_INPUT_SOURCE::VORN_XML_STRING_INPUT_SOURCE(const std::string& text)
    : xml_string(text), last_char(0), string_pos(0)
{
    is_open = true;
}

VORN_XML_STRING_INPUT_SOURCE::VORN_XML_STRING_INPUT_SOURCE(std::string&& text)
    : xml_string(std::move(text)), last_char(0), string_pos(0)
{
    is_open = true;
}

VORN_XML_STRING_INPUT_SOURCE::~VORN_XML_STRING_INPUT_SOURCE() = default;

int VORN_XML_STRING_INPUT_SOURCE::get_next_char()
{
    if (last_char == -1)
        return -1;
    if (string_pos < xml_string.size() && string_pos != UINT32_MAX) {
        const char c = xml_string[string_pos];
        ++string_pos;
        last_char = c;
        if (c != -1)
            return c;
    }
    return end_of_text();
}

// The end (or a byte 0xFF): the delivered text, cut before a byte 0xFF that
// ended it, moves over to xml_text, so the source holds one copy of it, and
// the source stays at the end from now on.  Out of line so that the
// per-character path above needs no stack frame.
__attribute__((noinline)) int VORN_XML_STRING_INPUT_SOURCE::end_of_text()
{
    std::string::size_type delivered = string_pos;
    if (last_char == -1)
        --delivered;  // string_pos has moved past the byte 0xFF
    if (delivered < xml_string.size())
        xml_string.resize(delivered);
    if (xml_text.empty())
        xml_text.swap(xml_string);
    else
        xml_text.append(xml_string);
    std::string().swap(xml_string);
    last_char = -1;
    return -1;
}
