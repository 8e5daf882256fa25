#pragma once

#include "core/detection/decodeSample.hpp"

#include <cstdint>
#include <optional>
#include <string_view>

namespace quorvel {

struct ChannelDetection {
    std::int64_t channels = 2;
    std::string_view confidence; // "too short", "silent/constant", "confident", "verify by ear"
    double corr = 0.0;           // r2 − r1; 0.0 for "too short", 1.0 for "silent/constant"

    friend bool operator==(const ChannelDetection&, const ChannelDetection&) = default;
};

inline constexpr std::int64_t kChannelPrefixBytes = 12000000;

// The statistics of the analysed prefix that the decision rests on.
struct ChannelStatistics {
    double r1 = 0.0;                 // neighbour correlation
    double d = 0.0;                  // distance-two minus distance-one correlation
    std::optional<double> frameCorr; // even with following odd sample; absent when either is flat
    bool identicalFrames = false;    // every whole frame holds two equal samples
};

// The decision table alone, first matching rule wins.
ChannelDetection decideChannels(const ChannelStatistics& stats);

// Mono or interleaved stereo, judged from the first 12 MB of the audible span (of all the
// data when it is silent) read in `format`.
ChannelDetection detectChannels(ByteView data, SourceFormat format);

} // namespace quorvel
