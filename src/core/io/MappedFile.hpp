#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace quorvel {

// A whole file mapped read-only: large files cost address space, not copies.
// Move-only; unmaps on destruction. On failure bytes() is empty and error() says why.
class MappedFile {
public:
    static MappedFile open(const std::filesystem::path& path);

    MappedFile(MappedFile&& other) noexcept;
    MappedFile& operator=(MappedFile&& other) noexcept;
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    ~MappedFile();

    bool ok() const { return error_.empty(); }
    const std::string& error() const { return error_; }
    // The file is there, but no address space was left to map it.
    bool outOfMemory() const { return outOfMemory_; }
    std::span<const std::uint8_t> bytes() const { return {data_, size_}; }

private:
    MappedFile() = default;
    void release() noexcept;

    const std::uint8_t* data_ = nullptr;
    std::size_t size_ = 0;
    std::string error_;
    bool outOfMemory_ = false;
};

// Asks the system to page out a range that has been read through; the contents stay
// valid (file pages are read again if touched), so any memory may be passed. Keeps a
// conversion's peak memory to its audio buffers rather than buffers plus source.
void releaseResidentPages(std::span<const std::uint8_t> bytes);

} // namespace quorvel
