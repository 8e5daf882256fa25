#include "core/pipeline/decodePair.hpp"

#include <algorithm>

namespace quorvel {

PcmBufferPtr decodePairToBuffer(ByteView left, ByteView right, SourceFormat format, std::int64_t sampleRate,
                                std::optional<std::int64_t> maxFrames)
{
    const auto bps = static_cast<std::size_t>(format.bytesPerSample());
    const ByteView halves[2] = {left, right};
    PcmBufferPtr decoded[2];
    std::int64_t frames = 0;
    for (int c = 0; c < 2; ++c) {
        if (halves[c].size() < bps)
            continue; // an empty half is all padding
        decoded[c] = decodeToBuffer(halves[c], format, sampleRate, 1, maxFrames);
        if (!decoded[c])
            return nullptr;
        frames = std::max(frames, decoded[c]->frameLength());
    }
    if (frames < 1)
        return nullptr;

    PcmBufferPtr stereo = PcmBuffer::make(static_cast<double>(sampleRate), 2, frames);
    if (!stereo)
        return nullptr;
    stereo->setFrameLength(frames);
    for (int c = 0; c < 2; ++c) {
        float* out = stereo->channel(c);
        const std::int64_t have = decoded[c] ? decoded[c]->frameLength() : 0;
        if (have > 0)
            std::copy_n(decoded[c]->channel(0), have, out);
        std::fill(out + have, out + frames, 0.0f);
        decoded[c].reset(); // free each half as soon as it is copied
    }
    return stereo;
}

} // namespace quorvel
