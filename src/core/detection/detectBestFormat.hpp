#pragma once

#include "core/detection/decodeSample.hpp"

#include <array>
#include <optional>

namespace quorvel {

// One score per SourceFormat, indexed in detection order.
using FormatScores = std::array<double, 4>;

struct FormatDetection {
    SourceFormat best = SourceFormat::s16be;
    FormatScores scores{};                       // smoothness of every candidate
    std::optional<FormatScores> channelScores;   // only when the winner scored below the recheck floor
};

// Below this the winner may be wide stereo read in the right encoding, or noise; the
// channel-aware scores then get a say.
inline constexpr double kChannelRecheckBelow = 0.5;

// Every candidate scored by `scorer` (smoothness or channelSmoothness).
FormatScores candidateScores(ByteView data, double (*scorer)(ByteView, SourceFormat));

// The candidate with the strictly highest score; ties go to the earlier candidate.
SourceFormat bestCandidate(const FormatScores& scores);

FormatDetection scoreFormats(ByteView data);

// The encoding in which the bytes make the smoothest waveform. Always one of the four.
inline SourceFormat detectBestFormat(ByteView data) { return scoreFormats(data).best; }

} // namespace quorvel
