#include "core/detection/detectBestFormat.hpp"
#include "core/detection/audibleSpan.hpp"
#include "core/detection/smoothness.hpp"

#include <algorithm>

namespace quorvel {

FormatScores candidateScores(ByteView data, double (*scorer)(ByteView, SourceFormat))
{
    FormatScores scores{};
    for (SourceFormat candidate : SourceFormat::allCases())
        scores[candidate.index()] = scorer(data, candidate);
    return scores;
}

SourceFormat bestCandidate(const FormatScores& scores)
{
    SourceFormat best = SourceFormat::s16be;
    double bestScore = -2.0;
    for (SourceFormat candidate : SourceFormat::allCases()) {
        if (scores[candidate.index()] > bestScore) {
            best = candidate;
            bestScore = scores[candidate.index()];
        }
    }
    return best;
}

std::optional<SourceFormat> quietReading(const FormatScores& peaks)
{
    const SourceFormat quietest = bestCandidate({-peaks[0], -peaks[1], -peaks[2], -peaks[3]});
    if (!(peaks[quietest.index()] < kQuietPeakBelow))
        return std::nullopt;
    for (SourceFormat other : SourceFormat::allCases())
        if (other != quietest && !(peaks[quietest.index()] <= kQuietReadingRatio * peaks[other.index()]))
            return std::nullopt;
    return quietest;
}

FormatScores readingPeaks(ByteView data)
{
    // Loud readings stop at the first loud sample; only when one reading is quiet do the
    // others need reading on, up to 30 dB above it.
    FormatScores peaks{};
    for (SourceFormat candidate : SourceFormat::allCases())
        peaks[candidate.index()] = windowPeak(data, candidate, kQuietPeakBelow);
    const SourceFormat quietest = bestCandidate({-peaks[0], -peaks[1], -peaks[2], -peaks[3]});
    if (peaks[quietest.index()] < kQuietPeakBelow)
        for (SourceFormat other : SourceFormat::allCases())
            if (other != quietest)
                peaks[other.index()] = windowPeak(data, other, peaks[quietest.index()] / kQuietReadingRatio);
    return peaks;
}

bool clearVerdict(const FormatDetection& detection)
{
    return !detection.peaks || quietReading(*detection.peaks) == detection.best;
}

FormatDetection scoreFormats(ByteView data)
{
    // Probed once here rather than by every score; the audible part is its own audible span,
    // so the scores are the same.
    const ByteView audio = audiblePart(data).value_or(data);
    FormatDetection result;
    result.scores = candidateScores(audio, smoothness);
    result.best = bestCandidate(result.scores);

    const double winning = result.scores[result.best.index()];
    if (winning < kChannelRecheckBelow) {
        result.channelScores = candidateScores(audio, channelSmoothness);
        const SourceFormat channelBest = bestCandidate(*result.channelScores);
        if ((*result.channelScores)[channelBest.index()] > winning)
            result.best = channelBest;
    }

    // Open when the winner is weak or another candidate comes close; a clear verdict stands.
    const bool open = winning < kClearWinnerAbove ||
                      std::ranges::any_of(SourceFormat::allCases(), [&](SourceFormat c) {
                          return c != result.best && result.scores[c.index()] >= winning - kCloseScores;
                      });
    if (open) {
        result.peaks = readingPeaks(audio);
        const std::optional<SourceFormat> quiet = quietReading(*result.peaks);
        if (quiet && (winning < kClearWinnerAbove || result.scores[quiet->index()] >= winning - kCloseScores))
            result.best = *quiet;
    }
    return result;
}

} // namespace quorvel
