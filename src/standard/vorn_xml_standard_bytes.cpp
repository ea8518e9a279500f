// The raw bytes of each kind of source (see vorn_xml_standard_bytes.h).
#include "vorn_xml_standard_bytes.h"

#include <cerrno>
#include <typeinfo>

#include <unistd.h>

#include "vorn_xml_position.h"
#include "vorn_xml_stream.h"

namespace vorn_standard {
namespace {

// The source whose memory holds the bytes: a counting or tracking source
// hands out exactly what its inner source holds.
VORN_XML_SAX_INPUT_SOURCE& innermost(VORN_XML_SAX_INPUT_SOURCE& source)
{
    VORN_XML_SAX_INPUT_SOURCE* at = &source;
    for (;;) {
        if (typeid(*at) == typeid(VORN_XML_COUNTING_INPUT_SOURCE))
            at = static_cast<VORN_XML_COUNTING_INPUT_SOURCE*>(at)->inner;
        else if (typeid(*at) == typeid(VORN_XML_TRACKING_INPUT_SOURCE))
            at = &static_cast<VORN_XML_TRACKING_INPUT_SOURCE*>(at)->get_inner_source();
        else
            return *at;
    }
}

void read_file(VORN_XML_FILE_INPUT_SOURCE& file, std::string& out)
{
    if (file.buffer_pos < file.buffer_count)
        out.append(vorn_xml_buffer + file.buffer_pos, static_cast<std::size_t>(file.buffer_count - file.buffer_pos));
    file.buffer_pos = file.buffer_count;
    file.last_char = -1;
    if (file.xml_file == nullptr || !file.xml_file->is_open())
        return;
    const long long size = file.xml_file->get_size();
    if (size > 0)
        out.reserve(out.size() + static_cast<std::size_t>(size));
    constexpr int step = 64 * 1024;
    for (;;) {
        const std::size_t at = out.size();
        out.resize(at + step);
        const int count = file.xml_file->read(&out[at], step);
        out.resize(at + (count > 0 ? static_cast<std::size_t>(count) : 0));
        if (count <= 0)
            return;
    }
}

void read_stream(VORN_XML_STREAM_INPUT_SOURCE& stream, std::string& out)
{
    if (stream.buffer && stream.buffer_pos < stream.buffer_count)
        out.append(stream.buffer.get() + stream.buffer_pos,
                   static_cast<std::size_t>(stream.buffer_count - stream.buffer_pos));
    stream.buffer_pos = stream.buffer_count;
    const bool ended = stream.last_char == -1 && stream.buffer;
    stream.last_char = -1;
    if (ended || stream.fd < 0 || stream.error != 0)
        return;
    constexpr std::size_t step = VORN_XML_STREAM_INPUT_SOURCE::chunk_size;
    for (;;) {
        const std::size_t at = out.size();
        if (out.capacity() < at + step)
            out.reserve(2 * (at + step));
        out.resize(at + step);
        ssize_t count;
        do
            count = ::read(stream.fd, &out[at], step);
        while (count < 0 && errno == EINTR);
        if (count < 0)
            stream.error = errno;
        out.resize(at + (count > 0 ? static_cast<std::size_t>(count) : 0));
        if (count <= 0)
            return;
    }
}

}  // namespace

void read_source_bytes(VORN_XML_SAX_INPUT_SOURCE& source, SOURCE_BYTES& bytes)
{
    bytes.owned.clear();
    VORN_XML_SAX_INPUT_SOURCE& inner = innermost(source);
    const std::type_info& kind = typeid(inner);
    if (kind == typeid(VORN_XML_STRING_INPUT_SOURCE)) {
        auto& text = static_cast<VORN_XML_STRING_INPUT_SOURCE&>(inner);
        const std::size_t from = text.string_pos < text.xml_string.size() ? text.string_pos : text.xml_string.size();
        bytes.view = text.xml_string.c_str() + from;
        bytes.size = text.xml_string.size() - from;
        text.string_pos = static_cast<uint32_t>(text.xml_string.size());
        text.last_char = -1;
        return;
    }
    if (kind == typeid(VORN_XML_FILE_INPUT_SOURCE))
        read_file(static_cast<VORN_XML_FILE_INPUT_SOURCE&>(inner), bytes.owned);
    else if (kind == typeid(VORN_XML_STREAM_INPUT_SOURCE))
        read_stream(static_cast<VORN_XML_STREAM_INPUT_SOURCE&>(inner), bytes.owned);
    else
        for (int c = source.get_next_char(); c != -1; c = source.get_next_char())
            bytes.owned.push_back(static_cast<char>(c));
    bytes.view = bytes.owned.c_str();
    bytes.size = bytes.owned.size();
}

}  // namespace vorn_standard
