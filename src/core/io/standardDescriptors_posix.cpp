// POSIX implementation of openClosedStandardDescriptors.
#include "core/io/standardDescriptors.hpp"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace quorvel {

void openClosedStandardDescriptors()
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (::fcntl(fd, F_GETFD) != -1 || errno != EBADF)
            continue;
        // open() takes the lowest free descriptor, which is this one: those below are open.
        const int null = ::open("/dev/null", O_RDWR);
        if (null >= 0 && null != fd) {
            ::dup2(null, fd);
            ::close(null);
        }
    }
}

} // namespace quorvel
