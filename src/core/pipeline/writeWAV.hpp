#pragma once

#include "core/pipeline/PcmBuffer.hpp"

#include <cstdint>
#include <filesystem>
#include <stdexcept>

namespace quorvel {

struct WriteError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// What to do when a file is already at the destination.
enum class ExistingFile {
    keep,    // take the next free name of its series: the user's files are never replaced
    replace, // for scratch files of our own, such as audition excerpts
};

// Writes the buffer as little-endian integer PCM of `bitDepth` (16, 24 or 32) bits, RF64
// when the data would pass 4 GiB. Samples are rounded to nearest and saturated, so audio
// that came from integers comes back bit-exact. The file appears under its final name only
// once complete. Returns the path written; throws WriteError.
std::filesystem::path writeWAV(const PcmBuffer& buffer, const std::filesystem::path& to, std::int64_t bitDepth,
                               ExistingFile existing = ExistingFile::keep);

} // namespace quorvel
