#include "core/pipeline/mapChannels.hpp"

#include <algorithm>
#include <cstring>

namespace quorvel {

PcmBufferPtr mapChannels(const PcmBufferPtr& buffer, std::int64_t toChannels)
{
    if (!buffer)
        return nullptr;
    const std::int64_t from = buffer->channelCount();
    if (from == toChannels)
        return buffer;

    const std::int64_t n = buffer->frameLength();
    PcmBufferPtr out = PcmBuffer::make(buffer->sampleRate(), toChannels, n);
    if (!out)
        return nullptr;
    out->setFrameLength(n);

    if (from == 2 && toChannels == 1) {
        const float* left = buffer->channel(0);
        const float* right = buffer->channel(1);
        float* mono = out->channel(0);
        for (std::int64_t i = 0; i < n; ++i)
            mono[i] = (left[i] + right[i]) * 0.5f;
        return out;
    }
    // Mono to stereo is the general rule too: every extra channel repeats the last source channel.
    for (std::int64_t c = 0; c < toChannels; ++c)
        std::memcpy(out->channel(c), buffer->channel(std::min(from - 1, c)), static_cast<std::size_t>(n) * sizeof(float));
    return out;
}

} // namespace quorvel
