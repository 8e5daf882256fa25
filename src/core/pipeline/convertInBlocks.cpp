#include "core/pipeline/convertInBlocks.hpp"
#include "core/io/MappedFile.hpp"
#include "core/pipeline/channelCrew.hpp"
#include "core/pipeline/decodeToBuffer.hpp"
#include "core/pipeline/limitedSignal.hpp"
#include "core/pipeline/loudness.hpp"
#include "core/pipeline/resample.hpp"
#include "core/pipeline/writeWAV.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

namespace quorvel {

namespace {

// Source frames per block: small enough to stay in cache, large enough that handing blocks
// between threads costs nothing measurable.
constexpr std::int64_t kBlockFrames = 1 << 15;
// Source bytes read between asking the system to drop the pages already decoded.
constexpr std::int64_t kReleaseBytes = std::int64_t{8} << 20;

// normalize()'s settings and constants.
constexpr double kTargetLUFS = -14.0;
constexpr double kCeilingDBTP = -1.0;
constexpr int kMaxPasses = 3;
constexpr double kToleranceLU = 0.3;

enum class Failed { nothing, read, resample };

std::int64_t roundsFor(std::int64_t frames) { return std::max<std::int64_t>(1, (frames + kBlockFrames - 1) / kBlockFrames); }

// Runs `rounds` rounds with two sets of buffers (slots) going round: while the crew works
// on round k (work(channel, k, slot)), this thread finishes round k − 1 (finish(other
// slot)) and prepares round k + 1 (prepare(k + 1, other slot)); settle(k, slot) runs once
// the crew is done, with nothing else running.
template <class Prepare, class Work, class Settle, class Finish>
Failed runRounds(ChannelCrew& crew, std::int64_t rounds, Prepare prepare, Work work, Settle settle, Finish finish)
{
    if (!prepare(0, 0))
        return Failed::read;
    for (std::int64_t k = 0; k < rounds; ++k) {
        const int slot = static_cast<int>(k & 1);
        const ChannelCrew::Job job = [&](std::int64_t c) { return work(c, k, slot); };
        crew.start(job);
        bool prepared = true;
        try {
            if (k > 0)
                finish(1 - slot);
            if (k + 1 < rounds)
                prepared = prepare(k + 1, 1 - slot);
        } catch (...) {
            crew.wait(); // the job refers to this frame
            throw;
        }
        const bool worked = crew.wait();
        if (!prepared)
            return Failed::read;
        if (!worked)
            return Failed::resample;
        settle(k, slot);
    }
    finish(static_cast<int>((rounds - 1) & 1));
    return Failed::nothing;
}

// The source decoded, resampled and mapped to the output's channels, a block per round.
class MappedBlocks {
public:
    MappedBlocks(ByteView data, SourceFormat format, std::int64_t srcRate, std::int64_t srcChannels,
                 std::int64_t targetRate, std::int64_t outChannels)
        : data_(data), format_(format), srcRate_(srcRate), srcChannels_(srcChannels), outChannels_(outChannels)
    {
        inputFrames_ = srcChannels < 1 ? 0 : static_cast<std::int64_t>(data.size()) / format.bytesPerSample() / srcChannels;
        resampling_ = srcRate != targetRate;
        outputFrames_ = resampling_ ? resampledLength(inputFrames_, static_cast<double>(srcRate), targetRate) : inputFrames_;
        if (resampling_)
            for (std::int64_t c = 0; c < srcChannels; ++c) {
                streams_.emplace_back(static_cast<double>(srcRate), targetRate, inputFrames_);
                resampleFailed_ = resampleFailed_ || !streams_.back();
            }
        for (auto& slot : resampled_)
            slot.resize(static_cast<std::size_t>(resampling_ ? srcChannels : 0));
    }

    // What decodeToBuffer would refuse: no whole frame, no channel, no rate.
    bool readable() const { return inputFrames_ >= 1 && srcRate_ > 0; }
    bool resamplerReady() const { return !resampleFailed_; }
    std::int64_t outputFrames() const { return outputFrames_; }
    std::int64_t rounds() const { return roundsFor(inputFrames_); }
    std::int64_t crewSize() const { return resampling_ ? srcChannels_ : 0; }

