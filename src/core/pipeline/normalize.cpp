#include "core/pipeline/normalize.hpp"

#include "core/pipeline/limitPeaks.hpp"
#include "core/pipeline/loudness.hpp"
#include "core/pipeline/truePeak.hpp"

#include <cmath>
#include <cstdint>
#include <vector>

namespace quorvel {

namespace {

constexpr int kMaxPasses = 3;
constexpr double kToleranceLU = 0.3;

float gainOf(double gainDB) { return static_cast<float>(std::pow(10.0, gainDB / 20.0)); }

} // namespace

void normalize(PcmBuffer& buffer, double targetLUFS, double ceilingDBTP)
{
    const double measured = integratedLUFS(buffer);
    if (!std::isfinite(measured))
        return;
    const std::int64_t n = buffer.frameLength();
    const std::int64_t channels = buffer.channelCount();
    const float ceiling = static_cast<float>(std::pow(10.0, ceilingDBTP / 20.0));

    std::vector<std::vector<float>> original;
    for (std::int64_t c = 0; c < channels; ++c)
        original.emplace_back(buffer.channel(c), buffer.channel(c) + n);

    double gainDB = targetLUFS - measured;
    float gain = gainOf(gainDB);
    for (int pass = 1; std::isfinite(gain); ++pass) {
        for (std::int64_t c = 0; c < channels; ++c) {
            const std::vector<float>& from = original[static_cast<std::size_t>(c)];
            float* to = buffer.channel(c);
            for (std::int64_t i = 0; i < n; ++i)
                to[i] = gain * from[static_cast<std::size_t>(i)];
        }
        limitPeaks(buffer, ceiling);
        // Limiting holds the samples; peaks between them are pulled under with a plain gain.
        const float peak = truePeakLinear(buffer);
        if (peak > ceiling && peak > 0.0f) {
            const float trim = ceiling / peak;
            for (std::int64_t c = 0; c < channels; ++c) {
                float* to = buffer.channel(c);
                for (std::int64_t i = 0; i < n; ++i)
                    to[i] *= trim;
            }
        }
        if (pass == kMaxPasses)
            break;
        const double remeasured = integratedLUFS(buffer);
        if (!std::isfinite(remeasured) || std::abs(targetLUFS - remeasured) < kToleranceLU)
            break;
        gainDB += targetLUFS - remeasured;
        gain = gainOf(gainDB);
    }
}

} // namespace quorvel
