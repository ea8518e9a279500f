#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "vorn_companion.h"

VORN_FILE::~VORN_FILE()
{
    close();
}

bool VORN_FILE::open(const std::string& path, int flags)
{
    (void)flags;  // reading is all this class does; text mode is binary here
    close();
    int fd = -1;
    do {
        fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    descriptor = fd;
    struct stat status {};
    regular = fd >= 0 && ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
    return fd >= 0;
}

void VORN_FILE::close()
{
    if (descriptor >= 0) {
        ::close(descriptor);
        descriptor = -1;
    }
    regular = false;
    ahead.reset();
    ahead_pos = ahead_count = 0;
}

bool VORN_FILE::is_open() const
{
    return descriptor >= 0;
}

namespace {

ssize_t read_from(int descriptor, char* buffer, int max)
{
    ssize_t got = -1;
    do {
        got = ::read(descriptor, buffer, static_cast<size_t>(max));
    } while (got < 0 && errno == EINTR);
    return got;
}

}  // namespace

int VORN_FILE::read(char* buffer, int max)
{
    if (descriptor < 0 || buffer == nullptr || max < 0)
        return -1;
    // A regular file gives every read all it asks for up to its end, so
    // reading it ahead hands out the same bytes in the same counts.  Other
    // files (pipes, terminals) give what they have at the moment, and are
    // read as asked.
    if (!regular || max == 0 || (ahead_pos == ahead_count && max >= ahead_size))
        return static_cast<int>(read_from(descriptor, buffer, max));
    if (ahead_pos == ahead_count) {
        if (!ahead) {
            ahead.reset(new (std::nothrow) char[ahead_size]);
            if (!ahead)
                return static_cast<int>(read_from(descriptor, buffer, max));
        }
        const ssize_t got = read_from(descriptor, ahead.get(), ahead_size);
        if (got <= 0)
            return static_cast<int>(got);
        ahead_pos = 0;
        ahead_count = static_cast<int>(got);
    }
    const int count = std::min(max, ahead_count - ahead_pos);
    std::memcpy(buffer, ahead.get() + ahead_pos, static_cast<size_t>(count));
    ahead_pos += count;
    return count;
}

long long VORN_FILE::get_size() const
{
    struct stat status {};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
        return -1;
    return static_cast<long long>(status.st_size);
}