    bool prepare(std::int64_t k, int slot)
    {
        const std::int64_t frameBytes = format_.bytesPerSample() * srcChannels_;
        const std::int64_t first = k * kBlockFrames;
        const std::int64_t count = std::min(kBlockFrames, inputFrames_ - first);
        const ByteView bytes = data_.subspan(static_cast<std::size_t>(first * frameBytes),
                                             static_cast<std::size_t>(count * frameBytes));
        decoded_[static_cast<std::size_t>(slot)] = decodeToBuffer(bytes, format_, srcRate_, srcChannels_);
        // Decoded pages are not read again: let them go, so the mapping does not pile up.
        const std::int64_t end = (first + count) * frameBytes;
        if (end - released_ >= kReleaseBytes || first + count == inputFrames_) {
            releaseResidentPages(data_.subspan(static_cast<std::size_t>(released_), static_cast<std::size_t>(end - released_)));
            released_ = end;
        }
        return decoded_[static_cast<std::size_t>(slot)] != nullptr;
    }

    bool work(std::int64_t channel, std::int64_t k, int slot)
    {
        const PcmBuffer& in = *decoded_[static_cast<std::size_t>(slot)];
        std::vector<float>& out = resampled_[static_cast<std::size_t>(slot)][static_cast<std::size_t>(channel)];
        ResampleStream& stream = streams_[static_cast<std::size_t>(channel)];
        const ResampleStream::Sink append = [&](const float* samples, std::int64_t frames) {
            out.insert(out.end(), samples, samples + frames);
        };
        return stream.push(in.channel(channel), in.frameLength(), append) &&
               (k + 1 < rounds() || stream.finish(append));
    }

    // Every channel's stream yields the same count for the same input; should one ever
    // run ahead, its extra frames wait for the next round.
    void settle(std::int64_t, int slot)
    {
        if (!resampling_) {
            frames_[static_cast<std::size_t>(slot)] = decoded_[static_cast<std::size_t>(slot)]->frameLength();
            return;
        }
        auto& now = resampled_[static_cast<std::size_t>(slot)];
        auto& next = resampled_[static_cast<std::size_t>(1 - slot)];
        std::size_t n = now[0].size();
        for (const auto& channel : now)
            n = std::min(n, channel.size());
        for (std::size_t c = 0; c < now.size(); ++c) {
            next[c].assign(now[c].begin() + static_cast<std::ptrdiff_t>(n), now[c].end());
            now[c].resize(n);
        }
        frames_[static_cast<std::size_t>(slot)] = static_cast<std::int64_t>(n);
    }

    // The settled round in the output's channels, as mapChannels lays them out.
    std::span<const float* const> mapped(int slot)
    {
        std::vector<const float*> source;
        for (std::int64_t c = 0; c < srcChannels_; ++c)
            source.push_back(resampling_ ? resampled_[static_cast<std::size_t>(slot)][static_cast<std::size_t>(c)].data()
                                         : decoded_[static_cast<std::size_t>(slot)]->channel(c));
        pointers_.clear();
        const std::int64_t n = frames(slot);
        if (srcChannels_ == 2 && outChannels_ == 1) {
            fold_.resize(static_cast<std::size_t>(n));
            for (std::int64_t i = 0; i < n; ++i)
                fold_[static_cast<std::size_t>(i)] = (source[0][i] + source[1][i]) * 0.5f;
            pointers_.push_back(fold_.data());
        } else {
            for (std::int64_t c = 0; c < outChannels_; ++c)
                pointers_.push_back(source[static_cast<std::size_t>(std::min(srcChannels_ - 1, c))]);
        }
        return pointers_;
    }
    std::int64_t frames(int slot) const { return frames_[static_cast<std::size_t>(slot)]; }

private:
    ByteView data_;
    SourceFormat format_;
    std::int64_t srcRate_, srcChannels_, outChannels_;
    std::int64_t inputFrames_ = 0, outputFrames_ = 0, released_ = 0;
    bool resampling_ = false, resampleFailed_ = false;
    std::vector<ResampleStream> streams_;
    std::array<PcmBufferPtr, 2> decoded_;
    std::array<std::vector<std::vector<float>>, 2> resampled_;
    std::array<std::int64_t, 2> frames_{};
    std::vector<float> fold_;
    std::vector<const float*> pointers_;
};

// One normalisation pass's output, gain × the audio through the limiter, then trimmed, a
// block per round.
class LimitedBlocks {
public:
    LimitedBlocks(const PcmBuffer& audio, float gain, float ceiling, std::optional<float> trim)
        : limiter_(audio, gain, ceiling), trim_(trim), frames_(audio.frameLength())
    {
        for (std::size_t s = 0; s < 2; ++s) {
            blocks_[s].assign(static_cast<std::size_t>(audio.channelCount()), std::vector<float>(kBlockFrames));
            for (auto& block : blocks_[s])
                pointers_[s].push_back(block.data());
        }
    }

