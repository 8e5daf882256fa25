#pragma once

#include "core/detection/decodeSample.hpp"
#include "core/pipeline/writeWAV.hpp"

#include <cstdint>
#include <filesystem>

namespace quorvel {

// 32-bit big-endian integer samples written unchanged as a 32-bit WAV at their own rate
// and layout: single precision cannot carry 32 bits, so this case never goes through the
// float buffer. A trailing partial frame is dropped. Same naming and publishing as
// writeWAV; the bytes read are hashed into the target's first source. Throws WriteError.
struct PassedThrough {
    std::filesystem::path written;
    OutputFacts facts;
};
PassedThrough writeWAVPassThrough(ByteView s32be, std::int64_t rate, std::int64_t channels,
                                          const OutputTarget& to);

} // namespace quorvel
