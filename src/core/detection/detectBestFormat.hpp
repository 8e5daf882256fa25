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
    std::optional<FormatScores> crests;          // crestFactor, only when the peaks did not settle it
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

// Read the right way, audio's loud moments stand far above its average level; read any
// other way, bytes that vary freely land on top of each sample and the reading is as even
// as white noise (a crest factor near 1.7). Noise-like material (hi-hats, maracas) scores
// low and close in every encoding, yet its crest factor still tells the readings apart.
// One candidate in contention with twice the crest factor of every other takes the choice.
inline constexpr double kCrestRatio = 2.0;

// Every candidate's windowPeak, read only as far as quietReading needs: exact for the
// quietest reading when it is quiet, at least the level that matters for the others.
FormatScores readingPeaks(ByteView data);

// The candidate peaking below kQuietPeakBelow and at most kQuietReadingRatio of every
// other candidate's peak.
std::optional<SourceFormat> quietReading(const FormatScores& peaks);

// Among the candidates closeTo `smoothest` in `scores` (and itself), the one whose crest
// factor is at least kCrestRatio times every other's.
std::optional<SourceFormat> crestReading(const FormatScores& crests, const FormatScores& scores, SourceFormat smoothest);

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
// leave the choice open, a reading far quieter than the others wins it, or else one with
// a far higher crest factor.
FormatDetection scoreFormats(ByteView data);

// The encoding in which the bytes make the smoothest waveform. Always one of the four.
inline SourceFormat detectBestFormat(ByteView data) { return scoreFormats(data).best; }

} // namespace quorvel
