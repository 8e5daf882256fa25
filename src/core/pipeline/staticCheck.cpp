#include "core/pipeline/staticCheck.hpp"
#include "core/detection/detectBestFormat.hpp"

namespace quorvel {

bool readsAsStatic(ByteView data, SourceFormat format, std::int64_t channels)
{
    if (smoothness(data, format) >= kStaticBelow)
        return false;
    if (channels == 2 && channelSmoothness(data, format) >= kCorrectionAtLeast)
        return false;
    return data.size() < kShortestAudio || !(windowPeak(data, format, kQuietPeakBelow) < kQuietPeakBelow);
}

EncodingCheck checkEncoding(ByteView data, SourceFormat inUse, std::int64_t channels, bool described)
{
    if (!readsAsStatic(data, inUse, channels))
        return {inUse};
    if (described)
        return {inUse, false, true};

    FormatScores scores = candidateScores(data, smoothness);
    SourceFormat best = bestCandidate(scores);
    if (channels == 2 && scores[best.index()] < kCorrectionAtLeast) {
        scores = candidateScores(data, channelSmoothness);
        best = bestCandidate(scores);
    }
    if (best != inUse && scores[best.index()] >= kCorrectionAtLeast)
        return {best, true};
    return {inUse, false, true};
}

} // namespace quorvel
