#include "core/pipeline/limitedSignal.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

namespace quorvel {

LimitedSignal::LimitedSignal(const PcmBuffer& source, float gain, float ceiling)
    : source_(source), gain_(gain), ceiling_(ceiling)
{
    const double fs = source.sampleRate();
    lookahead_ = std::max<std::int64_t>(1, std::llround(fs * 0.003));
    const std::int64_t release = std::max<std::int64_t>(1, std::llround(fs * 0.06));
    step_ = static_cast<float>(1.0 / static_cast<double>(release));
    window_.resize(std::bit_ceil(static_cast<std::size_t>(lookahead_) + 2)); // a mask wraps it
}

float LimitedSignal::required(std::int64_t frame) const
{
    float peak = 0.0f;
    for (std::int64_t c = 0; c < source_.channelCount(); ++c)
        peak = std::max(peak, std::abs(gain_ * source_.channel(c)[frame]));
    if (!(peak > ceiling_))
        return 1.0f;
    float g = ceiling_ / peak;
    if (peak * g > ceiling_)
        g = std::nextafter(g, 0.0f); // as limitPeaks: never an ulp above the ceiling
    return g;
}

void LimitedSignal::read(std::int64_t frames, float* const* out)
{
    const std::int64_t n = source_.frameLength();
    const std::int64_t channels = source_.channelCount();
    for (std::int64_t k = 0; k < frames; ++k, ++next_) {
        const std::int64_t i = next_;
        const std::size_t mask = window_.size() - 1;
        const auto at = [&](std::size_t j) -> Pending& { return window_[(front_ + j) & mask]; };
        for (const std::int64_t last = std::min(i + lookahead_, n - 1); seen_ <= last; ++seen_) {
            const float need = required(seen_);
            while (size_ > 0 && at(size_ - 1).need >= need)
                --size_;
            at(size_++) = {seen_, need};
        }
        while (at(0).frame < i) {
            front_ = (front_ + 1) & mask;
            --size_;
        }

        const float target = at(0).need;
        g_ = target < g_ ? target : std::min(g_ + step_, target);
        for (std::int64_t c = 0; c < channels; ++c)
            out[c][k] = gain_ * source_.channel(c)[i] * g_;
    }
}

} // namespace quorvel
