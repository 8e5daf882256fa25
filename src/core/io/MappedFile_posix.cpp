// POSIX implementation of MappedFile: the only place the core calls the OS directly.
#include "core/io/MappedFile.hpp"

#include <cerrno>
#include <system_error>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace quorvel {

namespace {
struct FileDescriptor {
    int fd;
    ~FileDescriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
};
} // namespace

MappedFile MappedFile::open(const std::filesystem::path& path)
{
    MappedFile file;
    // Non-blocking so that a FIFO or device named like an .sd2 file cannot hang the open.
    const FileDescriptor fd{::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)};
    if (fd.fd < 0) {
        file.error_ = std::generic_category().message(errno);
        return file;
    }
    struct stat info {};
    if (::fstat(fd.fd, &info) != 0) {
        file.error_ = std::generic_category().message(errno);
        return file;
    }
    if (S_ISDIR(info.st_mode)) {
        file.error_ = "Is a folder";
        return file;
    }
    if (!S_ISREG(info.st_mode)) {
        file.error_ = "Not a regular file";
        return file;
    }
    if (info.st_size == 0)
        return file;

    void* mapped = ::mmap(nullptr, static_cast<std::size_t>(info.st_size), PROT_READ, MAP_PRIVATE, fd.fd, 0);
    if (mapped == MAP_FAILED) {
        file.outOfMemory_ = errno == ENOMEM;
        file.error_ = std::generic_category().message(errno);
        return file;
    }
    file.data_ = static_cast<const std::uint8_t*>(mapped);
    file.size_ = static_cast<std::size_t>(info.st_size);
    return file;
}

MappedFile::MappedFile(MappedFile&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)), error_(std::move(other.error_)),
      outOfMemory_(other.outOfMemory_)
{
}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept
{
    if (this != &other) {
        release();
        data_ = std::exchange(other.data_, nullptr);
        size_ = std::exchange(other.size_, 0);
        error_ = std::move(other.error_);
        outOfMemory_ = other.outOfMemory_;
    }
    return *this;
}

MappedFile::~MappedFile() { release(); }

void releaseResidentPages(std::span<const std::uint8_t> bytes)
{
    const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const auto first = (reinterpret_cast<std::uintptr_t>(bytes.data()) + page - 1) / page * page;
    const auto last = (reinterpret_cast<std::uintptr_t>(bytes.data()) + bytes.size()) / page * page;
#ifdef MADV_PAGEOUT // non-destructive, unlike MADV_DONTNEED on anonymous memory
    if (last > first)
        ::madvise(reinterpret_cast<void*>(first), last - first, MADV_PAGEOUT);
#endif
}

void MappedFile::release() noexcept
{
    if (data_)
        ::munmap(const_cast<std::uint8_t*>(data_), size_);
    data_ = nullptr;
    size_ = 0;
}

} // namespace quorvel
