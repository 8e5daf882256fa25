#pragma once

#include "core/detection/smoothness.hpp"

#include <cstddef>
#include <cstdint>

namespace quorvel {

// The batch run's test for audio read in the wrong encoding: below this smoothness the
// data reads as static, and another encoding must score at least the correction floor
// to be taken instead.
inline constexpr double kStaticBelow = 0.2;
inline constexpr double kCorrectionAtLeast = 0.4;
// Sixteen samples of the widest encoding: less cannot be scored in every encoding, nor
// called quiet.
inline constexpr std::size_t kShortestAudio = 16 * 3;

// Static in `format`: loud noise, with interleaved stereo judged channel by channel before
// it is called static. A quiet reading (peaking under kQuietPeakBelow, −50 dBFS) is not:
// room tone, a fade's tail or a cue brought down 80 dB is dither and a whisper of signal,
// which scores as rough as noise. Reads the data: call it under guardedRead for a mapped file.
bool readsAsStatic(ByteView data, SourceFormat format, std::int64_t channels);

// What the batch run converts in, decided before anything is written.
struct EncodingCheck {
    SourceFormat format;        // the encoding to convert in
    bool corrected = false;     // `format` replaced an encoding in use that read as static
    bool readsAsStatic = false; // no encoding reads as audio: refused, unless silence or evidence
};

// The encoding in use stands unless it reads as static (stereo channel by channel). Then a
// description the file's own metadata gave (`described`) is kept all the same, since a
// reading that is merely less noisy is no evidence against it; otherwise the smoothest
// encoding is taken when it reaches the correction floor, for stereo channel by channel
// when even the smoothest interleaved reading falls short, as detection judges it. Reads
// the data: call it under guardedRead for a mapped file.
EncodingCheck checkEncoding(ByteView data, SourceFormat inUse, std::int64_t channels, bool described);

} // namespace quorvel
