#include "core/pipeline/writeWAV.hpp"
#include "core/io/PartialFile.hpp"
#include "core/pipeline/outputNaming.hpp"

#include <sndfile.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

namespace quorvel {

namespace {

constexpr std::int64_t kBlockFrames = 1 << 15;
constexpr std::int64_t kWavDataLimit = 0xFFFFFFFFLL - 1024; // RIFF sizes are 32-bit; leave room for the header

struct SndfileCloser {
    void operator()(SNDFILE* file) const { sf_close(file); }
};

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

int subformat(std::int64_t depth)
{
    switch (depth) {
    case 16: return SF_FORMAT_PCM_16;
    case 24: return SF_FORMAT_PCM_24;
    case 32: return SF_FORMAT_PCM_32;
    }
    throw WriteError("unsupported bit depth " + std::to_string(depth));
}

} // namespace

struct WavWriter::State {
    OutputTarget to;
    PartialFile partial;
    std::unique_ptr<SNDFILE, SndfileCloser> file;
    std::int64_t depth;
    std::vector<std::uint8_t> block;
    std::vector<std::int32_t> quantised;
};

WavWriter::WavWriter(const OutputTarget& to, std::int64_t sampleRate, std::int64_t channels,
                     std::int64_t frames, std::int64_t bitDepth)
{
    const std::int64_t dataBytes = frames * channels * (bitDepth / 8);
    SF_INFO info{};
    info.samplerate = static_cast<int>(sampleRate);
    info.channels = static_cast<int>(channels);
    info.format = (dataBytes > kWavDataLimit ? SF_FORMAT_RF64 : SF_FORMAT_WAV) | subformat(bitDepth);

    PartialFile partial = PartialFile::create(to.path);
    if (partial.fd() < 0)
        throw WriteError("couldn't create a file in " + to.path.parent_path().string() + ": " + partial.error());
    state_ = std::make_unique<State>(State{to, std::move(partial), nullptr, bitDepth, {}, {}});
    state_->file.reset(sf_open_fd(state_->partial.fd(), SFM_WRITE, &info, SF_FALSE));
    if (!state_->file)
        throw WriteError(std::string("couldn't start the WAV file: ") + sf_strerror(nullptr));
    state_->block.resize(static_cast<std::size_t>(kBlockFrames * channels * (bitDepth / 8)) + sizeof(std::uint32_t));
}

WavWriter::~WavWriter() = default;

void WavWriter::write(std::span<const float* const> channels, std::int64_t frames)
{
    // libsndfile writes the container; the samples go in as bytes we packed ourselves,
    // so its own float scaling never touches them.
    const std::int64_t frameBytes = static_cast<std::int64_t>(channels.size()) * (state_->depth / 8);
    for (std::int64_t start = 0; start < frames; start += kBlockFrames) {
        const std::int64_t count = std::min(kBlockFrames, frames - start);
        switch (state_->depth) {
        case 16: packBlock<16>(channels, start, count, state_->block.data(), state_->quantised); break;
        case 24: packBlock<24>(channels, start, count, state_->block.data(), state_->quantised); break;
        default: packBlock<32>(channels, start, count, state_->block.data(), state_->quantised); break;
        }
        const sf_count_t size = count * frameBytes;
        if (sf_write_raw(state_->file.get(), state_->block.data(), size) != size)
            throw WriteError(std::string("couldn't write the file: ") + sf_strerror(state_->file.get()));
    }
}

std::filesystem::path WavWriter::finish(ExistingFile existing)
{
    const std::filesystem::path& to = state_->to.path;
    // Closing writes the final chunk sizes, which can fail too (a full disk).
    if (sf_close(state_->file.release()) != 0)
        throw WriteError(std::string("couldn't finish the file: ") + sf_strerror(nullptr));
    PartialFile& partial = state_->partial;
    if (existing == ExistingFile::replace) {
        if (!partial.publishReplacing(to))
            throw WriteError("couldn't put the file in place: " + partial.error());
        return to;
    }
    beforePublishing(partial, state_->to);
    std::filesystem::path written = partial.publish(to, nextOutputCandidate);
    if (written.empty())
        throw WriteError("couldn't put the file in place: " + partial.error());
    return written;
}

void beforePublishing(PartialFile& partial, const OutputTarget& to)
{
    if (!to.beforePublish)
        return;
    const std::int64_t bytes = partial.syncedSize();
    if (bytes < 0)
        throw WriteError("couldn't put the file on disk: " + partial.error());
    to.beforePublish(bytes);
}

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
