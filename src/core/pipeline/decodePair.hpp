#pragma once

#include "core/pipeline/decodeToBuffer.hpp"

namespace quorvel {

// The mono halves of a split-stereo pair as one stereo buffer, left then right, decoded as
// decodeToBuffer does; the shorter half is padded with silence to the longer. nullptr when
// neither half holds a whole sample, or a half could not be read.
PcmBufferPtr decodePairToBuffer(ByteView left, ByteView right, SourceFormat format, std::int64_t sampleRate,
                                std::optional<std::int64_t> maxFrames = std::nullopt);

} // namespace quorvel
