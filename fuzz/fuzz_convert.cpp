// Arbitrary sample bytes and settings through the conversion: convertOneNative directly and
// bounceFile on a file on disk. Every WAV written is read back with libsndfile and held to
// what the pipeline promises: its length, layout and rate, nothing left beside it, and
// samples identical to the source when nothing but the container changes.
#include "check.hpp"
#include "scratchFolder.hpp"
#include "convertInput.hpp"

#include "core/detection/detectBestFormat.hpp"
#include "core/detection/smoothness.hpp"
#include "core/formats/riffChunks.hpp"
#include "core/io/Digest.hpp"
#include "core/pipeline/bounceFile.hpp"
#include "core/pipeline/convertOneNative.hpp"
#include "core/pipeline/decodeToBuffer.hpp"
#include "core/pipeline/loudness.hpp"
#include "core/pipeline/mapChannels.hpp"
#include "core/pipeline/outputNaming.hpp"
#include "core/pipeline/resample.hpp"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

using namespace quorvel;
using quorvel::fuzz::ConvertSettings;
namespace fs = std::filesystem;

namespace {

// One scratch folder per process, emptied after every input.
struct Scratch {
    fuzz::ScratchFolder folder{"fuzz-convert"};
    fs::path input = folder.root / "take.sd2", out = folder.root / "out";

