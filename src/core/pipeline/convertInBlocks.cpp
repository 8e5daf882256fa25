#include "core/pipeline/convertInBlocks.hpp"
#include "core/io/MappedFile.hpp"
#include "core/io/SourceHash.hpp"
#include "core/pipeline/decodePair.hpp"
#include "core/pipeline/limitedSignal.hpp"
#include "core/pipeline/loudness.hpp"
#include "core/pipeline/resample.hpp"
#include "core/pipeline/truePeak.hpp"
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

// Runs `rounds` rounds of four steps: prepare(k, slot) on this thread; work(c, k, slot) for
// every c < workers, each on a thread of its own; finish(k, slot) on this thread, in round
// order, once every worker is done with the round; then consume(c, k, slot) for every
// c < consumers, on the same threads. A slot is prepared again only once its previous round
// is consumed. Returns the first failure.
template <class Prepare, class Work, class Finish, class Consume>
Failed runPipelined(std::int64_t workers, std::int64_t consumers, std::int64_t rounds, Prepare prepare, Work work,
                    Finish finish, Consume consume)
{
    std::mutex mutex;
    // Two signals, so that each change wakes only the threads it concerns: a prepared or
    // finished block (or the end) wakes the channels' threads, a worked or consumed one
    // wakes this thread.
    std::condition_variable blockReady, blockWorked;
    std::int64_t prepared = 0, finished = 0;
    std::vector<std::int64_t> worked(static_cast<std::size_t>(workers), 0), consumed(static_cast<std::size_t>(consumers), 0);
    bool workFailed = false, stopping = false;
    const auto allWorked = [&] { return workers == 0 ? prepared : *std::min_element(worked.begin(), worked.end()); };
    const auto allConsumed = [&] { return consumers == 0 ? finished : *std::min_element(consumed.begin(), consumed.end()); };

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
    for (std::int64_t c = 0; c < std::max(workers, consumers); ++c)
        threads.emplace_back([&, c] {
            std::int64_t nextWork = c < workers ? 0 : rounds, nextConsume = c < consumers ? 0 : rounds;
            while (nextWork < rounds || nextConsume < rounds) {
                bool consuming = false;
                {
                    std::unique_lock lock(mutex);
                    blockReady.wait(lock, [&] { return stopping || nextConsume < finished || nextWork < prepared; });
                    if (stopping)
                        return;
                    consuming = nextConsume < finished; // the older round first: it frees a slot
                }
                std::int64_t& k = consuming ? nextConsume : nextWork;
                bool ok = false;
                try {
                    ok = consuming ? consume(c, k, slotOf(k)) : work(c, k, slotOf(k));
                } catch (...) { // std::bad_alloc above all: the conversion fails, the process goes on
                }
                {
                    std::lock_guard lock(mutex);
                    (consuming ? consumed : worked)[static_cast<std::size_t>(c)] = ++k;
                    workFailed = workFailed || !ok;
                }
                blockWorked.notify_one();
                if (!ok)
                    return;
            }
        });

    while (true) {
        bool canPrepare = false, canFinish = false;
        {
            std::unique_lock lock(mutex);
            bool ended = false;
            blockWorked.wait(lock, [&] {
                canPrepare = prepared < rounds && allConsumed() > prepared - kSlots;
                canFinish = allWorked() > finished;
                ended = allConsumed() == rounds;
                return workFailed || canPrepare || canFinish || ended;
            });
            if (workFailed)
                return Failed::resample;
            if (ended)
                return Failed::nothing;
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
            {
                std::lock_guard lock(mutex);
                ++finished;
            }
            if (consumers > 0)
                blockReady.notify_all();
        }
    }
}

// Bytes [from, to) of `data`, cut at its end: a split-stereo pair's shorter half runs out early.
ByteView bytesIn(ByteView data, std::int64_t from, std::int64_t to)
{
    const auto size = static_cast<std::int64_t>(data.size());
    from = std::min(from, size);
    return data.subspan(static_cast<std::size_t>(from), static_cast<std::size_t>(std::min(to, size) - from));
}

// What every pass over the source starts from. `right`, when given, is a split-stereo
// pair's right half: `data` is then the left one, `channels` 2, and the shorter half is
// padded with silence to the longer.
struct Source {
    ByteView data;
    std::optional<ByteView> right;
    SourceFormat format;
    std::int64_t rate, channels;
    // The files `data` and `right` lie in, hashed as they are read; fewer when not hashed.
    std::span<SourceHash* const> hashes;
    const std::atomic<bool>* stop = nullptr; // set: fail before the next block
};

