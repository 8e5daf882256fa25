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

std::optional<SourceFormat> crestReading(const FormatScores& crests, const FormatScores& scores, SourceFormat smoothest)
{
    const auto contends = [&](SourceFormat c) { return c == smoothest || closeTo(scores, smoothest, c); };
    std::optional<SourceFormat> peakiest;
    for (SourceFormat c : SourceFormat::allCases())
        if (contends(c) && (!peakiest || crests[c.index()] > crests[peakiest->index()]))
            peakiest = c;
    if (!(crests[peakiest->index()] > 0.0))
        return std::nullopt;
    for (SourceFormat other : SourceFormat::allCases())
        if (other != *peakiest && contends(other) && !(crests[peakiest->index()] >= kCrestRatio * crests[other.index()]))
            return std::nullopt;
    return peakiest;
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

bool closeTo(const FormatScores& scores, SourceFormat winner, SourceFormat other)
{
    const double top = scores[winner.index()];
    return top < kClearWinnerAbove || scores[other.index()] >= top - kCloseScores;
}

bool openChoice(const FormatScores& scores, SourceFormat winner)
{
    return std::ranges::any_of(SourceFormat::allCases(),
                               [&](SourceFormat c) { return c != winner && closeTo(scores, winner, c); });
}

bool clearVerdict(const FormatDetection& detection)
{
    if (detection.peaks && quietReading(*detection.peaks) == detection.best)
        return true;
    // Judged on the scores that chose: the channel-aware ones when they took over.
    return !openChoice(detection.channelsChose ? *detection.channelScores : detection.scores, detection.best);
}

FormatDetection scoreFormats(ByteView data)
{
    // Probed once here rather than by every score; the audible part is its own audible span,
    // so the scores are the same.
    const ByteView audio = audiblePart(data).value_or(data);
    FormatDetection result;
    result.scores = candidateScores(audio, smoothness);
    result.best = bestCandidate(result.scores);

    const SourceFormat smoothest = result.best;
    const double winning = result.scores[smoothest.index()];
    if (winning < kChannelRecheckBelow) {
        result.channelScores = candidateScores(audio, channelSmoothness);
        const SourceFormat channelBest = bestCandidate(*result.channelScores);
        result.channelsChose = (*result.channelScores)[channelBest.index()] > winning;
        if (result.channelsChose)
            result.best = channelBest;
    }

    // A reading far quieter than the others, or else far peakier, settles a choice the
    // neighbour scores leave open; a clear verdict stands.
    if (openChoice(result.scores, smoothest)) {
        result.peaks = readingPeaks(audio);
        const std::optional<SourceFormat> quiet = quietReading(*result.peaks);
        if (quiet && closeTo(result.scores, smoothest, *quiet)) {
            result.best = *quiet;
        } else {
            result.crests = candidateScores(audio, crestFactor);
            if (const std::optional<SourceFormat> peaky = crestReading(*result.crests, result.scores, smoothest))
                result.best = *peaky;
        }
    }
    return result;
}

} // namespace quorvel
