#include "core/detection/detectPair.hpp"
#include "core/detection/detectSource.hpp"
#include "core/formats/OutputOptions.hpp"
#include "core/io/MappedFile.hpp"

namespace quorvel {

namespace {

bool isBlank(const FileDetection& half)
{
    return half.channels.confidence == "silent/constant" || half.channels.confidence == "too short";
}

// A muted or near-empty half carries no evidence of its encoding, and a quiet one (a fade's
// tail, a mic left open) none against a half that is not: it is judged by its other half.
bool hasNoSay(const FileDetection& half, const FileDetection& other)
{
    return isBlank(half) || (half.quiet && !other.quiet && !isBlank(other));
}

std::optional<std::int64_t> describedRate(const FileDetection& half) { return half.source.rate(); }

std::string reading(const FileDetection& half)
{
    std::string text = std::string(half.used.shortText()) + (half.channels.channels == 1 ? " mono" : " stereo");
    if (const auto rate = describedRate(half)) {
        text += ' ';
        text += khz(*rate);
    }
    return text;
}

} // namespace

PairDetection detectPair(const FileDetection& left, const FileDetection& right, SourceFormatChoice choice)
{
    PairDetection pair{left, right, false, left.used, describedRate(left), {}, {}};
    const bool mute[2] = {hasNoSay(left, right), hasNoSay(right, left)};
    if (mute[0] && !mute[1])
        pair.format = right.used;
    if (!pair.rate)
        pair.rate = describedRate(right);
    const bool sameEncoding = left.used == right.used || mute[0] || mute[1];
    const bool bothMono = (left.channels.channels == 1 || mute[0]) && (right.channels.channels == 1 || mute[1]);
    const bool sameRate = !describedRate(left) || !describedRate(right) || describedRate(left) == describedRate(right);
    pair.agree = sameRate && (!choice.isAuto() || (sameEncoding && bothMono));
    if (!pair.agree) {
        pair.status = std::string("L and R read differently — L ") + reading(left) + ", R " + reading(right) +
                      (sameRate ? "; pick the source format in Advanced" : "; split them to bounce each at its own rate");
        return pair;
    }
    // A half without a say has nothing to say here either; otherwise the less certain half
    // speaks for the pair.
    pair.confidence = mute[0]                                                  ? right.channels.confidence
                      : mute[1]                                                ? left.channels.confidence
                      : left.channels.confidence == right.channels.confidence ? left.channels.confidence
                                                                               : "verify by ear";
    const bool fromMetadata = choice.isAuto() && left.source.description && right.source.description;
    const std::string label = fromMetadata ? " (file info)" : choice.isAuto() ? " (auto)" : " (set)";
    // As for one file: metadata speaks of the rate, detection of its confidence.
    pair.status = std::string(pair.format.shortText()) + label + " · Stereo (L + R) · " +
                  (fromMetadata ? khz(*pair.rate) : std::string(pair.confidence));
    return pair;
}

std::optional<PairDetection> detectPairFiles(const std::filesystem::path& left, const MappedFile& leftFile,
                                             const std::filesystem::path& right, const MappedFile& rightFile,
                                             SourceFormatChoice choice, const std::optional<std::filesystem::path>& root,
                                             std::string& unreadable)
{
    std::optional<FileDetection> halves[2];
    const std::filesystem::path* paths[2] = {&left, &right};
    const MappedFile* files[2] = {&leftFile, &rightFile};
    for (int c = 0; c < 2; ++c) {
        const MappedFile& file = *files[c];
        std::string why = file.error();
        if (file.ok())
            halves[c] = detectSource(*paths[c], file.bytes(), choice, root, why);
        if (!halves[c]) {
            unreadable = std::string(c == 0 ? "the L half: " : "the R half: ") + why;
            return std::nullopt;
        }
    }
    return detectPair(*halves[0], *halves[1], choice);
}

} // namespace quorvel
