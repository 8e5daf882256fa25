#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace quorvel {

// Non-interleaved 32-bit float audio: one contiguous array per channel. Stages take and
// return shared pointers; a stage with nothing to do hands back the very same pointer and
// a failed stage returns nullptr.
class PcmBuffer {
public:
    // nullptr when the channel count is below 1; std::bad_alloc when the memory cannot be
    // had, so the file's failure can say so.
    static std::shared_ptr<PcmBuffer> make(double sampleRate, std::int64_t channels, std::int64_t frameCapacity);

    double sampleRate() const { return sampleRate_; }
    std::int64_t channelCount() const { return static_cast<std::int64_t>(channels_.size()); }
    std::int64_t frameCapacity() const { return capacity_; }
    std::int64_t frameLength() const { return frameLength_; }
    void setFrameLength(std::int64_t frames) { frameLength_ = frames; } // at most frameCapacity()

    float* channel(std::int64_t c) { return channels_[static_cast<std::size_t>(c)].get(); }
    const float* channel(std::int64_t c) const { return channels_[static_cast<std::size_t>(c)].get(); }

private:
    struct Key {}; // only make() constructs, yet make_shared can reach the constructor

public:
    explicit PcmBuffer(Key) {}

private:

    double sampleRate_ = 0;
    std::int64_t capacity_ = 0;
    std::int64_t frameLength_ = 0;
    std::vector<std::unique_ptr<float[]>> channels_;
};

using PcmBufferPtr = std::shared_ptr<PcmBuffer>;

} // namespace quorvel
