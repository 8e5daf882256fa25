#include "core/pipeline/limitPeaks.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <deque>

namespace quorvel {

void limitPeaks(PcmBuffer& buffer, float ceiling)
{
    const std::int64_t n = buffer.frameLength();
    if (n <= 0)
        return;
    const std::int64_t channels = buffer.channelCount();
    const double fs = buffer.sampleRate();
    const std::int64_t lookahead = std::max<std::int64_t>(1, std::llround(fs * 0.003));
    const std::int64_t release = std::max<std::int64_t>(1, std::llround(fs * 0.06));
    const float step = static_cast<float>(1.0 / static_cast<double>(release));

    // Gain each frame needs to sit at the ceiling.
    const auto required = [&](std::int64_t i) {
        float peak = 0.0f;
        for (std::int64_t c = 0; c < channels; ++c)
            peak = std::max(peak, std::abs(buffer.channel(c)[i]));
        if (!(peak > ceiling))
            return 1.0f;
        float g = ceiling / peak;
        // The rounded quotient can exceed the exact one by enough that peak × g lands an
        // ulp above the ceiling; the next float down never does.
        if (peak * g > ceiling)
            g = std::nextafter(g, 0.0f);
        return g;
    };

    // Sliding minimum of the needed gain over [i, i + lookahead], kept as a queue whose
    // needs rise from front to back; it holds at most lookahead + 1 frames, so memory does
    // not grow with the buffer. Frames ahead of i are still unscaled when they are read.
    struct Pending {
        std::int64_t frame;
        float need;
    };
    std::deque<Pending> window;
    std::int64_t seen = 0;
    float g = 1.0f;
    for (std::int64_t i = 0; i < n; ++i) {
        for (const std::int64_t last = std::min(i + lookahead, n - 1); seen <= last; ++seen) {
            const float need = required(seen);
            while (!window.empty() && window.back().need >= need)
                window.pop_back();
            window.push_back({seen, need});
        }
        while (window.front().frame < i)
            window.pop_front();

        const float target = window.front().need;
        g = target < g ? target : std::min(g + step, target);
        for (std::int64_t c = 0; c < channels; ++c)
            buffer.channel(c)[i] *= g;
    }
}

} // namespace quorvel
