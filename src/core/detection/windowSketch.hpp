#pragma once

#include "core/detection/decodeSample.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace quorvel {

// A small picture of the audio in the windows smoothness scores, as one encoding reads it.
// Each window gives kColumnsPerWindow columns; a column holds the peak and RMS level of the
// even- and of the odd-numbered samples (a stereo reading's left and right), 255 being full
// scale. A right reading looks like music; a wrong one is a solid block of noise.
struct WindowSketch {
    static constexpr int kColumnsPerWindow = 16;
    static constexpr int kColumns = 4 * kColumnsPerWindow;
    struct Lane {
        std::array<std::uint8_t, kColumns> peak{}, rms{};
    };
    SourceFormat format = SourceFormat::s16be;
    std::array<Lane, 2> lanes; // even samples, odd samples

    // Both lanes as one: a mono reading's picture.
    Lane merged() const;
};

// A sketch reads one pair of samples in this many, a few percent of the scores' work.
inline constexpr std::int64_t kSketchStride = 8;

// Every reading a detection can settle on: the four candidates, and `described` (the file's
// own encoding) when it is none of them.
std::vector<WindowSketch> sketchReadings(ByteView data, std::optional<SourceFormat> described);

} // namespace quorvel
