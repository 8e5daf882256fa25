#include "core/pipeline/convertInBlocks.hpp"
#include "core/io/MappedFile.hpp"
#include "core/pipeline/decodePair.hpp"
#include "core/pipeline/limitedSignal.hpp"
#include "core/pipeline/loudness.hpp"
#include "core/pipeline/resample.hpp"
#include "core/pipeline/stopBetweenBlocks.hpp"
#include "core/pipeline/writeWAV.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <optional>
#include <thread>
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

// Blocks in flight: a channel's thread may run this many blocks ahead of the writer, so
// one held up for a moment (another process took its core) does not stall the others.
constexpr int kSlots = 4;

int slotOf(std::int64_t round) { return static_cast<int>(round % kSlots); }

// Runs `rounds` rounds of three steps: prepare(k, slot) on this thread, then
// work(channel, k, slot) on every channel's own thread, then finish(k, slot) on this thread
// once every channel is done with the round, in round order. A slot is prepared again only
// once its previous round is finished. Returns the first failure.
template <class Prepare, class Work, class Finish>
Failed runPipelined(std::int64_t channels, std::int64_t rounds, Prepare prepare, Work work, Finish finish)
{
    std::mutex mutex;
    // Two signals, so that each change wakes only the threads it concerns: a prepared block
    // (or the end) wakes the channels' threads, a worked one wakes this thread.
    std::condition_variable blockReady, blockWorked;
    std::int64_t prepared = 0, finished = 0;
    std::vector<std::int64_t> done(static_cast<std::size_t>(channels), 0);
    bool workFailed = false, stopping = false;
    const auto allDone = [&] { return channels == 0 ? prepared : *std::min_element(done.begin(), done.end()); };

    // Declared before the threads: on every way out the threads are told to stop, then joined.
    struct Stop {
        std::mutex& mutex;
        std::condition_variable& blockReady;
        bool& stopping;
        ~Stop()
        {
            {
                std::lock_guard lock(mutex);
                stopping = true;
            }
            blockReady.notify_all();
        }
    };
    std::vector<std::jthread> threads;
    const Stop stop{mutex, blockReady, stopping};
    for (std::int64_t c = 0; c < channels; ++c)
        threads.emplace_back([&, c] {
            for (std::int64_t k = 0; k < rounds; ++k) {
                {
                    std::unique_lock lock(mutex);
                    blockReady.wait(lock, [&] { return stopping || prepared > k; });
                    if (stopping)
                        return;
                }
                bool ok = false;
                try {
                    ok = work(c, k, slotOf(k));
                } catch (...) { // std::bad_alloc above all: the conversion fails, the process goes on
                }
                {
                    std::lock_guard lock(mutex);
                    done[static_cast<std::size_t>(c)] = k + 1;
                    workFailed = workFailed || !ok;
                }
                blockWorked.notify_one();
                if (!ok)
                    return;
            }
        });

    while (finished < rounds) {
        bool canPrepare = false, canFinish = false;
        {
            std::unique_lock lock(mutex);
            blockWorked.wait(lock, [&] {
                canPrepare = prepared < rounds && finished > prepared - kSlots;
                canFinish = allDone() > finished;
                return workFailed || canPrepare || canFinish;
            });
            if (workFailed)
                return Failed::resample;
        }
        if (canPrepare) {
            if (!prepare(prepared, slotOf(prepared)))
                return Failed::read;
            {
                std::lock_guard lock(mutex);
                ++prepared;
            }
            blockReady.notify_all();
        }
        if (canFinish) {
            finish(finished, slotOf(finished));
            std::lock_guard lock(mutex);
            ++finished;
        }
    }
    return Failed::nothing;
}

// Bytes [from, to) of `data`, cut at its end: a split-stereo pair's shorter half runs out early.
ByteView bytesIn(ByteView data, std::int64_t from, std::int64_t to)
{
    const auto size = static_cast<std::int64_t>(data.size());
    from = std::min(from, size);
    return data.subspan(static_cast<std::size_t>(from), static_cast<std::size_t>(std::min(to, size) - from));
}

