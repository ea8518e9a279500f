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

// A block to read ahead into; false when there is no memory for one (the
// file is then read as asked).
bool make_block(std::unique_ptr<char[]>& block, int size)
{
    block.reset(new (std::nothrow) char[static_cast<size_t>(size)]);
    return block != nullptr;
}

}  // namespace

int VORN_FILE::read(char* buffer, int max)
{
    if (descriptor < 0 || buffer == nullptr || max < 0)
        return -1;
    // Other files (pipes, terminals) give what they have at the moment, and
    // are read as asked.
    if (!regular || max == 0)
        return static_cast<int>(read_from(descriptor, buffer, max));
    // A regular file gives every read all it asks for up to its end, so a
    // read is filled from the block read ahead and then, when that runs out
    // first, from the file: straight into `buffer` when at least a block is
    // still wanted, through a new block otherwise.  Only the end of the file
    // (or a failure) makes the count short.
    int done = 0;
    while (done < max) {
        if (ahead_pos == ahead_count) {
            if (max - done >= ahead_size || (!ahead && !make_block(ahead, ahead_size))) {
                const ssize_t got = read_from(descriptor, buffer + done, max - done);
                return done > 0 ? done + static_cast<int>(got > 0 ? got : 0) : static_cast<int>(got);
            }
            const ssize_t got = read_from(descriptor, ahead.get(), ahead_size);
            if (got <= 0)
                return done > 0 ? done : static_cast<int>(got);
            ahead_pos = 0;
            ahead_count = static_cast<int>(got);
        }
        const int count = std::min(max - done, ahead_count - ahead_pos);
        std::memcpy(buffer + done, ahead.get() + ahead_pos, static_cast<size_t>(count));
        ahead_pos += count;
        done += count;
    }
    return done;
}

long long VORN_FILE::get_size() const
{
    struct stat status {};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
        return -1;
    return static_cast<long long>(status.st_size);
}