    Scratch() { fs::create_directory(out); }
};

Scratch& scratch()
{
    static Scratch s;
    return s;
}

std::vector<fs::path> listing(const fs::path& dir)
{
    std::vector<fs::path> names;
    for (const auto& entry : fs::directory_iterator(dir))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

void empty(const fs::path& dir)
{
    for (const auto& entry : fs::directory_iterator(dir))
        fs::remove_all(entry.path());
}

std::string joined(const std::vector<fs::path>& names)
{
    std::string text;
    for (const auto& name : names)
        text += "'" + name.string() + "' ";
    return text;
}

struct Wav {
    SF_INFO info{};
    std::vector<int> samples; // full-scale 32-bit, as libsndfile widens integer PCM
};

Wav readWav(const fs::path& path)
{
    Wav wav;
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &wav.info);
    FUZZ_CHECK(file != nullptr, "libsndfile cannot open %s: %s", path.c_str(), sf_strerror(nullptr));
    wav.samples.resize(static_cast<std::size_t>(wav.info.frames * wav.info.channels));
    const sf_count_t read = sf_readf_int(file, wav.samples.data(), wav.info.frames);
    sf_close(file);
    FUZZ_CHECK(read == wav.info.frames, "read %lld of %lld frames from %s", static_cast<long long>(read),
               static_cast<long long>(wav.info.frames), path.c_str());
    return wav;
}

std::int64_t expectedFrames(std::int64_t sourceFrames, std::int64_t sourceRate, std::int64_t targetRate)
{
    // floor(target / source × frames), in integers so no rounding of ours is involved.
    return sourceFrames * targetRate / sourceRate;
}

int subtype(std::int64_t depth)
{
    return depth == 16 ? SF_FORMAT_PCM_16 : depth == 24 ? SF_FORMAT_PCM_24 : SF_FORMAT_PCM_32;
}

struct Expectation {
    ByteView payload;
    SourceFormat format;
    std::int64_t sourceRate, sourceChannels, targetRate, outChannels, depth;
    bool normalize;
};

// A ceiling of −1 dBTP bounds every sample too.
constexpr double kCeiling = 0.89125093813374556;

void checkWav(const fs::path& path, const Expectation& e)
{
    const Wav wav = readWav(path);
    const std::int64_t bps = e.format.bytesPerSample();
    const auto payloadBytes = static_cast<std::int64_t>(e.payload.size());
    const std::int64_t frames = payloadBytes / bps / e.sourceChannels;
    const std::int64_t wanted = expectedFrames(frames, e.sourceRate, e.targetRate);
    FUZZ_CHECK(wav.info.frames == wanted, "%lld frames at %lld Hz to %lld Hz wrote %lld frames, expected %lld",
               static_cast<long long>(frames), static_cast<long long>(e.sourceRate),
               static_cast<long long>(e.targetRate), static_cast<long long>(wav.info.frames),
               static_cast<long long>(wanted));
    FUZZ_CHECK(wav.info.channels == e.outChannels, "%d channels, expected %lld", wav.info.channels,
               static_cast<long long>(e.outChannels));
    FUZZ_CHECK(wav.info.samplerate == e.targetRate, "rate %d, expected %lld", wav.info.samplerate,
               static_cast<long long>(e.targetRate));
    FUZZ_CHECK(wav.info.format == (SF_FORMAT_WAV | subtype(e.depth)), "format 0x%x for depth %lld", wav.info.format,
               static_cast<long long>(e.depth));

    const double lsb = std::ldexp(1.0, -static_cast<int>(e.depth - 1));
    if (e.normalize) {
        // Loudness that can be measured is matched under the ceiling; the rest is left alone.
        PcmBufferPtr buffer = decodeToBuffer(e.payload, e.format, e.sourceRate, e.sourceChannels);
        buffer = mapChannels(resample(buffer, e.targetRate), e.outChannels);
        FUZZ_CHECK(buffer != nullptr, "the pipeline's stages failed on their own");
        if (std::isfinite(integratedLUFS(*buffer))) {
            int peak = 0;
            for (int v : wav.samples)
                peak = std::max(peak, v == INT32_MIN ? INT32_MAX : std::abs(v));
            const double linear = std::ldexp(static_cast<double>(peak), -31);
            FUZZ_CHECK(linear <= kCeiling + lsb + 1e-6, "normalised peak %.9g above the -1 dBTP ceiling", linear);
        }
        return;
    }
    if (e.sourceRate != e.targetRate)
        return;

    // Same rate, no gain: each output sample is the source's, folded or repeated by the
    // layout, rounded to the depth and saturated.
    const std::int64_t sourceBits = 8 * bps;
    const bool fold = e.sourceChannels == 2 && e.outChannels == 1;
    const double full = std::ldexp(1.0, static_cast<int>(e.depth - 1));
    // Folding 24-bit pairs rounds their sum to single precision first.
    const double tolerance = 0.5 + (fold && sourceBits == 24 ? 0.5 * std::ldexp(1.0, static_cast<int>(e.depth - 24)) : 0.0);
    for (std::int64_t i = 0; i < frames; ++i) {
        const auto source = [&](std::int64_t c) {
            return decodeSample(e.payload, (i * e.sourceChannels + c) * bps, e.format) /
                   std::ldexp(1.0, static_cast<int>(sourceBits - 1));
        };
        for (std::int64_t c = 0; c < e.outChannels; ++c) {
            const double ideal = fold ? (source(0) + source(1)) / 2 : source(std::min(c, e.sourceChannels - 1));
            const double target = std::clamp(ideal * full, -full, full - 1);
            const double got = std::ldexp(static_cast<double>(wav.samples[static_cast<std::size_t>(i * e.outChannels + c)]),
                                          -static_cast<int>(32 - e.depth));
            FUZZ_CHECK(std::abs(got - target) <= tolerance,
                       "frame %lld channel %lld: wrote %.1f, source gives %.3f (%s, %lld ch to %lld ch, %lld-bit)",
                       static_cast<long long>(i), static_cast<long long>(c), got, target,
                       std::string(e.format.rawValue()).c_str(), static_cast<long long>(e.sourceChannels),
                       static_cast<long long>(e.outChannels), static_cast<long long>(e.depth));
        }
    }
}

void checkDirect(ByteView payload, const ConvertSettings& s)
{
    const fs::path to = scratch().out / "direct.wav";
    const std::int64_t outChannels = s.layout == TargetChannels::stereo ? 2
                                     : s.layout == TargetChannels::mono ? 1
                                                                        : s.sourceChannels;
    const ConversionResult result = convertOneNative(payload, to, s.format, s.sourceRate, s.sourceChannels,
                                                     s.targetRate, outChannels, s.depth, s.normalize);
    const std::int64_t frames = static_cast<std::int64_t>(payload.size()) / s.format.bytesPerSample() / s.sourceChannels;
    const std::vector<fs::path> left = listing(scratch().out);
    if (frames < 1) {
        FUZZ_CHECK(!result.ok && result.error == "couldn't read audio", "%lld bytes, no whole frame: ok=%d error '%s'",
                   static_cast<long long>(payload.size()), result.ok, result.error.c_str());
        FUZZ_CHECK(left.empty(), "a failed conversion left %s", joined(left).c_str());
        return;
    }
    FUZZ_CHECK(result.ok, "conversion of %lld frames failed: %s", static_cast<long long>(frames), result.error.c_str());
    FUZZ_CHECK(result.written == to, "written to %s, asked for %s", result.written.c_str(), to.c_str());
    FUZZ_CHECK(left == std::vector<fs::path>{"direct.wav"}, "output folder holds %s", joined(left).c_str());
    checkWav(to, {payload, s.format, s.sourceRate, s.sourceChannels, s.targetRate, outChannels, s.depth, s.normalize});
}

class RecordingObserver : public BounceObserver {
public:
    void corrected(SourceFormat format) override { correctedTo.push_back(format); }
    void analysed(const std::string&) override { ++analysedCalls; }
    void printing(const std::string&) override { ++printingCalls; }

