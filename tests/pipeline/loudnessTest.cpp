#include "core/pipeline/limitPeaks.hpp"
#include "core/pipeline/loudness.hpp"
#include "core/pipeline/normalize.hpp"
#include "core/pipeline/truePeak.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <initializer_list>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

using namespace quorvel;

namespace {

struct Segment {
    double seconds, dBFS; // dBFS: the sine's peak
};

// A sine in every channel stepping through the segments' levels, its phase running on.
PcmBufferPtr tone(int channels, double hz, std::initializer_list<Segment> segments, double phase = 0.0)
{
    const double rate = 48000;
    std::int64_t frames = 0;
    for (const Segment& s : segments)
        frames += std::llround(s.seconds * rate);
    PcmBufferPtr buffer = PcmBuffer::make(rate, channels, frames);
    buffer->setFrameLength(frames);
    std::int64_t k = 0;
    for (const Segment& s : segments)
        for (const std::int64_t end = k + std::llround(s.seconds * rate); k < end; ++k)
            for (int c = 0; c < channels; ++c)
                buffer->channel(c)[k] = static_cast<float>(std::pow(10.0, s.dBFS / 20.0) *
                                                           std::sin(2.0 * std::numbers::pi * hz * static_cast<double>(k) / rate + phase));
    return buffer;
}

constexpr double kMinusInf = -std::numeric_limits<double>::infinity();

} // namespace

TEST(Loudness, KWeightingAt48kMatchesBS1770Table)
{
    const KWeighting k = kWeightCoeffs(48000);
    const std::array<double, 3> b1{1.53512485958697, -2.69169618940638, 1.19839281085285};
    const std::array<double, 3> a1{1.0, -1.69065929318241, 0.73248077421585};
    const std::array<double, 3> a2{1.0, -1.99004745483398, 0.99007225036621};
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(k.b1[i], b1[i], 1e-12) << i;
        EXPECT_NEAR(k.a1[i], a1[i], 1e-12) << i;
        EXPECT_NEAR(k.a2[i], a2[i], 1e-12) << i;
    }
    EXPECT_EQ(k.b2, (std::array<double, 3>{1.0, -2.0, 1.0}));
    EXPECT_GT(std::abs(kWeightCoeffs(44100).a1[1] - a1[1]), 1e-3); // redesigned, not the table reused
}

TEST(Loudness, SinesAndTech3341GatedSequences)
{
    EXPECT_NEAR(integratedLUFS(*tone(1, 997, {{2, 0}})), -3.01, 0.005);
    EXPECT_NEAR(integratedLUFS(*tone(2, 997, {{2, 0}})), 0.00, 0.005);
    EXPECT_NEAR(integratedLUFS(*tone(2, 1000, {{20, -23}})), -23.0, 0.1);
    EXPECT_NEAR(integratedLUFS(*tone(2, 1000, {{10, -36}, {60, -23}, {10, -36}})), -23.0, 0.1);
    EXPECT_NEAR(integratedLUFS(*tone(2, 1000, {{10, -72}, {10, -36}, {20, -23}, {10, -36}, {10, -72}})), -23.0, 0.1);

    // Ungated, the silence would cost 3 dB; only the few blocks straddling its edge count.
    EXPECT_NEAR(integratedLUFS(*tone(1, 997, {{10, -20}, {10, -1000}})), integratedLUFS(*tone(1, 997, {{10, -20}})), 0.1);
}

