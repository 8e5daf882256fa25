#pragma once

#include "core/detection/decodeSample.hpp"

#include <array>
#include <cstdint>

namespace quorvel {

inline constexpr std::int64_t kSmoothnessWindowBytes = 500000;
inline constexpr std::array<double, 4> kSmoothnessWindowFractions{0.03, 0.28, 0.52, 0.78};

// Where the window at `fraction` of the file starts: inside the file whenever the file is
// at least one window long, else at byte 0.
std::int64_t smoothnessWindowStart(std::int64_t byteCount, double fraction);

// Lag-1 correlation of one window, samples taken without regard to channels.
// −1.0 for fewer than 8 whole samples, 0.0 for a flat window.
double smoothnessWindow(ByteView data, SourceFormat format, std::int64_t startByte, std::int64_t byteCount);

// Best of four windows spread over the file's audible span (all of it when silent);
// −1.0 for fewer than 16 samples.
double smoothness(ByteView data, SourceFormat format);

// The largest sample magnitude in the windows smoothness scores, as a fraction of full
// scale; 1.0 for fewer than 16 samples, which can never pass for quiet. The scan stops once
// the peak reaches `enough` (the result is then at least that, and above zero), as only
// quiet readings need an exact peak.
double windowPeak(ByteView data, SourceFormat format, double enough = 1.0);

// The largest sample magnitude over the root mean square of the windows smoothness scores;
// 0.0 for fewer than 16 samples or all-zero windows.
double crestFactor(ByteView data, SourceFormat format);

// As smoothness, but each sample is correlated with the one two places later: in
// interleaved stereo that is the same channel's previous sample, so wide stereo whose
// channels barely relate still scores as smooth in its right encoding.
double channelSmoothness(ByteView data, SourceFormat format);

} // namespace quorvel
