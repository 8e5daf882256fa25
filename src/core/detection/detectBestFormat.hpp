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
    bool channelsChose = false;                  // the channel scores picked best
    std::optional<FormatScores> peaks;           // readingPeaks, only when the scores left the choice open
};

// Below this the winner may be wide stereo read in the right encoding, or noise; the
// channel-aware scores then get a say.
inline constexpr double kChannelRecheckBelow = 0.5;
// A winner below this, or a runner-up this close, leaves the choice open: quiet 16-bit
// data read byte-swapped is the same waveform 256 times louder and scores just as smooth,
// and noise-like material (hi-hats, maracas) scores low and close in every encoding.
inline constexpr double kClearWinnerAbove = 0.6;
inline constexpr double kCloseScores = 0.2;
// Read the right way, quiet data's top byte is sign extension (0x00 or 0xFF) and it peaks
// low; read any other way its varying low bytes land on top and it peaks near full scale.
// A reading 30 dB quieter than every other is that evidence, provided it is quiet itself
// (below −50 dBFS): 16-bit audio padded to 24 bits and read byte-reversed has a zero top
// byte too, but its middle byte varies and it peaks at −42 dBFS.
inline constexpr double kQuietReadingRatio = 0.0316;
inline constexpr double kQuietPeakBelow = 0.00316;

// Every candidate's windowPeak, read only as far as quietReading needs: exact for the
// quietest reading when it is quiet, at least the level that matters for the others.
FormatScores readingPeaks(ByteView data);

// The candidate peaking below kQuietPeakBelow and at most kQuietReadingRatio of every
// other candidate's peak.
std::optional<SourceFormat> quietReading(const FormatScores& peaks);

// Every candidate scored by `scorer` (smoothness or channelSmoothness).
FormatScores candidateScores(ByteView data, double (*scorer)(ByteView, SourceFormat));

// The candidate with the strictly highest score; ties go to the earlier candidate.
SourceFormat bestCandidate(const FormatScores& scores);

// True when `other` scores close enough to `winner` to leave the choice open, or the
// winner itself is weak.
bool closeTo(const FormatScores& scores, SourceFormat winner, SourceFormat other);
// True when any other candidate is closeTo the winner.
bool openChoice(const FormatScores& scores, SourceFormat winner);

// True when a quiet reading settled the choice, or the scores that chose (the channel-aware
// ones when they took over) left it in no doubt.
bool clearVerdict(const FormatDetection& detection);

// The smoothest candidate (channel by channel when even it scores low); when the scores
// leave the choice open, a reading far quieter than the others wins it.
FormatDetection scoreFormats(ByteView data);

// The encoding in which the bytes make the smoothest waveform. Always one of the four.
inline SourceFormat detectBestFormat(ByteView data) { return scoreFormats(data).best; }

} // namespace quorvel
