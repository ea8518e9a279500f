#include <cerrno>

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
    return fd >= 0;
}

void VORN_FILE::close()
{
    if (descriptor >= 0) {
        ::close(descriptor);
        descriptor = -1;
    }
}

bool VORN_FILE::is_open() const
{
    return descriptor >= 0;
}

int VORN_FILE::read(char* buffer, int max)
{
    if (descriptor < 0 || buffer == nullptr || max < 0)
        return -1;
    ssize_t got = -1;
    do {
        got = ::read(descriptor, buffer, static_cast<size_t>(max));
    } while (got < 0 && errno == EINTR);
    return static_cast<int>(got);
}

long long VORN_FILE::get_size() const
{
    struct stat status {};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
        return -1;
    return static_cast<long long>(status.st_size);
}
