#include "vorn_xml_stream.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

VORN_XML_STREAM_INPUT_SOURCE::VORN_XML_STREAM_INPUT_SOURCE(const std::string& path)
    : last_char(0), buffer_pos(0), buffer_count(0), fd(-1), owns_fd(true), error(0)
{
    do
        fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    while (fd < 0 && errno == EINTR);
    if (fd < 0)
        error = errno;
    is_open = fd >= 0;
}

VORN_XML_STREAM_INPUT_SOURCE::VORN_XML_STREAM_INPUT_SOURCE(int descriptor, bool take_ownership)
    : last_char(0), buffer_pos(0), buffer_count(0), fd(descriptor), owns_fd(take_ownership), error(0)
{
    if (fd < 0) {
        error = EBADF;
        fd = -1;
    }
    is_open = fd >= 0;
}

VORN_XML_STREAM_INPUT_SOURCE::~VORN_XML_STREAM_INPUT_SOURCE()
{
    if (owns_fd && fd >= 0)
        ::close(fd);
}

int VORN_XML_STREAM_INPUT_SOURCE::get_next_char()
{
    if (last_char == -1)
        return -1;
    if (buffer_pos < buffer_count) {
        last_char = buffer[buffer_pos];
        ++buffer_pos;
        return last_char;
    }
    return read_next_chunk();
}

// Out of line so that the per-character path above needs no stack frame.
__attribute__((noinline)) int VORN_XML_STREAM_INPUT_SOURCE::read_next_chunk()
{
    if (fd < 0) {
        last_char = -1;
        return -1;
    }
    if (!buffer)
        buffer.reset(new char[chunk_size + 1]);
    ssize_t count;
    do
        count = ::read(fd, buffer.get(), chunk_size);
    while (count < 0 && errno == EINTR);
    if (count <= 0) {
        if (count < 0)
            error = errno;
        buffer_pos = 0;
        buffer_count = 0;
        buffer[0] = '\0';
        last_char = -1;
        return -1;
    }
    buffer_count = static_cast<int32_t>(count);
    buffer[buffer_count] = '\0';
    last_char = buffer[0];
    buffer_pos = 1;
    return last_char;
}
