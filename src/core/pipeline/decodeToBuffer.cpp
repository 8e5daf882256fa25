#include "core/pipeline/decodeToBuffer.hpp"
#include "core/io/guardedRead.hpp"

#include <algorithm>
#include <cmath>

namespace quorvel {

PcmBufferPtr decodeToBuffer(ByteView data, SourceFormat format, std::int64_t sampleRate, std::int64_t channels,
                            std::optional<std::int64_t> maxFrames)
{
    if (channels < 1)
        return nullptr;
    const std::int64_t bps = format.bytesPerSample();
    const std::int64_t totalFrames = static_cast<std::int64_t>(data.size()) / bps / channels;
    const std::int64_t frames = maxFrames ? std::min(totalFrames, *maxFrames) : totalFrames;
    if (frames < 1)
        return nullptr;

    PcmBufferPtr buffer = PcmBuffer::make(static_cast<double>(sampleRate), channels, frames);
    if (!buffer)
        return nullptr;
    buffer->setFrameLength(frames);

    const float scale = std::ldexp(1.0f, -static_cast<int>(8 * bps - 1)); // full scale is 2^(bits − 1)
    const bool read = guardedRead([&] {
        withFormat(format, [&](auto f) {
            for (std::int64_t c = 0; c < channels; ++c) {
                float* out = buffer->channel(c);
                const std::uint8_t* in = data.data() + c * bps;
                const std::int64_t stride = channels * bps;
                for (std::int64_t i = 0; i < frames; ++i, in += stride)
                    out[i] = static_cast<float>(decodeAt<decltype(f)::value>(in)) * scale;
            }
        });
    });
    return read ? buffer : nullptr; // a mapped source that shrank under us
}

} // namespace quorvel
