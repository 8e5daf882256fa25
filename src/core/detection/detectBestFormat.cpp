#include "core/detection/detectBestFormat.hpp"
#include "core/detection/audibleSpan.hpp"
#include "core/detection/smoothness.hpp"

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
    return result;
}

} // namespace quorvel