// The source decoded, resampled and mapped to the output's channels, a block per round.
class MappedBlocks {
public:
    // `right`, when given, is a split-stereo pair's right half: `data` is then the left one,
    // srcChannels 2, and the shorter half is padded with silence to the longer.
    MappedBlocks(ByteView data, std::optional<ByteView> right, SourceFormat format, std::int64_t srcRate,
                 std::int64_t srcChannels, std::int64_t targetRate, std::int64_t outChannels)
        : data_(data), right_(right), format_(format), srcRate_(srcRate), srcChannels_(srcChannels), outChannels_(outChannels)
    {
        const std::int64_t bytes = static_cast<std::int64_t>(std::max(data.size(), right ? right->size() : 0));
        inputFrames_ = srcChannels < 1 ? 0 : bytes / format.bytesPerSample() / (right ? 1 : srcChannels);
        resampling_ = srcRate != targetRate;
        outputFrames_ = resampling_ ? resampledLength(inputFrames_, static_cast<double>(srcRate), targetRate) : inputFrames_;
        if (resampling_)
            for (std::int64_t c = 0; c < srcChannels; ++c) {
                streams_.emplace_back(static_cast<double>(srcRate), targetRate, inputFrames_);
                resampleFailed_ = resampleFailed_ || !streams_.back();
            }
        for (auto& slot : resampled_)
            slot.resize(static_cast<std::size_t>(resampling_ ? srcChannels : 0));
        leftover_.resize(static_cast<std::size_t>(std::max<std::int64_t>(srcChannels, 0)));
    }

    // What decodeToBuffer would refuse: no whole frame, no channel, no rate.
    bool readable() const { return inputFrames_ >= 1 && srcRate_ > 0; }
    bool resamplerReady() const { return !resampleFailed_; }
    std::int64_t outputFrames() const { return outputFrames_; }
    std::int64_t rounds() const { return roundsFor(inputFrames_); }
    // Threads that resample, one per source channel; none when the rate stays.
    std::int64_t workers() const { return resampling_ ? srcChannels_ : 0; }

    bool prepare(std::int64_t k, int slot)
    {
        if (StopBetweenBlocks::requested())
            return false;
        const std::int64_t frameBytes = format_.bytesPerSample() * (right_ ? 1 : srcChannels_);
        const std::int64_t first = k * kBlockFrames;
        const std::int64_t count = std::min(kBlockFrames, inputFrames_ - first);
        const std::int64_t end = (first + count) * frameBytes;
        decoded_[static_cast<std::size_t>(slot)] =
            right_ ? decodePairToBuffer(bytesIn(data_, first * frameBytes, end), bytesIn(*right_, first * frameBytes, end),
                                        format_, srcRate_)
                   : decodeToBuffer(bytesIn(data_, first * frameBytes, end), format_, srcRate_, srcChannels_);
        // Decoded pages are not read again: let them go, so the mapping does not pile up.
        if (end - released_ >= kReleaseBytes || first + count == inputFrames_) {
            releaseResidentPages(bytesIn(data_, released_, end));
            if (right_)
                releaseResidentPages(bytesIn(*right_, released_, end));
            released_ = end;
        }
        return decoded_[static_cast<std::size_t>(slot)] != nullptr;
    }

    bool work(std::int64_t channel, std::int64_t k, int slot)
    {
        const PcmBuffer& in = *decoded_[static_cast<std::size_t>(slot)];
        std::vector<float>& out = resampled_[static_cast<std::size_t>(slot)][static_cast<std::size_t>(channel)];
        out.clear();
        ResampleStream& stream = streams_[static_cast<std::size_t>(channel)];
        const ResampleStream::Sink append = [&](const float* samples, std::int64_t frames) {
            out.insert(out.end(), samples, samples + frames);
        };
        return stream.push(in.channel(channel), in.frameLength(), append) &&
               (k + 1 < rounds() || stream.finish(append));
    }

