#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

namespace quorvel {

// A small piece of a regular file, read without mapping it: up to `maxLength` bytes from
// `offset` (fewer at the file's end). Nothing for anything but a readable regular file; a
// FIFO or device is never waited on. When `error` is given it says why a read failed, and
// stays clear for a file that is not a regular one.
struct FileBytes {
    std::int64_t fileSize = 0;
    std::vector<std::uint8_t> bytes;
};
std::optional<FileBytes> readBytes(const std::filesystem::path& path, std::int64_t offset, std::int64_t maxLength,
                                   std::error_code* error = nullptr);

} // namespace quorvel
