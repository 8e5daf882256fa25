// POSIX implementation of PartialFile.
#include "core/io/PartialFile.hpp"

#include <cerrno>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace quorvel {

namespace {
std::string lastError() { return std::generic_category().message(errno); }
} // namespace

PartialFile PartialFile::create(const std::filesystem::path& final)
{
    PartialFile file;
    std::string name = final.string() + ".partial-XXXXXX";
    file.fd_ = ::mkostemp(name.data(), O_CLOEXEC);
    if (file.fd_ < 0) {
        file.error_ = lastError();
        return file;
    }
    ::fchmod(file.fd_, 0644); // mkstemp makes it private; the output is an ordinary file
    file.path_ = name;
    return file;
}

PartialFile::PartialFile(PartialFile&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), path_(std::move(other.path_)), error_(std::move(other.error_))
{
    other.path_.clear();
}

PartialFile::~PartialFile()
{
    closeFd();
    if (!path_.empty())
        ::unlink(path_.c_str());
}

void PartialFile::closeFd()
{
    if (fd_ >= 0)
        ::close(fd_);
    fd_ = -1;
}

std::filesystem::path PartialFile::publish(
    std::filesystem::path target, const std::function<std::filesystem::path(const std::filesystem::path&)>& next)
{
    closeFd();
    for (;;) {
        // link() fails rather than replace an existing file, which rename() would not.
        if (::link(path_.c_str(), target.c_str()) == 0) {
            ::unlink(path_.c_str());
            path_.clear();
            return target;
        }
        if (errno == EEXIST) {
            target = next(target);
            continue;
        }
        if (errno != EPERM && errno != ENOTSUP && errno != EOPNOTSUPP && errno != EMLINK) {
            error_ = lastError();
            return {};
        }
        // File systems without hard links (FAT, some network shares): check, then rename.
        struct stat info {};
        if (::lstat(target.c_str(), &info) == 0) {
            target = next(target);
            continue;
        }
        if (::rename(path_.c_str(), target.c_str()) != 0) {
            error_ = lastError();
            return {};
        }
        path_.clear();
        return target;
    }
}

bool PartialFile::publishReplacing(const std::filesystem::path& target)
{
    closeFd();
    if (::rename(path_.c_str(), target.c_str()) != 0) {
        error_ = lastError();
        return false;
    }
    path_.clear();
    return true;
}

} // namespace quorvel