// Where the output goes and what it is.
struct Target {
    OutputTarget to;
    std::int64_t rate, channels, depth;
};

// The source decoded, resampled and mapped to the output's channels, a block per round.
class MappedBlocks {
public:
    MappedBlocks(const Source& source, std::int64_t targetRate, std::int64_t outChannels)
        : data_(source.data), right_(source.right), format_(source.format), srcRate_(source.rate),
          srcChannels_(source.channels), outChannels_(outChannels), hashes_(source.hashes), stop_(source.stop)
    {
        const std::int64_t bytes = static_cast<std::int64_t>(std::max(data_.size(), right_ ? right_->size() : 0));
        inputFrames_ = srcChannels_ < 1 ? 0 : bytes / format_.bytesPerSample() / (right_ ? 1 : srcChannels_);
        resampling_ = srcRate_ != targetRate;
        outputFrames_ = resampling_ ? resampledLength(inputFrames_, static_cast<double>(srcRate_), targetRate) : inputFrames_;
        if (resampling_)
            for (std::int64_t c = 0; c < srcChannels_; ++c) {
                streams_.emplace_back(static_cast<double>(srcRate_), targetRate, inputFrames_);
                resampleFailed_ = resampleFailed_ || !streams_.back();
            }
        for (auto& slot : resampled_)
            slot.resize(static_cast<std::size_t>(resampling_ ? srcChannels_ : 0));
        leftover_.resize(static_cast<std::size_t>(std::max<std::int64_t>(srcChannels_, 0)));
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
        if (stop_ && stop_->load())
            return false;
        const std::int64_t frameBytes = format_.bytesPerSample() * (right_ ? 1 : srcChannels_);
        const std::int64_t first = k * kBlockFrames;
        const std::int64_t count = std::min(kBlockFrames, inputFrames_ - first);
        const std::int64_t end = (first + count) * frameBytes;
        decoded_[static_cast<std::size_t>(slot)] =
            right_ ? decodePairToBuffer(bytesIn(data_, first * frameBytes, end), bytesIn(*right_, first * frameBytes, end),
                                        format_, srcRate_)
                   : decodeToBuffer(bytesIn(data_, first * frameBytes, end), format_, srcRate_, srcChannels_);
        // Hashed while the bytes are at hand; a later pass finds them hashed already.
        const bool hashed = (hashes_.empty() || hashes_[0]->upTo(std::to_address(bytesIn(data_, 0, end).end()))) &&
                            (!right_ || hashes_.size() < 2 || hashes_[1]->upTo(std::to_address(bytesIn(*right_, 0, end).end())));
        // Decoded pages are not read again: let them go, so the mapping does not pile up.
        if (end - released_ >= kReleaseBytes || first + count == inputFrames_) {
            releaseResidentPages(bytesIn(data_, released_, end));
            if (right_)
                releaseResidentPages(bytesIn(*right_, released_, end));
            released_ = end;
        }
        return hashed && decoded_[static_cast<std::size_t>(slot)] != nullptr;
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
    std::span<SourceHash* const> hashes_;
    const std::atomic<bool>* stop_;
    std::int64_t inputFrames_ = 0, outputFrames_ = 0, released_ = 0;
    bool resampling_ = false, resampleFailed_ = false;
    std::vector<ResampleStream> streams_;
    std::array<PcmBufferPtr, kSlots> decoded_;
    std::array<std::vector<std::vector<float>>, kSlots> resampled_;
    std::vector<std::vector<float>> leftover_;
    std::vector<float> fold_;
    std::vector<const float*> sources_, pointers_;
};

float gainOf(double gainDB) { return static_cast<float>(std::pow(10.0, gainDB / 20.0)); }

// A normalisation pass's settings: gain × the limiter, then the true-peak trim.
struct PassGains {
    float gain;
    std::optional<float> trim;
};

ConversionResult failure(Failed failed)
{
    return {false, failed == Failed::read ? "couldn't read audio" : "resample failed", {}, {}};
}

ConversionResult finished(WavWriter& writer)
{
    std::filesystem::path written = writer.finish();
    return {true, {}, std::move(written), writer.facts()};
}

// A normalised file's loudness for its bext chunk, when both figures could be measured.
void recordLoudness(WavWriter& writer, double lufs, float truePeak)
{
    const double peakDB = 20.0 * std::log10(static_cast<double>(truePeak));
    if (std::isfinite(lufs) && std::isfinite(peakDB))
        writer.measured({lufs, peakDB});
}

// Every block of the source through the channels' threads, each finished block handed to
// sink(channels, frames) in order.
template <class Sink>
Failed streamBlocks(MappedBlocks& blocks, Sink sink)
{
    return runPipelined(
        blocks.workers(), 0, blocks.rounds(), [&](std::int64_t k, int slot) { return blocks.prepare(k, slot); },
        [&](std::int64_t c, std::int64_t k, int slot) { return blocks.work(c, k, slot); },
        [&](std::int64_t, int slot) { blocks.finish(slot, sink); }, [](std::int64_t, std::int64_t, int) { return true; });
}

// The source as it is mapped, block after block into the file.
ConversionResult written(MappedBlocks& blocks, const Target& target)
{
    WavWriter writer(target.to, target.rate, target.channels, blocks.outputFrames(), target.depth);
    const Failed failed = streamBlocks(blocks, [&](std::span<const float* const> channels, std::int64_t frames) {
        writer.write(channels, frames);
    });
    if (failed != Failed::nothing)
        return failure(failed);
    return finished(writer);
}

// A pass that could not read or resample the source.
struct PassFailed {
    Failed failed;
};

// One pass over the source, decoded and resampled afresh: libsoxr's output depends only on
// its input, so every pass sees the same samples and only a block of them is held at a
// time. With `gains`, the audio goes through the gain, the limiter and the trim. Each block
// is written when there is a writer, and handed to meter.add(channel, samples, frames) for
// every output channel, the channels on threads of their own. Returns the frames that
// passed; throws PassFailed.
template <class Meter>
std::int64_t streamPass(const Source& source, const Target& target, const std::optional<PassGains>& gains,
                        WavWriter* writer, Meter& meter)
{
    MappedBlocks blocks(source, target.rate, target.channels);
    if (!blocks.resamplerReady())
        throw PassFailed{Failed::resample};
    std::optional<LimitedSignal> limiter;
    if (gains)
        limiter.emplace(static_cast<double>(target.rate), target.channels, gains->gain, gainOf(kCeilingDBTP));
    std::array<std::vector<std::vector<float>>, kSlots> out;
    std::vector<const float*> pointers;
    std::int64_t frames = 0;
    const auto finish = [&](std::int64_t k, int slot) {
        std::vector<std::vector<float>>& block = out[static_cast<std::size_t>(slot)];
        blocks.finish(slot, [&](std::span<const float* const> mapped, std::int64_t n) {
            if (limiter) {
                limiter->push(mapped, n, k + 1 == blocks.rounds(), block);
            } else {
                block.resize(mapped.size());
                for (std::size_t c = 0; c < mapped.size(); ++c)
                    block[c].assign(mapped[c], mapped[c] + n);
            }
        });
        pointers.clear();
        for (std::vector<float>& channel : block) {
            if (gains && gains->trim)
                for (float& sample : channel)
                    sample *= *gains->trim;
            pointers.push_back(channel.data());
        }
        const auto n = static_cast<std::int64_t>(block.front().size());
        if (writer)
            writer->write(pointers, n);
        frames += n;
    };
    const Failed failed = runPipelined(
        blocks.workers(), target.channels, blocks.rounds(), [&](std::int64_t k, int slot) { return blocks.prepare(k, slot); },
        [&](std::int64_t c, std::int64_t k, int slot) { return blocks.work(c, k, slot); }, finish,
        [&](std::int64_t c, std::int64_t, int slot) {
            const std::vector<float>& channel = out[static_cast<std::size_t>(slot)][static_cast<std::size_t>(c)];
            meter.add(c, channel.data(), static_cast<std::int64_t>(channel.size()));
            return true;
        });
    if (failed != Failed::nothing)
        throw PassFailed{failed};
    return frames;
}

// integratedLUFS of a pass's audio, written as it goes.
double loudnessOfPass(const Source& source, const Target& target, const PassGains& gains, WavWriter& writer)
{
    LoudnessMeter meter(static_cast<double>(target.rate), target.channels);
    streamPass(source, target, gains, &writer, meter);
    return meter.integrated();
}

// truePeakLinear of a pass's limited audio, `frames` long.
float truePeakOfPass(const Source& source, const Target& target, float gain, std::int64_t frames)
{
    TruePeakMeter meter(static_cast<double>(target.rate), target.channels, frames);
    streamPass(source, target, PassGains{gain, std::nullopt}, nullptr, meter);
    return meter.peak();
}

// normalize() as passes over the source, each streamed: the first measures the loudness;
// then each of normalize()'s passes measures its true peak and, with the trim that gives,
// writes its audio while measuring its loudness. On target, that file is the result;
// otherwise it is dropped and the corrected gain goes round again. The audio of the last
// pass normalize() allows, or of none when the loudness cannot be measured, is written
// without measuring.
ConversionResult normalisedInBlocks(const Source& source, const Target& target)
{
    LoudnessMeter first(static_cast<double>(target.rate), target.channels);
    const std::int64_t frames = streamPass(source, target, std::nullopt, nullptr, first);
    const double measured = first.integrated();
    const auto startFile = [&] { return WavWriter(target.to, target.rate, target.channels, frames, target.depth); };

    std::optional<PassGains> last;
    float peak = 0.0f; // the last pass's true peak, before its trim
    const float ceiling = gainOf(kCeilingDBTP);
    double gainDB = kTargetLUFS - measured;
    float gain = gainOf(gainDB);
    for (int pass = 1; std::isfinite(measured) && std::isfinite(gain); ++pass) {
        // Limiting holds the samples; peaks between them are pulled under with a plain gain.
        peak = truePeakOfPass(source, target, gain, frames);
        last = PassGains{gain, peak > ceiling && peak > 0.0f ? std::optional(ceiling / peak) : std::nullopt};
        if (pass == kMaxPasses)
            break;
        WavWriter writer = startFile();
        const double remeasured = loudnessOfPass(source, target, *last, writer);
        if (!std::isfinite(remeasured) || std::abs(kTargetLUFS - remeasured) < kToleranceLU) {
            recordLoudness(writer, remeasured, last->trim ? ceiling : peak);
            return finished(writer);
        }
        gainDB += kTargetLUFS - remeasured;
        gain = gainOf(gainDB);
    }
    LoudnessMeter meter(static_cast<double>(target.rate), target.channels);
    WavWriter writer = startFile();
    streamPass(source, target, last, &writer, meter);
    if (last)
        recordLoudness(writer, meter.integrated(), last->trim ? ceiling : peak);
    return finished(writer);
}

ConversionResult convert(const Source& source, const Target& target, bool normalizeLoudness)
{
    MappedBlocks blocks(source, target.rate, target.channels);
    // The checks come in the whole-buffer stages' order, so a file fails with the same words.
    if (!blocks.readable())
        return failure(Failed::read);
    if (!blocks.resamplerReady())
        return failure(Failed::resample);
    if (target.channels < 1)
        return {false, "channel map failed", {}, {}};
    try {
        return normalizeLoudness ? normalisedInBlocks(source, target) : written(blocks, target);
    } catch (const PassFailed& pass) {
        return failure(pass.failed);
    } catch (const WriteError& error) {
        return {false, error.what(), {}, {}};
    }
}

} // namespace

ConversionResult convertInBlocks(ByteView data, const OutputTarget& to, SourceFormat format,
                                 std::int64_t srcRate, std::int64_t srcChannels, std::int64_t targetRate,
                                 std::int64_t outChannels, std::int64_t targetDepth, bool normalizeLoudness)
{
    return convert({data, std::nullopt, format, srcRate, srcChannels, to.sources, to.stop}, {to, targetRate, outChannels, targetDepth},
                   normalizeLoudness);
}

ConversionResult convertPairInBlocks(ByteView left, ByteView right, const OutputTarget& to,
                                     SourceFormat format, std::int64_t srcRate, std::int64_t targetRate,
                                     std::int64_t outChannels, std::int64_t targetDepth, bool normalizeLoudness)
{
    return convert({left, right, format, srcRate, 2, to.sources, to.stop}, {to, targetRate, outChannels, targetDepth},
                   normalizeLoudness);
}

} // namespace quorvel
