#pragma once

#include "core/formats/OutputOptions.hpp"
#include "core/formats/SourceFormat.hpp"
#include "core/pipeline/OutputTarget.hpp"
#include "core/pipeline/provenance.hpp"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

// The run's settings, fixed when it starts.
struct BounceSettings {
    SourceFormatChoice sourceFormat = SourceFormatChoice::automatic();
    std::int64_t sourceRate = 44100;
    std::int64_t targetRate = 48000; // kSourceOwn: the source's own
    std::int64_t depth = 24;         // kSourceOwn: the source's own (sourceDepth)
    TargetChannels channels = TargetChannels::stereo;
    bool normalize = false;
    std::filesystem::path outputFolder;
    std::string outputFolderError; // why the output folder cannot be used: every file fails with it
    // The fixed sourceFormat is the one the file's session settled: evidence of its encoding,
    // as a fork is, so a reading that is merely noisy does not refuse it.
    bool sessionFormat = false;
    bool sessionRate = false; // sourceRate is the one the file's session settled
    bool broadcastWav = true;      // false: plain WAV, without the bext and MD5 chunks
    std::string originator = "Quorvel";
    // Set by another thread to stop the run: the file being converted fails before its next
    // block and leaves no file.
    const std::atomic<bool>* stop = nullptr;
};

// A target rate or depth that keeps the source's own: a preservation master.
inline constexpr std::int64_t kSourceOwn = 0;

// The settings with kSourceOwn made the source's rate and depth.
BounceSettings forSource(BounceSettings settings, std::int64_t sourceRate, SourceFormat format);

// One queued file. Its fields are read through these at the moment the run needs them,
// since the user may change them until then.
struct BounceItem {
    std::filesystem::path path; // the file, or the left half of a split-stereo pair
    std::function<SourceFormat()> detectedFormat;
    std::function<std::int64_t()> sourceChannels;
    std::optional<std::filesystem::path> right; // a split-stereo pair's right half
    // The folder it was found under, as given or dropped; sidecars are looked for only up to
    // it. None for a file given by itself: its own folder only.
    std::optional<std::filesystem::path> root = std::nullopt;
    // Whether sourceChannels is the user's choice rather than the detection's.
    std::function<bool()> channelsSet = [] { return false; };
    bool sniffed = false; // a bare name, taken for what its data reads as
};

struct BounceResult;

// Sees each step of a file's bounce as it happens, on the converting thread.
class BounceObserver {
public:
    virtual ~BounceObserver() = default;
    // The data read as static and another encoding was taken; the item should show it.
    virtual void corrected(SourceFormat) {}
    // "Heard 16-bit big-endian · stereo · 44.1 kHz"; a batch pauses here.
    virtual void analysed(const std::string& /*line*/) {}
    // "Printing to 48 kHz / 24-bit stereo…", just before the conversion.
    virtual void printing(const std::string& /*title*/) {}
    // Where the file should go; by default the first free name in the output folder.
    virtual std::filesystem::path chooseOutput(const std::filesystem::path& dir, const std::string& base,
                                               std::int64_t rate, std::int64_t depth, std::int64_t channels);
    // When true, each output is put on disk before it appears under its final name, and
    // beforePublishing hears of it then, with the result the bounce will have (its facts
    // filled in): a record kept there lists every file that a killed run left under a final name.
    virtual bool recordsOutputs() const { return false; }
    virtual void beforePublishing(const BounceResult& /*result*/) {}
};

struct BounceResult {
    bool ok = false;
    bool analysed = false;           // false when it failed before its analysis line (no pause after)
    std::string status;              // "Bounced → …", "Choked: …", "Couldn't read the file", "Reads as static — …"
    std::string reason;              // why it failed, for tools that report more than the status
    std::filesystem::path output;
    SourceFormat format = SourceFormat::s16be;
    std::int64_t sourceChannels = 0;
    std::int64_t outputChannels = 0;
    bool autoCorrected = false;
    std::int64_t sourceRate = 0;     // the rate the source was read at, once analysed
    Origins from;                    // where its encoding, layout and rate came from
    OutputFacts facts;               // the output written and the sources' SHA-256
};

struct ConversionResult;

// The per-file work of a batch run: the encoding in use and its auto-correction, the
// static check, channel counts, the analysis line, the output name and the conversion.
BounceResult bounceFile(const BounceItem& item, const BounceSettings& settings, BounceObserver& observer);

// "Heard " or "Auto-corrected · " + "16-bit big-endian · stereo · 44.1 kHz".
std::string analysisLine(bool autoCorrected, SourceFormat format, std::int64_t sourceChannels, std::int64_t sourceRate);
std::string printingTitle(const BounceSettings& settings, std::int64_t outputChannels);
// "Choked" or "Choked: " + the error trimmed and cut to 80 characters.
std::string chokedStatus(const std::string& error);

// The steps bounceFile and bouncePair share.
inline constexpr std::string_view kReadsAsStatic = "Reads as static — try another source format in Advanced";
// `result` as a file that could not be read, for `reason`.
BounceResult couldNotRead(BounceResult result, std::string_view reason);
// The channels written for `sourceChannels` under the run's setting.
std::int64_t outputChannelsFor(TargetChannels setting, std::int64_t sourceChannels);
// `result` finished by the conversion: its output and "Bounced → NAME", or why it choked.
BounceResult withConversion(BounceResult result, const ConversionResult& converted);
// Where the encoding, layout and rate came from: `described` when the file's own metadata
// gave the encoding, `ownRate` when it gave the rate.
Origins originsOf(const BounceItem& item, const BounceSettings& settings, bool described, bool ownRate);
// Where the conversion writes: `to`, with the observer's record made just before publishing
// when it keeps one, and the bext chunk of `reading` unless the settings ask for a plain WAV.
// `result` is the bounce so far, and `note` what its status will add.
OutputTarget outputTarget(const std::filesystem::path& to, const BounceResult& result, BounceObserver& observer,
                          const BounceSettings& settings, const SourceReading& reading, const std::string& note = {});

} // namespace quorvel
