#include "core/io/readBytes.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorvel {

std::optional<FileBytes> readBytes(const std::filesystem::path& path, std::int64_t offset, std::int64_t maxLength,
                                   std::error_code* error)
{
    const auto failed = [&] {
        if (error)
            *error = std::error_code(errno, std::generic_category());
        return std::nullopt;
    };
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return failed();
    struct Closer {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{fd};
    struct stat info {};
    if (::fstat(fd, &info) != 0)
        return failed();
    if (!S_ISREG(info.st_mode) || offset < 0 || maxLength < 0)
        return std::nullopt;

    FileBytes result;
    result.fileSize = info.st_size;
    const std::int64_t wanted = std::max<std::int64_t>(0, std::min(maxLength, result.fileSize - offset));
    result.bytes.resize(static_cast<std::size_t>(wanted));
    std::int64_t got = 0;
    while (got < wanted) {
        const ssize_t n = ::pread(fd, result.bytes.data() + got, static_cast<std::size_t>(wanted - got), offset + got);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return failed();
        if (n == 0)
            break; // the file shrank: keep what was there
        got += n;
    }
    result.bytes.resize(static_cast<std::size_t>(got));
    return result;
}

} // namespace quorvel