    // Hands the round's frames, in the output's channels as mapChannels lays them out, to
    // write(channels, frames). Every channel's stream yields the same count for the same
    // input; should one ever run ahead, its extra frames wait for the next round.
    template <class Write>
    void finish(int slot, Write write)
    {
        std::vector<const float*>& source = sources_;
        source.clear();
        std::int64_t n = std::numeric_limits<std::int64_t>::max();
        for (std::int64_t c = 0; c < srcChannels_; ++c) {
            const auto i = static_cast<std::size_t>(c);
            if (!resampling_) {
                source.push_back(decoded_[static_cast<std::size_t>(slot)]->channel(c));
                n = decoded_[static_cast<std::size_t>(slot)]->frameLength();
                continue;
            }
            std::vector<float>& fresh = resampled_[static_cast<std::size_t>(slot)][i];
            if (!leftover_[i].empty()) {
                leftover_[i].insert(leftover_[i].end(), fresh.begin(), fresh.end());
                fresh.swap(leftover_[i]);
                leftover_[i].clear();
            }
            source.push_back(fresh.data());
            n = std::min(n, static_cast<std::int64_t>(fresh.size()));
        }

        pointers_.clear();
        if (srcChannels_ == 2 && outChannels_ == 1) {
            fold_.resize(static_cast<std::size_t>(n));
            for (std::int64_t i = 0; i < n; ++i)
                fold_[static_cast<std::size_t>(i)] = (source[0][i] + source[1][i]) * 0.5f;
            pointers_.push_back(fold_.data());
        } else {
            for (std::int64_t c = 0; c < outChannels_; ++c)
                pointers_.push_back(source[static_cast<std::size_t>(std::min(srcChannels_ - 1, c))]);
        }
        write(std::span<const float* const>(pointers_), n);

        if (resampling_)
            for (std::size_t c = 0; c < leftover_.size(); ++c) {
                const std::vector<float>& fresh = resampled_[static_cast<std::size_t>(slot)][c];
                leftover_[c].assign(fresh.begin() + static_cast<std::ptrdiff_t>(n), fresh.end());
            }
    }

private:
    ByteView data_;
    std::optional<ByteView> right_;
    SourceFormat format_;
    std::int64_t srcRate_, srcChannels_, outChannels_;
    std::int64_t inputFrames_ = 0, outputFrames_ = 0, released_ = 0;
    bool resampling_ = false, resampleFailed_ = false;
    std::vector<ResampleStream> streams_;
    std::array<PcmBufferPtr, kSlots> decoded_;
    std::array<std::vector<std::vector<float>>, kSlots> resampled_;
    std::vector<std::vector<float>> leftover_;
    std::vector<float> fold_;
    std::vector<const float*> sources_, pointers_;
};

