#pragma once

#include "core/detection/decodeSample.hpp"
#include "core/pipeline/PcmBuffer.hpp"

#include <cstdint>
#include <optional>

namespace quorvel {

// Raw interleaved samples to a float buffer stamped with `sampleRate`, scaled by 2^-(bits − 1)
// (exact up to 24 bits). A trailing partial frame is ignored. nullptr
// when there is not one whole frame (or maxFrames < 1) or channels < 1.
PcmBufferPtr decodeToBuffer(ByteView data, SourceFormat format, std::int64_t sampleRate, std::int64_t channels,
                            std::optional<std::int64_t> maxFrames = std::nullopt);

} // namespace quorvel
