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

// What the batch run converts in, decided before anything is written.
struct EncodingCheck {
    SourceFormat format;        // the encoding to convert in
    bool corrected = false;     // `format` replaced an encoding in use that read as static
    bool readsAsStatic = false; // no encoding reads as audio: refuse, unless it is silence
};

// The encoding in use stands unless it reads as static (stereo channel by channel). Then a
// description the file's own metadata gave (`described`) is kept all the same, since a
// reading that is merely less noisy is no evidence against it; otherwise the smoothest
// encoding is taken when it reaches the correction floor, for stereo channel by channel
// when even the smoothest interleaved reading falls short, as detection judges it. Reads
// the data: call it under guardedRead for a mapped file.
EncodingCheck checkEncoding(ByteView data, SourceFormat inUse, std::int64_t channels, bool described);

} // namespace quorvel
