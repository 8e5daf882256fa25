#include "core/detection/detectBestFormat.hpp"
#include "core/detection/smoothness.hpp"

namespace quorvel {

namespace {
template <class Scorer>
FormatScores scoreAll(ByteView data, Scorer scorer)
{
    FormatScores scores{};
    for (SourceFormat candidate : SourceFormat::allCases())
        scores[candidate.index()] = scorer(data, candidate);
    return scores;
}
} // namespace

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
    FormatDetection result;
    result.scores = scoreAll(data, smoothness);
    result.best = bestCandidate(result.scores);

    const double winning = result.scores[result.best.index()];
    if (winning < kChannelRecheckBelow) {
        result.channelScores = scoreAll(data, channelSmoothness);
        const SourceFormat channelBest = bestCandidate(*result.channelScores);
        if ((*result.channelScores)[channelBest.index()] > winning)
            result.best = channelBest;
    }
    return result;
}

} // namespace quorvel
