#include "core/pipeline/bouncePair.hpp"
#include "core/detection/audibleSpan.hpp"
#include "core/detection/detectPair.hpp"
#include "core/detection/detectSource.hpp"
#include "core/detection/smoothness.hpp"
#include "core/io/MappedFile.hpp"
#include "core/io/SourceHash.hpp"
#include "core/io/guardedRead.hpp"
#include "core/io/splitStereo.hpp"
#include "core/pipeline/convertInBlocks.hpp"
#include "core/pipeline/staticCheck.hpp"

#include <charconv>
#include <new>

namespace quorvel {

namespace {

// "1.25": seconds for a status text, with a full stop whatever the locale.
std::string seconds(std::int64_t frames, std::int64_t rate)
{
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, static_cast<double>(frames) / static_cast<double>(rate),
                                   std::chars_format::fixed, 2)
                         .ptr;
    return std::string(text, end);
}

} // namespace

BounceResult bouncePair(const BounceItem& item, const BounceSettings& settings, BounceObserver& observer)
{
    BounceResult result;
    result.sourceChannels = 2;
    const MappedFile files[2] = {MappedFile::open(item.path), MappedFile::open(*item.right)};
    for (const MappedFile& file : files) {
        if (file.outOfMemory())
            throw std::bad_alloc(); // bounceFile reports it as any other shortage of memory
        if (!file.ok())
            return couldNotRead(result, file.error());
    }
    // The halves are read afresh, so the pair is judged on what is on disk now.
    std::optional<FileDetection> halves[2];
    for (int c = 0; c < 2; ++c) {
        std::string unreadable;
        halves[c] = detectSource(c == 0 ? item.path : *item.right, files[c].bytes(), settings.sourceFormat, item.root,
                                 unreadable);
        if (!halves[c])
            return couldNotRead(result, unreadable);
    }
    const PairDetection pair = detectPair(*halves[0], *halves[1], settings.sourceFormat);
    const ByteView left = halves[0]->source.audio(files[0].bytes()), right = halves[1]->source.audio(files[1].bytes());
    // A muted half is silence, and a quiet one is a whisper, not noise.
    bool noise[2] = {false, false};
    if (!guardedRead([&] {
            for (int c = 0; c < 2; ++c) {
                const ByteView half = c == 0 ? left : right;
                noise[c] = readsAsStatic(half, pair.format, 1) && audiblePart(half).has_value();
            }
        }))
        return couldNotRead(result, kChangedWhileRead);
    result.format = pair.format;
    if (!pair.agree) {
        result.status = pair.status;
        result.reason = "the halves of the pair read differently";
        return result;
    }
    // As for a file, a half's fork or the pair's session outweighs a reading that is merely noisy.
    const bool evidenced = settings.sessionFormat || (settings.sourceFormat.isAuto() &&
                                                      (halves[0]->source.description || halves[1]->source.description));
    for (int c = 0; c < 2 && !evidenced; ++c) {
        if (noise[c]) {
            result.status = kReadsAsStatic;
            result.reason = std::string(c == 0 ? "the L" : "the R") + " half reads as noise in " +
                            std::string(result.format.shortText());
            return result;
        }
    }

    const std::int64_t sourceRate = pair.rate.value_or(settings.sourceRate);
    observer.analysed(analysisLine(false, result.format, 2, sourceRate));
    result.analysed = true;
    result.sourceRate = sourceRate;
    result.from = originsOf(item, settings, halves[0]->source.description && settings.sourceFormat.isAuto(),
                            pair.rate.has_value());
    const BounceSettings out = forSource(settings, sourceRate, result.format);
    result.outputChannels = outputChannelsFor(out.channels, 2);
    observer.printing(printingTitle(out, result.outputChannels));

    const std::int64_t bps = result.format.bytesPerSample();
    const std::int64_t frames[2] = {static_cast<std::int64_t>(left.size()) / bps,
                                    static_cast<std::int64_t>(right.size()) / bps};
    std::string padding;
    if (frames[0] != frames[1]) {
        const int shorter = frames[0] < frames[1] ? 0 : 1;
        padding = std::string(shorter == 0 ? " · L" : " · R") + " padded with " +
                  seconds(frames[1 - shorter] - frames[shorter], sourceRate) + " s of silence";
    }

    const auto name = splitStereoName(item.path.filename().string());
    const std::string stem = name ? name->base : item.path.stem().string();
    const std::filesystem::path to =
        observer.chooseOutput(out.outputFolder, stem, out.targetRate, out.depth, result.outputChannels);
    const SourceReading reading{item.path.filename().string() + " + " + item.right->filename().string(), result.format, 2,
                                sourceRate, true, result.from, halves[0]->source.container, halves[0]->source.created,
                                item.path};
    OutputTarget target = outputTarget(to, result, observer, out, reading, padding);
    SourceHash hashes[2] = {SourceHash(files[0].bytes()), SourceHash(files[1].bytes())};
    target.sources = {&hashes[0], &hashes[1]};
    const ConversionResult converted = convertPairInBlocks(left, right, target, result.format, sourceRate, out.targetRate,
                                                           result.outputChannels, out.depth, out.normalize);
    result = withConversion(std::move(result), converted);
    if (result.ok)
        result.status += padding;
    return result;
}

} // namespace quorvel