// One normalisation pass's output, gain × the audio through the limiter, then trimmed, a
// block per round.
class LimitedBlocks {
public:
    LimitedBlocks(const PcmBuffer& audio, float gain, float ceiling, std::optional<float> trim)
        : limiter_(audio, gain, ceiling), trim_(trim), frames_(audio.frameLength())
    {
        for (std::size_t s = 0; s < kSlots; ++s) {
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
        return {p.data(), p.size()};
    }

private:
    LimitedSignal limiter_;
    std::optional<float> trim_;
    std::int64_t frames_;
    std::array<std::vector<std::vector<float>>, kSlots> blocks_;
    std::array<std::vector<float*>, kSlots> pointers_;
    std::array<std::int64_t, kSlots> counts_{};
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

const auto nothingToFinish = [](std::int64_t, int) {};

// truePeakLinear of the pass's limited audio.
float truePeakOfPass(const PcmBuffer& audio, float gain, float ceiling)
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

    runPipelined(
        channels, blocks.rounds(), [&](std::int64_t k, int slot) { return blocks.prepare(k, slot); },
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
        nothingToFinish);
    // Unoversampled, the measurement falls back to the sample peak.
    if (!oversampled || std::find(streamFailed.begin(), streamFailed.end(), 1) != streamFailed.end())
        peaks = samplePeaks;
    return *std::max_element(peaks.begin(), peaks.end());
}

// integratedLUFS of the pass's limited and trimmed audio.
double loudnessOfPass(const PcmBuffer& audio, float gain, float ceiling, std::optional<float> trim)
{
    LimitedBlocks blocks(audio, gain, ceiling, trim);
    LoudnessMeter meter(audio.sampleRate(), audio.channelCount(), audio.frameLength());
    runPipelined(
        audio.channelCount(), blocks.rounds(), [&](std::int64_t k, int slot) { return blocks.prepare(k, slot); },
        [&](std::int64_t c, std::int64_t, int slot) {
            meter.add(c, blocks.channel(slot, c), blocks.frames(slot));
            return true;
        },
        nothingToFinish);
    return meter.integrated();
}

float gainOf(double gainDB) { return static_cast<float>(std::pow(10.0, gainDB / 20.0)); }

struct PassGains {
    float gain;
    std::optional<float> trim;
};


// normalize()'s passes, each measured as it streams past, over audio that is never
// changed: the gain and trim of the pass whose result normalize() would leave, or none
// when it would leave the audio as it is.
std::optional<PassGains> normalisationGains(const PcmBuffer& audio)
{
    const std::int64_t n = audio.frameLength();
    LoudnessMeter first(audio.sampleRate(), audio.channelCount(), n);
    runPipelined(
        audio.channelCount(), roundsFor(n), [](std::int64_t, int) { return true; },
        [&](std::int64_t c, std::int64_t k, int) {
            first.add(c, audio.channel(c) + k * kBlockFrames, std::min(kBlockFrames, n - k * kBlockFrames));
            return true;
        },
        nothingToFinish);
    const double measured = first.integrated();
    if (!std::isfinite(measured))
        return std::nullopt;
    const float ceiling = gainOf(kCeilingDBTP);

    std::optional<PassGains> last;
    double gainDB = kTargetLUFS - measured;
    float gain = gainOf(gainDB);
    for (int pass = 1; std::isfinite(gain); ++pass) {
        // Limiting holds the samples; peaks between them are pulled under with a plain gain.
        const float peak = truePeakOfPass(audio, gain, ceiling);
        last = PassGains{gain, peak > ceiling && peak > 0.0f ? std::optional(ceiling / peak) : std::nullopt};
        if (pass == kMaxPasses)
            break;
        const double remeasured = loudnessOfPass(audio, gain, ceiling, last->trim);
        if (!std::isfinite(remeasured) || std::abs(kTargetLUFS - remeasured) < kToleranceLU)
            break;
        gainDB += kTargetLUFS - remeasured;
        gain = gainOf(gainDB);
    }
    return last;
}

ConversionResult failure(Failed failed)
{
    return {false, failed == Failed::read ? "couldn't read audio" : "resample failed", {}};
}

// Every block of the source through the channels' threads, each finished block handed to
// sink(channels, frames) in order.
template <class Sink>
Failed streamBlocks(MappedBlocks& blocks, Sink sink)
{
    return runPipelined(
        blocks.workers(), blocks.rounds(), [&](std::int64_t k, int slot) { return blocks.prepare(k, slot); },
        [&](std::int64_t c, std::int64_t k, int slot) { return blocks.work(c, k, slot); },
        [&](std::int64_t, int slot) { blocks.finish(slot, sink); });
}

ConversionResult normalisedInBlocks(MappedBlocks& blocks, const OutputTarget& to, std::int64_t targetRate,
                                    std::int64_t outChannels, std::int64_t targetDepth)
{
    // The one full-length copy: the resampled audio in the output's channels.
    PcmBufferPtr audio = PcmBuffer::make(static_cast<double>(targetRate), outChannels, blocks.outputFrames());
    if (!audio)
        return failure(Failed::resample);
    std::int64_t filled = 0;
    const Failed failed = streamBlocks(blocks, [&](std::span<const float* const> channels, std::int64_t frames) {
        const std::int64_t n = std::min(frames, audio->frameCapacity() - filled);
        for (std::size_t c = 0; c < channels.size(); ++c)
            std::copy_n(channels[c], n, audio->channel(static_cast<std::int64_t>(c)) + filled);
        filled += n;
    });
    if (failed != Failed::nothing)
        return failure(failed);
    audio->setFrameLength(filled);

    const std::optional<PassGains> gains = normalisationGains(*audio);
    try {
        WavWriter writer(to, targetRate, outChannels, audio->frameLength(), targetDepth);
        if (!gains) {
            std::vector<const float*> channels;
            for (std::int64_t c = 0; c < outChannels; ++c)
                channels.push_back(audio->channel(c));
            writer.write(channels, audio->frameLength());
            return {true, {}, writer.finish()};
        }
        const float ceiling = gainOf(kCeilingDBTP);
        LimitedBlocks pass(*audio, gains->gain, ceiling, gains->trim);
        runPipelined(
            0, pass.rounds(), [&](std::int64_t k, int slot) { return pass.prepare(k, slot); },
            [](std::int64_t, std::int64_t, int) { return true; },
            [&](std::int64_t, int slot) { writer.write(pass.channels(slot), pass.frames(slot)); });
        return {true, {}, writer.finish()};
    } catch (const WriteError& error) {
        return {false, error.what(), {}};
    }
}

ConversionResult convert(MappedBlocks& blocks, const OutputTarget& to, std::int64_t targetRate,
                         std::int64_t outChannels, std::int64_t targetDepth, bool normalizeLoudness)
{
    // The checks come in the whole-buffer stages' order, so a file fails with the same words.
    if (!blocks.readable())
        return failure(Failed::read);
    if (!blocks.resamplerReady())
        return failure(Failed::resample);
    if (outChannels < 1)
        return {false, "channel map failed", {}};
    if (normalizeLoudness)
        return normalisedInBlocks(blocks, to, targetRate, outChannels, targetDepth);

    try {
        WavWriter writer(to, targetRate, outChannels, blocks.outputFrames(), targetDepth);
        const Failed failed = streamBlocks(blocks, [&](std::span<const float* const> channels, std::int64_t frames) {
            writer.write(channels, frames);
        });
        if (failed != Failed::nothing)
            return failure(failed);
        return {true, {}, writer.finish()};
    } catch (const WriteError& error) {
        return {false, error.what(), {}};
    }
}

} // namespace

ConversionResult convertInBlocks(ByteView data, const OutputTarget& to, SourceFormat format,
                                 std::int64_t srcRate, std::int64_t srcChannels, std::int64_t targetRate,
                                 std::int64_t outChannels, std::int64_t targetDepth, bool normalizeLoudness)
{
    MappedBlocks blocks(data, std::nullopt, format, srcRate, srcChannels, targetRate, outChannels);
    return convert(blocks, to, targetRate, outChannels, targetDepth, normalizeLoudness);
}

ConversionResult convertPairInBlocks(ByteView left, ByteView right, const OutputTarget& to,
                                     SourceFormat format, std::int64_t srcRate, std::int64_t targetRate,
                                     std::int64_t outChannels, std::int64_t targetDepth, bool normalizeLoudness)
{
    MappedBlocks blocks(left, right, format, srcRate, 2, targetRate, outChannels);
    return convert(blocks, to, targetRate, outChannels, targetDepth, normalizeLoudness);
}

} // namespace quorvel
