#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace quorvel {

struct ByteRange {
    std::int64_t offset = 0;
    std::int64_t length = 0;
};

// The entries of an AppleDouble sidecar or an AppleSingle file that matter here.
struct AppleEntries {
    bool single = false;                   // AppleSingle: the file holds its own data fork
    std::optional<ByteRange> dataFork;     // entry 1
    std::optional<ByteRange> resourceFork; // entry 2
    std::optional<ByteRange> finderInfo;   // entry 9, its first four bytes the file type
    std::optional<std::int64_t> created;   // entry 8's creation date, seconds since 1970 (UTC)
};

// Reads the header and entry table from `head`, the first bytes of a container that is
// `containerSize` bytes long. Nothing when the magic or version is not AppleDouble's or
// AppleSingle's, the table runs past `head`, or an entry lies outside the container.
std::optional<AppleEntries> parseAppleEntries(std::span<const std::uint8_t> head, std::int64_t containerSize);

} // namespace quorvel
