#include "core/io/fileIdentity.hpp"

#include <sys/stat.h>

namespace quorvel {

FileIdentity fileIdentity(const std::filesystem::path& path)
{
    struct stat info {};
    if (::stat(path.c_str(), &info) == 0)
        return {static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino), {}};
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    return {0, 0, (error ? path : absolute).lexically_normal().string()};
}

} // namespace quorvel
