#include "core/pipeline/truePeak.hpp"

#include "core/pipeline/resample.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace quorvel {

namespace {

// std::max keeps the running peak when the sample is NaN.
float peakOf(const float* samples, std::int64_t frames, float peak)
{
    for (std::int64_t i = 0; i < frames; ++i)
        peak = std::max(peak, std::abs(samples[i]));
    return peak;
}

} // namespace

float truePeakLinear(const PcmBuffer& buffer)
{
    const std::int64_t channels = buffer.channelCount();
    const std::int64_t rate = std::llround(buffer.sampleRate());
    // Under half a hertz, or too high to quadruple, goes in as rate 0, which the resampler refuses.
    const std::int64_t overRate = rate > 0 && rate <= std::numeric_limits<std::int64_t>::max() / 4 ? 4 * rate : 0;

    // One running peak per channel: the channels are resampled on threads of their own.
    std::vector<float> peaks(static_cast<std::size_t>(channels), 0.0f);
    const bool oversampled = resampleInBlocks(buffer, overRate, [&](std::int64_t c, const float* block, std::int64_t frames) {
        peaks[static_cast<std::size_t>(c)] = peakOf(block, frames, peaks[static_cast<std::size_t>(c)]);
    });
    if (!oversampled)
        for (std::int64_t c = 0; c < channels; ++c)
            peaks[static_cast<std::size_t>(c)] = peakOf(buffer.channel(c), buffer.frameLength(), 0.0f);
    return *std::max_element(peaks.begin(), peaks.end());
}

} // namespace quorvel