    std::vector<SourceFormat> correctedTo;
    int analysedCalls = 0, printingCalls = 0;
};

// A Broadcast WAV ends with its MD5 chunk, which holds the digest of the data chunk's payload
// (as one little-endian number), the same the result reports; the RIFF size takes it in.
void checkMD5Chunk(const BounceResult& result)
{
    std::ifstream in(result.output, std::ios::binary);
    const std::vector<std::uint8_t> file{std::istreambuf_iterator<char>(in), {}};
    const auto chunks = riffChunks(file);
    FUZZ_CHECK(chunks && chunks->size() >= 2 && chunks->back().id == "MD5 " && chunks->back().size == 16 &&
                   (*chunks)[chunks->size() - 2].id == "data",
               "chunks of %s out of order", result.output.c_str());
    const std::uint32_t riffSize = file[4] | file[5] << 8 | file[6] << 16 | static_cast<std::uint32_t>(file[7]) << 24;
    FUZZ_CHECK(riffSize + 8ULL == file.size(), "RIFF size %u for a file of %zu bytes", riffSize, file.size());
    const RiffChunk& data = (*chunks)[chunks->size() - 2];
    Digest md5(Digest::Kind::md5);
    md5.add(std::span(file).subspan(static_cast<std::size_t>(data.offset), static_cast<std::size_t>(data.size)));
    const auto stored = std::span(file).subspan(static_cast<std::size_t>(chunks->back().offset), 16);
    const std::string digest = hexText(md5.finish());
    FUZZ_CHECK(digest == hexText(std::vector<std::uint8_t>(stored.rbegin(), stored.rend())) &&
                   digest == result.facts.audioMD5,
               "MD5 %s, chunk and report disagree (report %s)", digest.c_str(), result.facts.audioMD5.c_str());
}

constexpr double kStaticBelow = 0.2;
constexpr double kCorrectionAtLeast = 0.4;

void checkBounce(ByteView payload, const ConvertSettings& s)
{
    {
        std::ofstream file(scratch().input, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(payload.data()), static_cast<std::streamsize>(payload.size()));
        FUZZ_CHECK(file.good(), "cannot write the scratch input");
    }
    const SourceFormat itemFormat = s.detectItemFormat ? detectBestFormat(payload) : s.itemFormat;
    BounceSettings settings;
    settings.sourceFormat = s.automatic ? SourceFormatChoice::automatic() : SourceFormatChoice::fixed(s.format);
    settings.sourceRate = s.sourceRate;
    settings.targetRate = s.targetRate;
    settings.depth = s.depth;
    settings.channels = s.layout;
    settings.normalize = s.normalize;
    settings.outputFolder = scratch().out;
    const BounceItem item{scratch().input, [&] { return itemFormat; }, [&] { return s.sourceChannels; }, std::nullopt};

    RecordingObserver observer;
    const BounceResult result = bounceFile(item, settings, observer);
    const std::vector<fs::path> left = listing(scratch().out);

    // The encoding in use, and the correction the rules allow: stereo is judged channel by
    // channel too, both for calling a reading static and for taking another.
    const bool stereo = s.sourceChannels == 2;
    const auto clean = [&](SourceFormat f) {
        return smoothness(payload, f) >= kCorrectionAtLeast ||
               (stereo && channelSmoothness(payload, f) >= kCorrectionAtLeast);
    };
    const SourceFormat initial = s.automatic ? itemFormat : s.format;
    const double initialScore = smoothness(payload, initial);
    const bool initialStatic =
        initialScore < kStaticBelow && !(stereo && channelSmoothness(payload, initial) >= kCorrectionAtLeast);
    if (result.autoCorrected) {
        FUZZ_CHECK(result.format != initial && initialStatic && clean(result.format), "corrected %s (%.6g) to %s (%.6g)",
                   std::string(initial.rawValue()).c_str(), initialScore, std::string(result.format.rawValue()).c_str(),
                   smoothness(payload, result.format));
        FUZZ_CHECK(observer.correctedTo == std::vector<SourceFormat>{result.format}, "observer saw %zu corrections",
                   observer.correctedTo.size());
    } else {
        FUZZ_CHECK(result.format == initial, "format changed to %s without a correction",
                   std::string(result.format.rawValue()).c_str());
        FUZZ_CHECK(observer.correctedTo.empty(), "observer saw a correction that did not happen");
        if (initialStatic)
            for (SourceFormat other : SourceFormat::allCases())
                FUZZ_CHECK(other == initial || !clean(other), "%s read as static, %s reads clean, yet no correction",
                           std::string(initial.rawValue()).c_str(), std::string(other.rawValue()).c_str());
    }
    FUZZ_CHECK(result.sourceChannels == s.sourceChannels, "source channels %lld",
               static_cast<long long>(result.sourceChannels));

    if (!result.analysed) {
        const double score = smoothness(payload, result.format);
        const bool wideStereo = s.sourceChannels == 2 && channelSmoothness(payload, result.format) >= kCorrectionAtLeast;
        FUZZ_CHECK(!result.ok && result.status == "Reads as static — try another source format in Advanced",
                   "not analysed, status '%s'", result.status.c_str());
        FUZZ_CHECK(score < kStaticBelow && !wideStereo, "refused as static with score %.6g", score);
        FUZZ_CHECK(observer.analysedCalls == 0 && observer.printingCalls == 0, "observer told of a refused file");
        FUZZ_CHECK(left.empty(), "a refused file left %s", joined(left).c_str());
        return;
    }
    FUZZ_CHECK(observer.analysedCalls == 1 && observer.printingCalls == 1, "observer saw %d analyses, %d titles",
               observer.analysedCalls, observer.printingCalls);
    const std::int64_t outChannels = s.layout == TargetChannels::stereo ? 2
                                     : s.layout == TargetChannels::mono ? 1
                                                                        : s.sourceChannels;
    FUZZ_CHECK(result.outputChannels == outChannels, "output channels %lld, expected %lld",
               static_cast<long long>(result.outputChannels), static_cast<long long>(outChannels));
    // Analysed means it scored as audio, which takes whole frames.
    FUZZ_CHECK(result.ok, "analysed but failed: %s / %s", result.status.c_str(), result.reason.c_str());
    const fs::path name = outputStem("take", s.targetRate, s.depth, outChannels) + ".wav";
    FUZZ_CHECK(result.output == scratch().out / name, "bounced to %s, expected %s", result.output.c_str(),
               (scratch().out / name).c_str());
    FUZZ_CHECK(result.status == "Bounced → " + name.string(), "status '%s'", result.status.c_str());
    FUZZ_CHECK(left == std::vector<fs::path>{name}, "output folder holds %s", joined(left).c_str());
    checkWav(result.output,
             {payload, result.format, s.sourceRate, s.sourceChannels, s.targetRate, outChannels, s.depth, s.normalize});
    checkMD5Chunk(result);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    if (size < quorvel::fuzz::kConvertHeader)
        return 0; // too short to hold the settings
    const ConvertSettings settings = quorvel::fuzz::readConvertSettings(bytes[0], bytes[1]);
    const ByteView payload(bytes + quorvel::fuzz::kConvertHeader, size - quorvel::fuzz::kConvertHeader);

    checkDirect(payload, settings);
    empty(scratch().out);
    checkBounce(payload, settings);
    empty(scratch().out);
    return 0;
}
