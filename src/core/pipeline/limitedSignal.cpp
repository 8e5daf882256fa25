#include "core/pipeline/limitedSignal.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

namespace quorvel {

LimitedSignal::LimitedSignal(double sampleRate, std::int64_t channels, float gain, float ceiling)
    : gain_(gain), ceiling_(ceiling), held_(static_cast<std::size_t>(channels))
{
    lookahead_ = std::max<std::int64_t>(1, std::llround(sampleRate * 0.003));
    const std::int64_t release = std::max<std::int64_t>(1, std::llround(sampleRate * 0.06));
    step_ = static_cast<float>(1.0 / static_cast<double>(release));
    window_.resize(std::bit_ceil(static_cast<std::size_t>(lookahead_) + 2)); // a mask wraps it
}

void LimitedSignal::push(std::span<const float* const> in, std::int64_t frames, bool last,
                         std::vector<std::vector<float>>& out)
{
    // The gain each new frame needs to sit at the ceiling, as limitPeaks works it out.
    const std::size_t from = needs_.size();
    needs_.resize(from + static_cast<std::size_t>(frames), 0.0f);
    float* const need = needs_.data() + from;
    for (std::size_t c = 0; c < held_.size(); ++c) {
        held_[c].insert(held_[c].end(), in[c], in[c] + frames);
        for (std::int64_t j = 0; j < frames; ++j)
            need[j] = std::max(need[j], std::abs(gain_ * in[c][j]));
    }
    for (std::int64_t j = 0; j < frames; ++j) {
        const float peak = need[j];
        float g = 1.0f;
        if (peak > ceiling_) {
            g = ceiling_ / peak;
            if (peak * g > ceiling_)
                g = std::nextafter(g, 0.0f); // never an ulp above the ceiling
        }
        need[j] = g;
    }

    const std::int64_t arrived = next_ + static_cast<std::int64_t>(needs_.size());
    // Without the end in sight, frame i waits until frame i + lookahead is there.
    const std::int64_t ready = last ? arrived : std::max(next_, arrived - lookahead_);
    const auto count = static_cast<std::size_t>(ready - next_);
    gains_.resize(count);
    const std::size_t mask = window_.size() - 1;
    const auto at = [&](std::size_t j) -> Pending& { return window_[(front_ + j) & mask]; };
    for (std::size_t k = 0; k < count; ++k) {
        const std::int64_t i = next_ + static_cast<std::int64_t>(k);
        for (const std::int64_t end = std::min(i + lookahead_, arrived - 1); seen_ <= end; ++seen_) {
            const float g = needs_[static_cast<std::size_t>(seen_ - next_)];
            while (size_ > 0 && at(size_ - 1).need >= g)
                --size_;
            at(size_++) = {seen_, g};
        }
        while (at(0).frame < i) {
            front_ = (front_ + 1) & mask;
            --size_;
        }
        const float target = at(0).need;
        g_ = target < g_ ? target : std::min(g_ + step_, target);
        gains_[k] = g_;
    }

    out.resize(held_.size());
    for (std::size_t c = 0; c < held_.size(); ++c) {
        out[c].resize(count);
        const float* x = held_[c].data();
        for (std::size_t k = 0; k < count; ++k)
            out[c][k] = gain_ * x[k] * gains_[k];
        held_[c].erase(held_[c].begin(), held_[c].begin() + static_cast<std::ptrdiff_t>(count));
    }
    needs_.erase(needs_.begin(), needs_.begin() + static_cast<std::ptrdiff_t>(count));
    next_ = ready;
}

} // namespace quorvel
