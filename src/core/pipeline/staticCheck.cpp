#include "core/pipeline/staticCheck.hpp"
#include "core/detection/detectBestFormat.hpp"

namespace quorvel {

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
