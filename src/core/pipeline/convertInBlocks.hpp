#pragma once

#include "core/pipeline/convertOneNative.hpp"

namespace quorvel {

// convertOneNative block after block: decode, resample (one libsoxr stream per channel,
// kept across blocks and flushed at the end), map channels, quantise and write, with the
// channels on threads of their own. Memory does not grow with the file: normalisation
// streams the source again for each of its measurements instead of holding the audio. The
// bytes written are those of the whole-buffer stages.
ConversionResult convertInBlocks(ByteView data, const OutputTarget& to, SourceFormat format,
                                 std::int64_t srcRate, std::int64_t srcChannels, std::int64_t targetRate,
                                 std::int64_t outChannels, std::int64_t targetDepth, bool normalizeLoudness);

// The same for a split-stereo pair: its mono halves become the left and right channels, the
// shorter padded with silence to the longer, exactly as if they had been one stereo file.
ConversionResult convertPairInBlocks(ByteView left, ByteView right, const OutputTarget& to,
                                     SourceFormat format, std::int64_t srcRate, std::int64_t targetRate,
                                     std::int64_t outChannels, std::int64_t targetDepth, bool normalizeLoudness);

} // namespace quorvel
