#include "core/pipeline/writeWAV.hpp"
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

namespace quorvel {

namespace {

constexpr std::int64_t kBlockFrames = 1 << 15;

// Nearest integer, ties to even: lrintf, in a form the compiler can do eight at a time.
inline std::int32_t roundToInt(float v)
{
#if defined(__has_builtin)
#if __has_builtin(__builtin_irintf)
    return __builtin_irintf(v);
#endif
#endif
    return static_cast<std::int32_t>(std::lrintf(v));
}

// Round to nearest and saturate. Exact for integer-derived input: the scale is a power of
// two, and at 16 and 24 bits every value involved is exact in single precision.
template <int Depth>
inline std::int32_t quantise(float sample)
{
    if constexpr (Depth == 32) {
        const double v = std::nearbyint(static_cast<double>(sample) * 2147483648.0);
        if (!(v == v))
            return 0; // NaN
        return static_cast<std::int32_t>(std::clamp(v, -2147483648.0, 2147483647.0));
    } else {
        constexpr float full = static_cast<float>(1 << (Depth - 1));
        const float v = sample * full;
        const float sane = v == v ? v : 0.0f; // NaN is silence
        return roundToInt(std::min(std::max(sane, -full), full - 1.0f));
    }
}

// One block of frames as interleaved little-endian bytes, ready for the data chunk: each
// channel quantised on its own (a loop that vectorises), then the frames laid out, each
// sample stored as a whole word whose spare high byte the next sample overwrites; the last
// one lands in the block's slack.
template <int Depth>
void packBlock(std::span<const float* const> channels, std::int64_t start, std::int64_t count, std::uint8_t* out,
               std::vector<std::int32_t>& scratch)
{
    constexpr int bytes = Depth / 8;
    const auto width = static_cast<std::int64_t>(channels.size());
    scratch.resize(static_cast<std::size_t>(count * width));
    for (std::int64_t c = 0; c < width; ++c) {
        const float* in = channels[static_cast<std::size_t>(c)] + start;
        std::int32_t* q = scratch.data() + c * count;
        for (std::int64_t i = 0; i < count; ++i)
            q[i] = quantise<Depth>(in[i]);
    }
    const std::int32_t* const quantised = scratch.data(); // a local: byte stores may alias the vector
    for (std::int64_t i = 0; i < count; ++i)
        for (std::int64_t c = 0; c < width; ++c) {
            const auto v = static_cast<std::uint32_t>(quantised[c * count + i]);
            if constexpr (std::endian::native == std::endian::little) {
                std::memcpy(out, &v, sizeof v);
            } else {
                for (int b = 0; b < bytes; ++b)
                    out[b] = static_cast<std::uint8_t>(v >> (8 * b));
            }
            out += bytes;
        }
}

} // namespace

struct WavWriter::State {
    State(const OutputTarget& to, std::int64_t rate, std::int64_t channels, std::int64_t frames, std::int64_t bitDepth)
        : file(to, rate, channels, bitDepth, frames), depth(bitDepth)
    {
    }
    WavContainer file;
    std::int64_t depth;
    std::vector<std::uint8_t> block{};
    std::vector<std::int32_t> quantised{};
};

WavWriter::WavWriter(const OutputTarget& to, std::int64_t sampleRate, std::int64_t channels,
                     std::int64_t frames, std::int64_t bitDepth)
    : state_(std::make_unique<State>(to, sampleRate, channels, frames, bitDepth))
{
    state_->block.resize(static_cast<std::size_t>(kBlockFrames * channels * (bitDepth / 8)) + sizeof(std::uint32_t));
}

WavWriter::~WavWriter() = default;

void WavWriter::write(std::span<const float* const> channels, std::int64_t frames)
{
    // The samples go in as bytes we packed ourselves, so libsndfile's own float scaling
    // never touches them.
    const std::int64_t frameBytes = static_cast<std::int64_t>(channels.size()) * (state_->depth / 8);
    for (std::int64_t start = 0; start < frames; start += kBlockFrames) {
        const std::int64_t count = std::min(kBlockFrames, frames - start);
        switch (state_->depth) {
        case 16: packBlock<16>(channels, start, count, state_->block.data(), state_->quantised); break;
        case 24: packBlock<24>(channels, start, count, state_->block.data(), state_->quantised); break;
        default: packBlock<32>(channels, start, count, state_->block.data(), state_->quantised); break;
        }
        state_->file.write(state_->block, static_cast<std::size_t>(count * frameBytes));
    }
}

void WavWriter::measured(const MeasuredLoudness& loudness) { state_->file.measured(loudness); }

std::filesystem::path WavWriter::finish(ExistingFile existing) { return state_->file.finish(existing); }

const OutputFacts& WavWriter::facts() const { return state_->file.facts(); }

std::filesystem::path writeWAV(const PcmBuffer& buffer, const OutputTarget& to, std::int64_t bitDepth,
                               ExistingFile existing)
{
    WavWriter writer(to, std::llround(buffer.sampleRate()), buffer.channelCount(), buffer.frameLength(), bitDepth);
    std::vector<const float*> channels;
    for (std::int64_t c = 0; c < buffer.channelCount(); ++c)
        channels.push_back(buffer.channel(c));
    writer.write(channels, buffer.frameLength());
    return writer.finish(existing);
}

} // namespace quorvel