TEST(Loudness, SilenceAndTooShortAreUnmeasurable)
{
    EXPECT_EQ(integratedLUFS(*tone(2, 997, {{1.0, -1000}})), kMinusInf); // all zeros
    EXPECT_EQ(integratedLUFS(*tone(1, 997, {{2.0, -75}})), kMinusInf);   // below the absolute gate
    EXPECT_EQ(integratedLUFS(*tone(1, 997, {{0.39, 0}})), kMinusInf);
    EXPECT_EQ(integratedLUFS(*tone(1, 997, {{19199.0 / 48000, 0}})), kMinusInf);
    EXPECT_NEAR(integratedLUFS(*tone(1, 997, {{19200.0 / 48000, 0}})), -3.01, 0.05); // one whole block
    // What cannot be measured is not normalised.
    for (const auto& buffer : {tone(2, 997, {{1.0, -1000}}), tone(2, 997, {{0.39, -40}})}) {
        const auto right = [&] { return std::vector<float>(buffer->channel(1), buffer->channel(1) + buffer->frameLength()); };
        const std::vector<float> in = right();
        normalize(*buffer);
        EXPECT_EQ(right(), in) << in.size() << " frames";
    }
}

TEST(TruePeak, Tech3341InterSamplePeaks)
{
    struct Case {
        double divisor, phaseDeg, amplitude, expected;
    };
    for (const Case& c : {Case{4, 0, 0.5, -6}, Case{4, 45, 0.5, -6}, Case{6, 60, 0.5, -6}, Case{8, 67.5, 0.5, -6}, Case{4, 45, 1.41, 3}}) {
        const PcmBufferPtr buffer = tone(2, 48000 / c.divisor, {{1.0, 20.0 * std::log10(c.amplitude)}}, c.phaseDeg * std::numbers::pi / 180);
        // Raised-cosine fades over 10 ms: a sine cut off abruptly overshoots between samples
        // at its edges, which is not the steady peak under test.
        const std::int64_t n = buffer->frameLength(), fade = 480;
        for (std::int64_t i = 0; i < fade; ++i)
            for (int ch = 0; ch < 2; ++ch) {
                const auto w = static_cast<float>(0.5 - 0.5 * std::cos(std::numbers::pi * static_cast<double>(i) / fade));
                buffer->channel(ch)[i] *= w;
                buffer->channel(ch)[n - 1 - i] *= w;
            }
        const double level = 20.0 * std::log10(truePeakLinear(*buffer));
        EXPECT_LE(level, c.expected + 0.2) << "fs/" << c.divisor << " at " << c.phaseDeg << "°";
        EXPECT_GE(level, c.expected - 0.4) << "fs/" << c.divisor << " at " << c.phaseDeg << "°";
    }
}

TEST(TruePeak, RateThatCannotBeOversampledGivesSamplePeak)
{
    // 0.3 Hz rounds to 0, so the fourfold rate is 0 and libsoxr refuses the ratio.
    const PcmBufferPtr buffer = PcmBuffer::make(0.3, 2, 3);
    buffer->setFrameLength(3);
    const float left[] = {0.1f, std::numeric_limits<float>::quiet_NaN(), 0.2f}, right[] = {0.25f, -0.7f, 0.0f};
    std::copy_n(left, 3, buffer->channel(0));
    std::copy_n(right, 3, buffer->channel(1));
    EXPECT_EQ(truePeakLinear(*buffer), 0.7f);
}

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

// A quiet sine takes one plain gain to −14 LUFS. Peaky material is limited under the ceiling:
// a quiet square wave with 1 ms noise bursts, which at −14 LUFS would go far over it, and
// whose edges overshoot between samples.
TEST(Normalize, QuietSineTakesOnePlainGainPeakyMaterialIsLimited)
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

    std::mt19937 rng(11);
    std::uniform_real_distribution<float> burst(-1.0f, 1.0f);
    const auto peaky = stereo(5 * 48000, [&](int, std::int64_t i) { return i % 12000 < 48 ? burst(rng) : (i / 120) % 2 ? 0.05f : -0.05f; });
    ASSERT_GT(std::pow(10.0, (-14.0 - integratedLUFS(*peaky)) / 20.0) * samplePeak(*peaky), 2.0 * kMinusOneDBTP);
    normalize(*peaky);
    EXPECT_LE(truePeakLinear(*peaky), kMinusOneDBTP);
    EXPECT_NEAR(integratedLUFS(*peaky), -14.0, 0.3);
}
