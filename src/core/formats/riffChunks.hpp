#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace quorvel {

// One chunk of a RIFF/WAVE or RF64 file: its four-character id and where its payload lies.
struct RiffChunk {
    std::string id;
    std::int64_t offset = 0; // of the payload, past the id and size
    std::int64_t size = 0;   // the payload's bytes, without the pad byte of an odd size
};

// Reads `out.size()` bytes at `offset`; false when they are not all there.
using ReadAt = std::function<bool(std::int64_t offset, std::span<std::uint8_t> out)>;

// The chunks of a WAVE file `fileSize` bytes long, in file order, read through `read`; an
// RF64 file's data size comes from its ds64 chunk. Nothing when it is not RIFF/WAVE or
// RF64/WAVE, or a chunk runs past the end of the file.
std::optional<std::vector<RiffChunk>> riffChunks(const ReadAt& read, std::int64_t fileSize);

// The same over bytes in memory.
std::optional<std::vector<RiffChunk>> riffChunks(std::span<const std::uint8_t> file);

} // namespace quorvel
