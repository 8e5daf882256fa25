#include "core/pipeline/PcmBuffer.hpp"

namespace quorvel {

std::shared_ptr<PcmBuffer> PcmBuffer::make(double sampleRate, std::int64_t channels, std::int64_t frameCapacity)
{
    if (channels < 1 || frameCapacity < 0 || !(sampleRate > 0))
        return nullptr;
    auto buffer = std::make_shared<PcmBuffer>(Key{});
    buffer->sampleRate_ = sampleRate;
    buffer->capacity_ = frameCapacity;
    buffer->channels_.reserve(static_cast<std::size_t>(channels));
    // Left uninitialised: every stage writes each frame it publishes.
    for (std::int64_t c = 0; c < channels; ++c)
        buffer->channels_.push_back(std::make_unique_for_overwrite<float[]>(static_cast<std::size_t>(frameCapacity)));
    return buffer;
}

} // namespace quorvel
