#pragma once

#include "core/detection/smoothness.hpp"

#include <cstdint>

namespace quorvel {

// The batch run's test for audio read in the wrong encoding: below this smoothness the
// data reads as static, and another encoding must score at least the correction floor
// to be taken instead.
inline constexpr double kStaticBelow = 0.2;
inline constexpr double kCorrectionAtLeast = 0.4;

// Static in `format`, with interleaved stereo judged channel by channel before it is
// called static. Reads the data: call it under guardedRead for a mapped file.
inline bool readsAsStatic(ByteView data, SourceFormat format, std::int64_t channels)
{
    if (smoothness(data, format) >= kStaticBelow)
        return false;
    return !(channels == 2 && channelSmoothness(data, format) >= kCorrectionAtLeast);
}

} // namespace quorvel
