#include "core/detection/detectPair.hpp"

namespace quorvel {

namespace {

// A muted or near-empty half carries no evidence of its encoding.
bool isBlank(const FileDetection& half)
{
    return half.channels.confidence == "silent/constant" || half.channels.confidence == "too short";
}

std::string reading(const FileDetection& half)
{
    return std::string(half.used.shortText()) + (half.channels.channels == 1 ? " mono" : " stereo");
}

} // namespace

PairDetection detectPair(const FileDetection& left, const FileDetection& right, SourceFormatChoice choice)
{
    PairDetection pair{left, right, false, left.used, {}, {}};
    if (isBlank(left) && !isBlank(right))
        pair.format = right.used;
    const bool sameEncoding = left.used == right.used || isBlank(left) || isBlank(right);
    const bool bothMono = (left.channels.channels == 1 || isBlank(left)) && (right.channels.channels == 1 || isBlank(right));
    pair.agree = !choice.isAuto() || (sameEncoding && bothMono);
    if (!pair.agree) {
        pair.status = "L and R read differently — L " + reading(left) + ", R " + reading(right) +
                      "; pick the source format in Advanced";
        return pair;
    }
    // A blank half has nothing to say; otherwise the less certain half speaks for the pair.
    pair.confidence = isBlank(left)                                            ? right.channels.confidence
                                        : isBlank(right)                                         ? left.channels.confidence
                                        : left.channels.confidence == right.channels.confidence ? left.channels.confidence
                                                                                                 : "verify by ear";
    pair.status = std::string(pair.format.shortText()) + (choice.isAuto() ? " (auto)" : " (set)") + " · Stereo (L + R) · " +
                  std::string(pair.confidence);
    return pair;
}

} // namespace quorvel
