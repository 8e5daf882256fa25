#include "core/pipeline/bounceFile.hpp"
#include "core/detection/audibleSpan.hpp"
#include "core/io/MappedFile.hpp"
#include "core/io/SourceHash.hpp"
#include "core/io/guardedRead.hpp"
#include "core/pipeline/bouncePair.hpp"
#include "core/pipeline/convertOneNative.hpp"
#include "core/pipeline/outputNaming.hpp"
#include "core/pipeline/staticCheck.hpp"
#include "core/metadata/checkedSource.hpp"
#include "core/metadata/sourceName.hpp"

#include <new>
#include <system_error>

namespace quorvel {

namespace {

std::string channelName(std::int64_t channels) { return channels == 1 ? "mono" : "stereo"; }

// "16-bit big-endian  (s16be)" without its identifier.
std::string bareDescription(SourceFormat format)
{
    std::string text{format.longText()};
    const std::string suffix = "  (" + std::string(format.rawValue()) + ")";
    if (text.ends_with(suffix))
        text.resize(text.size() - suffix.size());
    return text;
}

bool isSpace(unsigned char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

// Continuation bytes, combining marks, joiners and variation selectors belong to the
// character before them, so a cut never splits what a reader sees as one character.
bool extendsPrevious(std::string_view text, std::size_t i)
{
    const auto b = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    if ((b(i) & 0xC0) == 0x80)
        return true;
    if (b(i) == 0xCC || (b(i) == 0xCD && i + 1 < text.size() && b(i + 1) < 0xB0))
        return true; // U+0300–U+036F combining diacritics
    if (b(i) == 0xE2 && i + 2 < text.size() && b(i + 1) == 0x80 && b(i + 2) == 0x8D)
        return true; // U+200D zero-width joiner
    if (i > 0 && b(i - 1) == 0x8D && i >= 3 && b(i - 3) == 0xE2 && b(i - 2) == 0x80)
        return true; // the character after a joiner
    if (b(i) == 0xEF && i + 2 < text.size() && b(i + 1) == 0xB8 && b(i + 2) >= 0x80 && b(i + 2) <= 0x8F)
        return true; // U+FE00–U+FE0F variation selectors
    return false;
}

std::string firstCharacters(std::string_view text, std::size_t count)
{
    std::size_t seen = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (extendsPrevious(text, i))
            continue;
        if (seen == count)
            return std::string(text.substr(0, i));
        ++seen;
    }
    return std::string(text);
}

} // namespace

std::filesystem::path BounceObserver::chooseOutput(const std::filesystem::path& dir, const std::string& base,
                                                   std::int64_t rate, std::int64_t depth, std::int64_t channels)
{
    return uniqueOutput(dir, base, rate, depth, channels);
}

std::string analysisLine(bool autoCorrected, SourceFormat format, std::int64_t sourceChannels, std::int64_t sourceRate)
{
    return (autoCorrected ? "Auto-corrected · " : "Heard ") + bareDescription(format) + " · " +
           channelName(sourceChannels) + " · " + khz(sourceRate);
}

std::string printingTitle(const BounceSettings& settings, std::int64_t outputChannels)
{
    if (settings.normalize)
        return "Printing + matching to −14 LUFS…";
    return "Printing to " + khz(settings.targetRate) + " / " + std::to_string(settings.depth) + "-bit " +
           channelName(outputChannels) + "…";
}

std::string chokedStatus(const std::string& error)
{
    std::size_t first = 0, last = error.size();
    while (first < last && isSpace(static_cast<unsigned char>(error[first])))
        ++first;
    while (last > first && isSpace(static_cast<unsigned char>(error[last - 1])))
        --last;
    if (first == last)
        return "Choked";
    return "Choked: " + firstCharacters(std::string_view(error).substr(first, last - first), 80);
}

BounceResult couldNotRead(BounceResult result, std::string_view reason)
{
    result.status = "Couldn't read the file";
    result.reason = std::string(reason);
    return result;
}

std::int64_t outputChannelsFor(TargetChannels setting, std::int64_t sourceChannels)
{
    switch (setting) {
    case TargetChannels::stereo: return 2;
    case TargetChannels::mono: return 1;
    case TargetChannels::preserve: break;
    }
    return sourceChannels;
}

BounceSettings forSource(BounceSettings settings, std::int64_t sourceRate, SourceFormat format)
{
    if (settings.targetRate == kSourceOwn)
        settings.targetRate = sourceRate;
    if (settings.depth == kSourceOwn)
        settings.depth = sourceDepth(format);
    return settings;
}

Origins originsOf(const BounceItem& item, const BounceSettings& settings, bool described, bool ownRate)
{
    const Origin read = item.sniffed ? Origin::content : Origin::detection;
    const Origin encoding = described                         ? Origin::metadata
                            : settings.sessionFormat          ? Origin::session
                            : settings.sourceFormat.isAuto() ? read
                                                              : Origin::set;
    return {encoding, item.channelsSet() ? Origin::set : encoding == Origin::set ? read : encoding,
            ownRate ? Origin::metadata : settings.sessionRate ? Origin::session : Origin::set};
}

BounceResult withConversion(BounceResult result, const ConversionResult& converted)
{
    result.ok = converted.ok;
    result.facts = converted.facts;
    if (converted.ok) {
        result.output = converted.written;
        result.status = "Bounced → " + converted.written.filename().string();
    } else {
        result.status = chokedStatus(converted.error);
        result.reason = converted.error;
    }
    return result;
}

OutputTarget outputTarget(const std::filesystem::path& to, const BounceResult& result, BounceObserver& observer,
                          const BounceSettings& settings, const SourceReading& reading, const std::string& note)
{
    OutputTarget target(to);
    target.stop = settings.stop;
    if (observer.recordsOutputs())
        target.beforePublish = [&observer, result, to, note](const OutputFacts& facts) {
            BounceResult published = withConversion(result, {true, {}, to, facts});
            published.status += note;
            observer.beforePublishing(published);
        };
    if (settings.broadcastWav)
        target.broadcast = broadcastInfo(reading, {settings.targetRate, settings.depth, result.outputChannels, settings.normalize},
                                         settings.originator);
    return target;
}

namespace {

// The steps of bounceFile; `result` is filled as they go, so a failure thrown from any of
// them still knows how far the file got.
BounceResult bounceSteps(const BounceItem& item, const BounceSettings& settings, BounceObserver& observer,
                         BounceResult& result)
{
    if (item.right)
        return bouncePair(item, settings, observer);
    result.format = settings.sourceFormat.fixedFormat().value_or(item.detectedFormat());

    const MappedFile file = MappedFile::open(item.path);
    if (file.outOfMemory())
        throw std::bad_alloc(); // reported as any other shortage of memory
    if (!file.ok())
        return couldNotRead(result, file.error());

    result.sourceChannels = item.sourceChannels();
    FileSource source = findFileSource(item.path, item.root);
    if (!source.unreadable.empty()) {
        result.status = "Couldn't read the file's metadata";
        result.reason = source.unreadable;
        return result;
    }
    // The scores read the mapped file; one that shrank since it was queued fails cleanly.
    EncodingCheck check{result.format};
    bool described = false, silent = false;
    ByteView data;
    const bool read = guardedRead([&] {
        source = checkedSource(std::move(source), file.bytes(), settings.sourceFormat);
        data = source.audio(file.bytes());
        described = source.description && settings.sourceFormat.isAuto();
        if (described)
            result.format = source.description->format;
        check = checkEncoding(data, result.format, result.sourceChannels, described);
        // Digital silence is valid audio (a muted track, a pre-roll) and converts as it is.
        if (check.readsAsStatic && data.size() >= kShortestAudio)
            silent = !audiblePart(data);
    });
    if (!read)
        return couldNotRead(result, kChangedWhileRead);
    if (check.corrected) {
        result.format = check.format;
        result.autoCorrected = true;
        observer.corrected(check.format);
    }
    // Noise is valid audio too (white noise, a noise-like effect): a reading that is merely
    // noisy is no evidence against an encoding the file's own metadata or its session gives.
    const bool tooShort = data.size() < kShortestAudio;
    if (check.readsAsStatic && !silent && (tooShort || !(described || settings.sessionFormat))) {
        result.status = kReadsAsStatic;
        result.reason = tooShort ? "too short to hold audio (" + std::to_string(data.size()) + " bytes)"
                                 : "the data reads as noise in " + std::string(result.format.shortText()) +
                                       ", and no other encoding reads clearly as audio";
        return result;
    }

    // The file's own metadata gives its rate, even where the audio overruled its encoding; the
    // run's setting covers files without one.
    const std::int64_t sourceRate = source.rate().value_or(settings.sourceRate);
    observer.analysed(analysisLine(result.autoCorrected, result.format, result.sourceChannels, sourceRate));
    result.analysed = true;
    result.sourceRate = sourceRate;
    result.from = originsOf(item, settings, described, source.rate().has_value());

    const BounceSettings out = forSource(settings, sourceRate, result.format);
    result.outputChannels = outputChannelsFor(out.channels, result.sourceChannels);
    observer.printing(printingTitle(out, result.outputChannels));

    const std::filesystem::path to = observer.chooseOutput(out.outputFolder, sourceBaseName(item.path, source),
                                                           out.targetRate, out.depth, result.outputChannels);
    const SourceReading reading{item.path.filename().string(), result.format, result.sourceChannels, sourceRate, false,
                                result.from, source.container, source.created, item.path};
    OutputTarget target = outputTarget(to, result, observer, out, reading);
    SourceHash hash(file.bytes());
    target.sources = {&hash};
    const ConversionResult converted =
        convertOneNative(data, target, result.format, sourceRate, result.sourceChannels, out.targetRate,
                         result.outputChannels, out.depth, out.normalize);
    return withConversion(std::move(result), converted);
}

} // namespace

BounceResult bounceFile(const BounceItem& item, const BounceSettings& settings, BounceObserver& observer)
{
    // Running out of memory or threads fails this file, never the whole batch.
    BounceResult result;
    const auto fail = [&](std::string reason) {
        result.ok = false;
        result.output.clear();
        result.status = chokedStatus(reason);
        result.reason = std::move(reason);
        return result;
    };
    if (!settings.outputFolderError.empty())
        return fail(settings.outputFolderError);
    try {
        return bounceSteps(item, settings, observer, result);
    } catch (const std::bad_alloc&) {
        return fail("not enough memory");
    } catch (const std::system_error& error) {
        // std::thread reports a thread it cannot start as EAGAIN.
        return fail(error.code() == std::errc::resource_unavailable_try_again
                        ? "couldn't start a thread (" + error.code().message() + ")"
                        : std::string(error.what()));
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}

} // namespace quorvel
