#pragma once

#include "core/detection/decodeSample.hpp"

#include <cstdint>
#include <optional>
#include <string_view>

namespace quorvel {

struct ChannelDetection {
    std::int64_t channels = 2;
    std::string_view confidence; // "too short", "silent/constant", "confident", "verify by ear"
    double corr = 0.0;           // r2 − r1; 0.0 for "too short", 1.0 for a constant prefix

    friend bool operator==(const ChannelDetection&, const ChannelDetection&) = default;
};

inline constexpr std::int64_t kChannelPrefixBytes = 12000000;

// The statistics of the analysed prefix that the decision rests on.
struct ChannelStatistics {
    double r1 = 0.0;                 // neighbour correlation
    double d = 0.0;                  // distance-two minus distance-one correlation
    std::optional<double> frameCorr; // even with following odd sample; absent when either is flat
    bool identicalFrames = false;    // every whole frame holds two equal samples
    std::optional<double> acrossFrameCorr; // odd with following even sample, across frames
    double peak = 1.0;                     // largest magnitude, as a fraction of full scale
};

// Closer than this, the distances do not tell mono from near-identical channels; further
// apart, they are a verdict the frames can only cast doubt on.
inline constexpr double kCloseDistances = 0.15;
// Near-identical channels: the tighter kind of neighbour pair (within or across frames)
// correlates above this, and leaves under half the distance from 1 the other kind does.
// In mono the two kinds are the same neighbours and score alike (ratio under 1.5 on real
// material).
inline constexpr double kTightPairsAbove = 0.8;
inline constexpr double kPairAsymmetry = 2.0;
// In mono both kinds of neighbour pair, within and across frames, are the same neighbours
// and correlate alike (under 0.05 apart on the corpus). Two channels that correlate with
// each other more than with their own next sample (hiss common to both) set them further
// apart than this, and a mono verdict is then no more than doubt.
inline constexpr double kFramesApart = 0.2;
// Read the right way, a prefix peaking below this (−70 dBFS) is dither and a whisper of
// signal: whatever the table says, it is not a confident answer.
inline constexpr double kNearlySilentPeak = 3.1623e-4;

// True when the samples pair up into frames of two near-identical channels.
bool nearIdenticalChannels(const ChannelStatistics& stats);

// The decision table alone, first matching rule wins.
ChannelDetection decideLayout(const ChannelStatistics& stats);

// The table's answer, labelled "silent/constant" when the prefix peaks below kNearlySilentPeak.
ChannelDetection decideChannels(const ChannelStatistics& stats);

// Mono or interleaved stereo, judged from the first 12 MB of the audible span (of all the
// data when it is silent) read in `format`.
ChannelDetection detectChannels(ByteView data, SourceFormat format);

} // namespace quorvel