    std::int64_t rounds() const { return roundsFor(frames_); }

    bool prepare(std::int64_t k, int slot)
    {
        const std::int64_t count = std::min(kBlockFrames, frames_ - k * kBlockFrames);
        limiter_.read(count, pointers_[static_cast<std::size_t>(slot)].data());
        if (trim_)
            for (auto& block : blocks_[static_cast<std::size_t>(slot)])
                for (std::int64_t i = 0; i < count; ++i)
                    block[static_cast<std::size_t>(i)] *= *trim_;
        counts_[static_cast<std::size_t>(slot)] = count;
        return true;
    }

    std::int64_t frames(int slot) const { return counts_[static_cast<std::size_t>(slot)]; }
    const float* channel(int slot, std::int64_t c) const { return pointers_[static_cast<std::size_t>(slot)][static_cast<std::size_t>(c)]; }
    std::span<const float* const> channels(int slot) const
    {
        const auto& p = pointers_[static_cast<std::size_t>(slot)];
        return {const_cast<const float* const*>(p.data()), p.size()};
    }

private:
    LimitedSignal limiter_;
    std::optional<float> trim_;
    std::int64_t frames_;
    std::array<std::vector<std::vector<float>>, 2> blocks_;
    std::array<std::vector<float*>, 2> pointers_;
    std::array<std::int64_t, 2> counts_{};
};

// truePeakLinear's running peak: std::max keeps it when the sample is NaN. The largest of
// a set does not depend on the order it is taken in, so eight running peaks go side by side.
float peakOf(const float* samples, std::int64_t frames, float peak)
{
    float lanes[8] = {peak, peak, peak, peak, peak, peak, peak, peak};
    std::int64_t i = 0;
    for (; i + 8 <= frames; i += 8)
        for (int k = 0; k < 8; ++k)
            lanes[k] = std::max(lanes[k], std::abs(samples[i + k]));
    for (; i < frames; ++i)
        lanes[0] = std::max(lanes[0], std::abs(samples[i]));
    return *std::max_element(std::begin(lanes), std::end(lanes));
}

// truePeakLinear of the pass's limited audio.
float truePeakOfPass(const PcmBuffer& audio, float gain, float ceiling, ChannelCrew& crew)
{
    LimitedBlocks blocks(audio, gain, ceiling, std::nullopt);
    const std::int64_t channels = audio.channelCount();
    const std::int64_t rate = std::llround(audio.sampleRate());
    const std::int64_t overRate = rate > 0 && rate <= std::numeric_limits<std::int64_t>::max() / 4 ? 4 * rate : 0;
    std::vector<ResampleStream> streams;
    bool oversampled = true;
    for (std::int64_t c = 0; c < channels; ++c) {
        streams.emplace_back(audio.sampleRate(), overRate, audio.frameLength());
        oversampled = oversampled && static_cast<bool>(streams.back());
    }
    std::vector<float> peaks(static_cast<std::size_t>(channels), 0.0f), samplePeaks = peaks;
    std::vector<char> streamFailed(static_cast<std::size_t>(channels), 0);

    runRounds(
        crew, blocks.rounds(), [&](std::int64_t k, int slot) { return blocks.prepare(k, slot); },
        [&](std::int64_t c, std::int64_t k, int slot) {
            const auto i = static_cast<std::size_t>(c);
            samplePeaks[i] = peakOf(blocks.channel(slot, c), blocks.frames(slot), samplePeaks[i]);
            if (oversampled && !streamFailed[i]) {
                const ResampleStream::Sink sink = [&](const float* over, std::int64_t n) { peaks[i] = peakOf(over, n, peaks[i]); };
                streamFailed[i] = !streams[i].push(blocks.channel(slot, c), blocks.frames(slot), sink) ||
                                  (k + 1 == blocks.rounds() && !streams[i].finish(sink));
            }
            return true;
        },
        [](std::int64_t, int) {}, [](int) {});
    // Unoversampled, the measurement falls back to the sample peak.
    if (!oversampled || std::find(streamFailed.begin(), streamFailed.end(), 1) != streamFailed.end())
        peaks = samplePeaks;
    return *std::max_element(peaks.begin(), peaks.end());
}

// integratedLUFS of the pass's limited and trimmed audio.
double loudnessOfPass(const PcmBuffer& audio, float gain, float ceiling, std::optional<float> trim, ChannelCrew& crew)
{
    LimitedBlocks blocks(audio, gain, ceiling, trim);
    LoudnessMeter meter(audio.sampleRate(), audio.channelCount(), audio.frameLength());
    runRounds(
        crew, blocks.rounds(), [&](std::int64_t k, int slot) { return blocks.prepare(k, slot); },
        [&](std::int64_t c, std::int64_t, int slot) {
            meter.add(c, blocks.channel(slot, c), blocks.frames(slot));
            return true;
        },
        [](std::int64_t, int) {}, [](int) {});
    return meter.integrated();
}

struct PassGains {
    float gain;
    std::optional<float> trim;
};

float gainOf(double gainDB) { return static_cast<float>(std::pow(10.0, gainDB / 20.0)); }

// normalize()'s passes, each measured as it streams past, over audio that is never
// changed: the gain and trim of the pass whose result normalize() would leave, or none
// when it would leave the audio as it is.
std::optional<PassGains> normalisationGains(const PcmBuffer& audio, ChannelCrew& crew)
{
    LoudnessMeter first(audio.sampleRate(), audio.channelCount(), audio.frameLength());
    const ChannelCrew::Job measure = [&](std::int64_t c) {
        first.add(c, audio.channel(c), audio.frameLength());
        return true;
    };
    crew.start(measure);
    crew.wait();
    const double measured = first.integrated();
    if (!std::isfinite(measured))
        return std::nullopt;
    const float ceiling = static_cast<float>(std::pow(10.0, kCeilingDBTP / 20.0));

    std::optional<PassGains> last;
    double gainDB = kTargetLUFS - measured;
    float gain = gainOf(gainDB);
    for (int pass = 1; std::isfinite(gain); ++pass) {
        // Limiting holds the samples; peaks between them are pulled under with a plain gain.
        const float peak = truePeakOfPass(audio, gain, ceiling, crew);
        last = PassGains{gain, peak > ceiling && peak > 0.0f ? std::optional(ceiling / peak) : std::nullopt};
        if (pass == kMaxPasses)
            break;
        const double remeasured = loudnessOfPass(audio, gain, ceiling, last->trim, crew);
        if (!std::isfinite(remeasured) || std::abs(kTargetLUFS - remeasured) < kToleranceLU)
            break;
        gainDB += kTargetLUFS - remeasured;
        gain = gainOf(gainDB);
    }
    return last;
}

ConversionResult normalisedInBlocks(MappedBlocks& blocks, const std::filesystem::path& to, std::int64_t targetRate,
                                    std::int64_t outChannels, std::int64_t targetDepth)
{
    // The one full-length copy: the resampled audio in the output's channels.
    PcmBufferPtr audio = PcmBuffer::make(static_cast<double>(targetRate), outChannels, blocks.outputFrames());
    if (!audio)
        return {false, "resample failed", {}};
    std::int64_t filled = 0;
    {
        ChannelCrew crew(blocks.crewSize());
        const Failed failed = runRounds(
            crew, blocks.rounds(), [&](std::int64_t k, int slot) { return blocks.prepare(k, slot); },
            [&](std::int64_t c, std::int64_t k, int slot) { return blocks.work(c, k, slot); },
            [&](std::int64_t k, int slot) { blocks.settle(k, slot); },
            [&](int slot) {
                const auto channels = blocks.mapped(slot);
                const std::int64_t n = std::min(blocks.frames(slot), audio->frameCapacity() - filled);
                for (std::size_t c = 0; c < channels.size(); ++c)
                    std::copy_n(channels[c], n, audio->channel(static_cast<std::int64_t>(c)) + filled);
                filled += n;
            });
        if (failed == Failed::read)
            return {false, "couldn't read audio", {}};
        if (failed == Failed::resample)
            return {false, "resample failed", {}};
    }
    audio->setFrameLength(filled);

    ChannelCrew crew(outChannels);
    const std::optional<PassGains> gains = normalisationGains(*audio, crew);
    try {
        WavWriter writer(to, targetRate, outChannels, audio->frameLength(), targetDepth);
        if (!gains) {
            std::vector<const float*> channels;
            for (std::int64_t c = 0; c < outChannels; ++c)
                channels.push_back(audio->channel(c));
            writer.write(channels, audio->frameLength());
            return {true, {}, writer.finish()};
        }
        const float ceiling = static_cast<float>(std::pow(10.0, kCeilingDBTP / 20.0));
        LimitedBlocks pass(*audio, gains->gain, ceiling, gains->trim);
        ChannelCrew none(0);
        runRounds(
            none, pass.rounds(), [&](std::int64_t k, int slot) { return pass.prepare(k, slot); },
            [](std::int64_t, std::int64_t, int) { return true; }, [](std::int64_t, int) {},
            [&](int slot) { writer.write(pass.channels(slot), pass.frames(slot)); });
        return {true, {}, writer.finish()};
    } catch (const WriteError& error) {
        return {false, error.what(), {}};
    }
}

} // namespace

ConversionResult convertInBlocks(ByteView data, const std::filesystem::path& to, SourceFormat format,
                                 std::int64_t srcRate, std::int64_t srcChannels, std::int64_t targetRate,
                                 std::int64_t outChannels, std::int64_t targetDepth, bool normalizeLoudness)
{
    // The checks come in the whole-buffer stages' order, so a file fails with the same words.
    MappedBlocks blocks(data, format, srcRate, srcChannels, targetRate, outChannels);
    if (!blocks.readable())
        return {false, "couldn't read audio", {}};
    if (!blocks.resamplerReady())
        return {false, "resample failed", {}};
    if (outChannels < 1)
        return {false, "channel map failed", {}};
    if (normalizeLoudness)
        return normalisedInBlocks(blocks, to, targetRate, outChannels, targetDepth);

    try {
        WavWriter writer(to, targetRate, outChannels, blocks.outputFrames(), targetDepth);
        ChannelCrew crew(blocks.crewSize());
        const Failed failed = runRounds(
            crew, blocks.rounds(), [&](std::int64_t k, int slot) { return blocks.prepare(k, slot); },
            [&](std::int64_t c, std::int64_t k, int slot) { return blocks.work(c, k, slot); },
            [&](std::int64_t k, int slot) { blocks.settle(k, slot); },
            [&](int slot) { writer.write(blocks.mapped(slot), blocks.frames(slot)); });
        if (failed == Failed::read)
            return {false, "couldn't read audio", {}};
        if (failed == Failed::resample)
            return {false, "resample failed", {}};
        return {true, {}, writer.finish()};
    } catch (const WriteError& error) {
        return {false, error.what(), {}};
    }
}

} // namespace quorvel
