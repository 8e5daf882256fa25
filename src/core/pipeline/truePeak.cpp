#include "core/pipeline/truePeak.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>

namespace quorvel {

namespace {

// std::max keeps the running peak when the sample is NaN. The largest of a set does not
// depend on the order it is taken in, so eight running peaks go side by side.
float peakOf(const float* samples, std::int64_t frames, float peak)
{
    float lanes[8] = {peak, peak, peak, peak, peak, peak, peak, peak};
    std::int64_t i = 0;
    for (; i + 8 <= frames; i += 8)
        for (int k = 0; k < 8; ++k)
            lanes[k] = std::max(lanes[k], std::abs(samples[i + k]));
    for (; i < frames; ++i)
        lanes[0] = std::max(lanes[0], std::abs(samples[i]));
    return *std::max_element(std::begin(lanes), std::end(lanes));
}

} // namespace

TruePeakMeter::TruePeakMeter(double sampleRate, std::int64_t channels, std::int64_t frames) : frames_(frames)
{
    const std::int64_t rate = std::llround(sampleRate);
    // Under half a hertz, or too high to quadruple, goes in as rate 0, which the resampler refuses.
    const std::int64_t overRate = rate > 0 && rate <= std::numeric_limits<std::int64_t>::max() / 4 ? 4 * rate : 0;
    for (std::int64_t c = 0; c < channels; ++c) {
        channels_.push_back({ResampleStream(sampleRate, overRate, frames)});
        channels_.back().failed = !channels_.back().oversampling;
    }
}

void TruePeakMeter::add(std::int64_t channel, const float* samples, std::int64_t frames)
{
    Channel& ch = channels_[static_cast<std::size_t>(channel)];
    ch.samplePeak = peakOf(samples, frames, ch.samplePeak);
    ch.added += frames;
    if (ch.failed)
        return;
    const ResampleStream::Sink sink = [&](const float* over, std::int64_t n) { ch.peak = peakOf(over, n, ch.peak); };
    ch.failed = !ch.oversampling.push(samples, frames, sink) || (ch.added == frames_ && !ch.oversampling.finish(sink));
}

float TruePeakMeter::peak() const
{
    // Unoversampled, the measurement falls back to the sample peak.
    const bool oversampled = std::none_of(channels_.begin(), channels_.end(), [](const Channel& ch) { return ch.failed; });
    float peak = 0.0f;
    for (const Channel& ch : channels_)
        peak = std::max(peak, oversampled ? ch.peak : ch.samplePeak);
    return peak;
}

float truePeakLinear(const PcmBuffer& buffer)
{
    TruePeakMeter meter(buffer.sampleRate(), buffer.channelCount(), buffer.frameLength());
    for (std::int64_t c = 0; c < buffer.channelCount(); ++c)
        meter.add(c, buffer.channel(c), buffer.frameLength());
    return meter.peak();
}

} // namespace quorvel
