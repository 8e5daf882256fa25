#pragma once

#include "core/pipeline/PcmBuffer.hpp"

#include <cstdint>
#include <functional>
#include <memory>

namespace quorvel {

// The whole buffer at `toRate` (libsoxr, very high quality), flushed so that nothing is
// lost: exactly floor(toRate / rate × frameLength) frames. The same pointer when the
// buffer's rate already rounds to toRate; nullptr when the resampler cannot be made.
PcmBufferPtr resample(const PcmBufferPtr& buffer, std::int64_t toRate);

// Frames of `frames` at `fromRate` once resampled to `toRate`, rounded down.
std::int64_t resampledLength(std::int64_t frames, double fromRate, std::int64_t toRate);

// One channel resampled as it arrives, with the same libsoxr configuration as resample():
// libsoxr's output does not depend on how its input is cut up, so feeding a channel block
// by block gives exactly the samples resample() gives for the whole channel, and finish()
// ends it at the same length.
class ResampleStream {
public:
    using Sink = std::function<void(const float* samples, std::int64_t frames)>;

    // `inputFrames`: the channel's whole length, which fixes where the output ends.
    ResampleStream(double fromRate, std::int64_t toRate, std::int64_t inputFrames);
    ~ResampleStream();
    ResampleStream(ResampleStream&&) noexcept;
    ResampleStream& operator=(ResampleStream&&) noexcept;

    explicit operator bool() const;

    // Takes all of `frames` and hands `sink` whatever output it yields, in pieces. False on a
    // resampler error.
    bool push(const float* samples, std::int64_t frames, const Sink& sink);
    // Flushes the filter's tail after the last push.
    bool finish(const Sink& sink);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace quorvel
