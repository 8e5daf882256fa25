#include "core/io/SyncedLog.hpp"
#include "core/io/writeAll.hpp"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace quorvel {

namespace {
std::string lastError() { return std::generic_category().message(errno); }
} // namespace

SyncedLog::SyncedLog(const std::filesystem::path& path)
{
    fd_ = ::open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (fd_ < 0) {
        error_ = lastError();
        return;
    }
    struct stat info {};
    char last = '\n';
    if (::fstat(fd_, &info) != 0 || (info.st_size > 0 && ::pread(fd_, &last, 1, info.st_size - 1) != 1) ||
        (last != '\n' && !writeAll("\n"))) {
        error_ = error_.empty() ? lastError() : error_;
        ::close(std::exchange(fd_, -1));
        return;
    }
    // The file's own name must survive a crash as well as its lines.
    const std::filesystem::path folder = path.parent_path().empty() ? "." : path.parent_path();
    if (const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
}

SyncedLog::~SyncedLog()
{
    if (fd_ >= 0)
        ::close(fd_);
}

bool SyncedLog::writeAll(std::string_view bytes)
{
    error_ = quorvel::writeAll(fd_, {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    return error_.empty();
}

bool SyncedLog::append(std::string_view line)
{
    const std::lock_guard lock(mutex_);
    std::string whole(line);
    whole += '\n';
    if (!writeAll(whole))
        return false;
    if (::fsync(fd_) != 0) {
        error_ = lastError();
        return false;
    }
    return true;
}

} // namespace quorvel
