#include "core/io/writeAll.hpp"

#include <cerrno>
#include <system_error>
#include <unistd.h>

namespace quorvel {

std::string writeAll(int fd, std::span<const std::uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return std::generic_category().message(written < 0 ? errno : EIO);
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return {};
}

} // namespace quorvel
