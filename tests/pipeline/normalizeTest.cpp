#include "core/pipeline/limitPeaks.hpp"
#include "core/pipeline/loudness.hpp"
#include "core/pipeline/normalize.hpp"
#include "core/pipeline/truePeak.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <random>
#include <vector>

using namespace quorvel;

namespace {

// Stereo at 48 kHz, sample(channel, frame).
PcmBufferPtr stereo(std::int64_t frames, const std::function<float(int, std::int64_t)>& sample)
{
    PcmBufferPtr buffer = PcmBuffer::make(48000, 2, frames);
    buffer->setFrameLength(frames);
    for (int c = 0; c < 2; ++c)
        for (std::int64_t i = 0; i < frames; ++i)
            buffer->channel(c)[i] = sample(c, i);
    return buffer;
}

float sine(double hz, double amplitude, int c, std::int64_t i)
{
    return static_cast<float>(amplitude * std::sin(2.0 * std::numbers::pi * hz * static_cast<double>(i) / 48000 + c));
}

std::vector<std::vector<float>> samplesOf(const PcmBuffer& buffer)
{
    return {{buffer.channel(0), buffer.channel(0) + buffer.frameLength()}, {buffer.channel(1), buffer.channel(1) + buffer.frameLength()}};
}

float samplePeak(const PcmBuffer& buffer)
{
    float peak = 0;
    for (const auto& channel : samplesOf(buffer))
        for (float x : channel)
            peak = std::max(peak, std::abs(x));
    return peak;
}

constexpr float kMinusOneDBTP = 0.89125097f;

} // namespace

TEST(LimitPeaks, SinglePeakGainShape)
{
    constexpr std::int64_t n = 20000, p = 5000, lookahead = 144;
    const PcmBufferPtr buffer = stereo(n, [](int c, std::int64_t i) { return i == p && c == 0 ? -1.0f : sine(440, 0.1, c, i); });
    const auto in = samplesOf(*buffer);
    limitPeaks(*buffer, 0.5f);
    const auto out = samplesOf(*buffer);

    for (int c = 0; c < 2; ++c) // one gain for both channels
        for (std::int64_t i = 0; i <= p; ++i)
            ASSERT_EQ(out[c][i], (i < p - lookahead ? 1.0f : 0.5f) * in[c][i]) << c << " " << i;

    const float step = static_cast<float>(1.0 / 2880);
    EXPECT_EQ(out[1][p + 1], in[1][p + 1] * (0.5f + step));
    EXPECT_EQ(out[1][p + 2], in[1][p + 2] * (0.5f + step + step));
    std::int64_t i = p + 1;
    for (float g = 0.5f; g < 1.0f; ++i) {
        g = std::min(g + step, 1.0f);
        ASSERT_EQ(out[1][i], in[1][i] * g) << i;
    }
    EXPECT_NEAR(i - (p + 1), 1440, 1); // half the 60 ms release
    for (; i < n; ++i)
        ASSERT_EQ(out[1][i], in[1][i]) << i;
}

TEST(LimitPeaks, HoldsEverySampleAtTheCeiling)
{
    // Dense loud noise, then isolated spikes of random height, each held by its own gain,
    // ceiling ÷ peak, where rounding alone could leave the product an ulp over.
    constexpr std::int64_t half = 200000;
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> loud(-4.0f, 4.0f), spike(1.0f, 4.0f);
    const auto noise = stereo(2 * half, [&](int c, std::int64_t i) {
        return i < half ? loud(rng) : i % 500 == 0 && c == i / 500 % 2 ? spike(rng) : 0.02f * loud(rng);
    });
    for (float ceiling : {0.5f, kMinusOneDBTP, 0.3f, 0.7f}) {
        const auto buffer = stereo(2 * half, [&](int c, std::int64_t i) { return noise->channel(c)[i]; });
        limitPeaks(*buffer, ceiling);
        EXPECT_LE(samplePeak(*buffer), ceiling) << ceiling;
        EXPECT_GT(samplePeak(*buffer), 0.99f * ceiling) << ceiling;
    }

    std::uniform_real_distribution<float> quiet(-0.4999f, 0.4999f);
    const auto under = stereo(100000, [&](int, std::int64_t) { return quiet(rng); });
    const auto in = samplesOf(*under);
    limitPeaks(*under, 0.5f);
    EXPECT_EQ(samplesOf(*under), in); // bit-identical
}

// Silence, and a sine shorter than one 400 ms block (0.39 s), cannot be measured.
TEST(Normalize, UnmeasurableBufferIsUnchanged)
{
    for (const auto& buffer : {stereo(48000, [](int, std::int64_t) { return 0.0f; }),
                               stereo(18720, [](int c, std::int64_t i) { return sine(997, 0.01, c, i); })}) {
        const auto in = samplesOf(*buffer);
        normalize(*buffer);
        EXPECT_EQ(samplesOf(*buffer), in) << buffer->frameLength() << " frames";
    }
}

TEST(Normalize, QuietSineTakesOnePlainGain)
{
    const auto buffer = stereo(3 * 48000, [](int c, std::int64_t i) { return sine(1000, 0.05, c, i); });
    const auto in = samplesOf(*buffer);
    const auto gain = static_cast<float>(std::pow(10.0, (-14.0 - integratedLUFS(*buffer)) / 20.0));
    normalize(*buffer);

    EXPECT_NEAR(integratedLUFS(*buffer), -14.0, 0.3);
    EXPECT_LE(truePeakLinear(*buffer), kMinusOneDBTP);
    const auto out = samplesOf(*buffer); // neither limited nor trimmed
    for (int c = 0; c < 2; ++c)
        for (std::size_t i = 0; i < out[c].size(); ++i)
            ASSERT_EQ(out[c][i], gain * in[c][i]) << c << " " << i;
}

TEST(Normalize, PeakyMaterialIsLimitedUnderTheCeiling)
{
    // A quiet square wave with 1 ms noise bursts: at −14 LUFS the bursts would go far over
    // the ceiling, and the square's edges overshoot between samples.
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> burst(-1.0f, 1.0f);
    const auto buffer = stereo(5 * 48000, [&](int, std::int64_t i) { return i % 12000 < 48 ? burst(rng) : (i / 120) % 2 ? 0.05f : -0.05f; });
    ASSERT_GT(std::pow(10.0, (-14.0 - integratedLUFS(*buffer)) / 20.0) * samplePeak(*buffer), 2.0 * kMinusOneDBTP);

    normalize(*buffer);
    EXPECT_LE(truePeakLinear(*buffer), kMinusOneDBTP);
    EXPECT_NEAR(integratedLUFS(*buffer), -14.0, 0.3);
}
