#pragma once

#include "core/pipeline/PcmBuffer.hpp"

#include <cstdint>
#include <filesystem>
#include <stdexcept>

namespace quorvel {

struct WriteError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Writes the buffer as little-endian integer PCM of `bitDepth` (16, 24 or 32) bits, RF64
// when the data would pass 4 GiB. Samples are rounded to nearest and saturated, so audio
// that came from integers comes back bit-exact. The file appears under `to` only once
// complete, and never replaces an existing file: if `to` was taken meanwhile, the next free
// name of its series is used. Returns the path written; throws WriteError.
std::filesystem::path writeWAV(const PcmBuffer& buffer, const std::filesystem::path& to, std::int64_t bitDepth);

} // namespace quorvel
