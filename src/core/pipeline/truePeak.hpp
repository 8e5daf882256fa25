#pragma once

#include "core/pipeline/PcmBuffer.hpp"
#include "core/pipeline/resample.hpp"

#include <cstdint>
#include <vector>

namespace quorvel {

// The largest magnitude of the buffer oversampled four times (libsoxr's band-limited
// filter), as a linear amplitude; the plain sample peak when the rate cannot be oversampled.
// NaN samples are ignored.
float truePeakLinear(const PcmBuffer& buffer);

// truePeakLinear over audio that arrives in pieces: each channel's samples in order, the
// channels independently (from different threads if need be). Gives truePeakLinear's
// result to the last bit.
class TruePeakMeter {
public:
    // `frames`: the length every channel will have; a channel's oversampling is flushed
    // once that much of it has been added.
    TruePeakMeter(double sampleRate, std::int64_t channels, std::int64_t frames);
    void add(std::int64_t channel, const float* samples, std::int64_t frames);
    float peak() const;

private:
    struct Channel {
        ResampleStream oversampling;
        float peak = 0.0f, samplePeak = 0.0f;
        std::int64_t added = 0;
        bool failed = false;
    };
    std::int64_t frames_;
    std::vector<Channel> channels_;
};

} // namespace quorvel
